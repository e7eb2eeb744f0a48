// /proc/driver/zelta_battery: a file that keeps the last command. A read after the command that prepares a reading
// gives the converter's value, from the file "battery.adc"; any other read gives nothing. The answer is chosen within
// the reader's own call, as in a driver: a process that watched the file could be too late.
#include "handset/hardware/preload/device.h"
#include "handset/hardware/preload/files.h"

namespace preload {

namespace {

constexpr char NODE[] = "/proc/driver/zelta_battery";

const char* answer() {
  text_buffer buffer;
  const bool is_prepared = read_text_at(NODE, buffer).starts_with("amt_get_vbatt");
  return is_prepared ? "/handset/devices/battery.adc" : "/dev/null";
}

}  // namespace

const device BATTERY = {NODE, "battery", {}, answer};

}  // namespace preload
