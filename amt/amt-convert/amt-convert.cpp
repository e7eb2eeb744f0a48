#include "amt/amt-convert/amt-convert.h"

#include "amt/amt-convert/at-data.h"
#include "amt/amt-convert/wrap.h"
#include "pub/log.h"
#include "pub/result.h"

namespace {

constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-convert"};

// What does not match, for a fault that is a mismatch of two numbers; null for any other fault.
const char* describe(amt_at_fault_en fault) {
  switch (fault) {
    case amt_at_fault_en::COMMAND_HEAD:
      return "command head";
    case amt_at_fault_en::ATOM_HEAD:
      return "atom head";
    case amt_at_fault_en::ATOM_LENGTH:
      return "atom length";
    default:
      return nullptr;
  }
}

result_code_en fail_conversion(const char* function, const amt_at_result_st& result) {
  pub_log_failure({k_log, function}, ERR_FAIL);
  if (const char* what = describe(result.m_fault); what != nullptr) {
    LOG_LINE("%s mismatch: %02X != %02X", what, result.m_found, result.m_wanted);
  } else if (result.m_fault == amt_at_fault_en::ATOM_TYPE) {
    LOG_LINE("unknown atom value type: %02X", result.m_found);
  } else {
    LOG_LINE("a field leaves its buffer");
  }
  return ERR_FAIL;
}

void log_reader(const char* reader) {
  pub_log_entry({k_log, reader});
}

}  // namespace

result_code_en amt_convert_app_2_pc(amt_message_st* message) {
  pub_log_entry(k_log);
  const result_code_en result = amt_wrap(message);
  pub_log_bad_arguments(k_log, {result != ERR_NONE});
  return result;
}

result_code_en amt_convert_pc_2_app(amt_message_st* message) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {message == nullptr, message != nullptr && message->m_buf_len == 0}))
    return ERR_ARGUMENT;
  return amt_unwrap(message);
}

result_code_en amt_convert_req_amt_data_2_at_data(const amt_frame_st* frame, std::uint8_t* out, std::uint32_t out_size,
                                                  std::uint32_t* out_len) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {frame == nullptr, out == nullptr, out_size == 0, out_len == nullptr}))
    return ERR_ARGUMENT;
  std::size_t length = 0;
  const amt_at_result_st result = amt_at_data_from_frame(*frame, {out, out_size}, &length);
  *out_len = static_cast<std::uint32_t>(length);
  return result.m_fault == amt_at_fault_en::NONE ? ERR_NONE : fail_conversion(__func__, result);
}

result_code_en amt_convert_rsp_at_data_2_amt_data(const std::uint8_t* at_data, std::uint32_t at_len,
                                                  amt_frame_st* frame, std::uint32_t frame_size) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {at_data == nullptr, at_len == 0, frame == nullptr, frame_size != AMT_FRAME_SIZE})) {
    return ERR_ARGUMENT;
  }
  const amt_at_listener listener = pub_log_enabled(k_log) ? log_reader : nullptr;
  const amt_at_result_st result = amt_frame_from_at_data({at_data, at_len}, *frame, listener);
  if (result.m_fault == amt_at_fault_en::NONE) return ERR_NONE;
  if (result.m_fault != amt_at_fault_en::EMPTY_BYTES) return fail_conversion(__func__, result);
  // No empty atom, on purpose: the modem has nothing to report, so no response goes out.
  pub_log_bad_arguments({k_log, "rsp_at_data_2_amt_data_atom_byte"}, {false, false, false, true, false});
  return ERR_ARGUMENT;
}
