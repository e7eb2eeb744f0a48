#include "amt/amt-convert/amt-convert.h"

#include "amt/amt-convert/wrap.h"
#include "pub/log.h"
#include "pub/result.h"

namespace {

constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-convert"};

}  // namespace

std::int32_t amt_convert_app_2_pc(amt_message_st* message) {
  LOG_ENTRY();
  const std::int32_t result = amt_wrap(message);
  LOG_BAD_ARGUMENTS(result != ERR_NONE);
  return result;
}

std::int32_t amt_convert_pc_2_app(amt_message_st* message) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(message == nullptr, message != nullptr && message->m_buf_len == 0)) return ERR_ARGUMENT;
  return amt_unwrap(message);
}
