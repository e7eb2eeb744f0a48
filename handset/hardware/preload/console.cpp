// /dev/tty0: keeps the mode it was put into (0 text, 1 graphics) in the file "tty0.mode".
#include <linux/kd.h>

#include <cerrno>
#include <cstdio>

#include "handset/hardware/call-names.h"
#include "handset/hardware/preload/device.h"
#include "handset/hardware/preload/files.h"

namespace preload {

namespace {

int set_mode(unsigned long mode) {
  if (mode > KD_TEXT1) return EINVAL;
  call_text text{};
  append(text, "%lu\n", mode);
  write_text("tty0.mode", text.data());
  return 0;
}

constexpr request REQUESTS[] = {{KDSETMODE, "KDSETMODE", describe_number, set_mode}};

static_assert(handset::are_listed(REQUESTS, handset::CONSOLE_CALLS));

}  // namespace

const device CONSOLE = {"/dev/tty0", "tty0", REQUESTS};

}  // namespace preload
