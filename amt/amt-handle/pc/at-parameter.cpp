#include "amt/amt-handle/pc/at-parameter.h"

#include <algorithm>

#include "amt/amt-handle/context/log-module.h"

result_code_en handle_amt_get_at_para(std::string_view received, const char* prefix, char* out,
                                      std::uint32_t* out_length) {
  pub_log_entry(k_log);
  if (received.empty() || prefix == nullptr || out == nullptr || out_length == nullptr) {
    return pub_fail(k_log, ERR_ARGUMENT, "%d,%d, %d, %d, %d", 0, received.empty(), prefix == nullptr, out == nullptr,
                    out_length == nullptr);
  }
  const auto parameter = handle_amt_find_parameter(received, prefix);
  if (!parameter) {
    const std::string_view text = handle_amt_text(received);
    return pub_fail(k_log, ERR_FAIL, "at cmd[%.*s] do not include (%s).", static_cast<int>(text.size()), text.data(),
                    prefix);
  }
  std::copy(parameter->begin(), parameter->end(), out);
  *out_length = static_cast<std::uint32_t>(parameter->size());
  return ERR_NONE;
}

result_code_en handle_amt_take_at_para(std::string_view received, const char* prefix, amt_parameter_text& text) {
  std::fill(std::begin(text), std::end(text), '\0');
  std::uint32_t length = 0;
  const result_code_en result = handle_amt_get_at_para(received, prefix, text, &length);
  LOG_LINE("getted parameter:%s. prefix:%s; rtn:%d.", text, prefix, result);
  return result;
}
