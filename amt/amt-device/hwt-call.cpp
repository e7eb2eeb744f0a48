#include "amt/amt-device/hwt-call.h"

#include <cstdarg>
#include <cstdio>

#include "pub/result.h"

amt_hwt_detail::amt_hwt_detail(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(m_text_a, sizeof m_text_a, format, arguments);
  va_end(arguments);
}

void amt_hwt_log_start(const amt_hwt_step_st& step, const amt_hwt_detail& detail) {
  if (!pub_log_enabled(*step.m_log)) return;
  pub_log_line(*step.m_log, "%s%s start%s", step.m_lead, step.m_step, detail.text());
}

std::int32_t amt_hwt_finish(const amt_hwt_step_st& step, int result, const amt_hwt_detail& detail) {
  if (pub_log_enabled(*step.m_log)) {
    pub_log_line(*step.m_log, "%s end. return:%d%s.", step.m_step, result, detail.text());
  }
  if (result == 0) return ERR_NONE;
  pub_log_failure(*step.m_log, step.m_line, step.m_function, ERR_FAIL);
  pub_log_line(*step.m_log, "%s error. call %s fail: %d", step.m_step, step.m_operation, result);
  return ERR_FAIL;
}
