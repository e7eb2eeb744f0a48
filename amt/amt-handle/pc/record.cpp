#include "amt/amt-handle/pc/record.h"

#include "amt/amt-handle/channel/log-module.h"
#include "pub/util/io.h"

namespace {

constexpr char SYNC_COMMAND[] = "/system/bin/sync";
constexpr std::uint32_t PAUSE_MS = 50;

}  // namespace

void amt_flush_records() {
  for (int round = 0; round < 2; ++round) {
    pub_util_sleep_ms(PAUSE_MS);
    if (pub_util_run_command(SYNC_COMMAND) != 0) LOG_LINE("%s failed", SYNC_COMMAND);
  }
}
