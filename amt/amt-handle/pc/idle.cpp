#include "amt/amt-handle/pc/idle.h"

#include "amt/amt-device/idle.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "pub/result.h"

result_code_en handle_amt_enter_idle_at(std::string_view received, amt_message_st* response) {
  pub_log_entry(k_log);
  if (!handle_amt_text_after(received, "AT^DENTERIDLE")) return ERR_NOT_HANDLED;
  return amt_make_ue_enter_idle() == ERR_NONE ? handle_amt_reply_ok(response) : handle_amt_reply_error(response);
}
