#include "handset/phone/options.h"

namespace handset {

std::string default_config(const phone_options& options) {
  return "# The virtual handset's devices.\n"
         "vx.tty.pc = " +
         options.pc_device + "\nvx.tty.app = " + APP_LINK + "\nvx.tty.modem = " + options.modem_device +
         "\nvx.tty.at.mux = " + options.at_device +
         "\n"
         "vx.audio.file = /system/media/amt-loop.pcm\n"
         "vx.audio.sample.rate = 44100\n"
         "vx.audio.format = 1\n"
         "vx.audio.frame.count = 1024\n"
         "vx.mode.file = /data/amt-mode\n"
         "vx.modem.uart.amt.default.baudrate = 921600\n"
         "vx.modem.uart.at.default.baudrate = 115200\n";
}

}  // namespace handset
