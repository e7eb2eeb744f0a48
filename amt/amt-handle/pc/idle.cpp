#include "amt/amt-handle/pc/idle.h"

#include "amt/amt-device/idle.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "pub/result.h"

std::int32_t handle_amt_enter_idle_at() {
  LOG_ENTRY();
  if (!handle_amt_text_behind("AT^DENTERIDLE")) return ERR_NOT_HANDLED;
  return amt_make_ue_enter_idle() == ERR_NONE ? handle_amt_reply_ok() : handle_amt_reply_error();
}
