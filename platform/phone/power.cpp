#include "platform/power.h"

#include <sys/reboot.h>
#include <unistd.h>

int platform_power_off() {
  sync();  // the kernel does not: what was written last would be lost
  return reboot(RB_POWER_OFF);
}
