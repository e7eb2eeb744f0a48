#include "amt/amt-screen/banner.h"

#include <tuple>

#include "amt/amt-screen/log-module.h"
#include "amt/amt-screen/screen.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint32_t SETTLE_MS = 3000;  // for what the phone itself shows on insertion

}  // namespace

void amt_handle_load_image_for_handshake() {
  pub_log_entry(k_log);
  if (screen_init() != 0) {
    LOG_LINE("screen_init return error, not update screen.");
    return;
  }
  pub_util_sleep_ms(SETTLE_MS);
  std::ignore = screen_update();  // logged; nobody needs the result
}
