// The operations by which the service looks up the board's library, passed on to the test program.
#include "tests/unit/device/misc-fake.h"

extern "C" {

int codec_loop_test(int type, int enable);
int create_devinfo(char* buffer, int size);
int enter_idle();

int codec_loop_test(int type, int enable) {
  return misc_fake_codec_loop_test(type, enable);
}

int create_devinfo(char* buffer, int size) {
  return misc_fake_create_devinfo(buffer, size);
}

int enter_idle() {
  return misc_fake_enter_idle();
}

}  // extern "C"
