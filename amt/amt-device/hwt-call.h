// A call into the device-test library (platform/hwt.h) with the log lines that surround every one of them:
//
//   "<lead><step> start<detail>"      the call      "<step> end. return:%d<detail>."
//   and when it failed the error-trace line and      "<step> error. call <operation> fail: %d"
//
//   return amt_device_call_hwt(AMT_HWT_STEP("BT-stop", "hwt_btCtrl"), [] { return hwt_btCtrl(0); });
#pragma once

#include <cstdint>

#include "pub/log.h"

// The variable part of a line; a longer text is cut.
class amt_hwt_detail {
 public:
  amt_hwt_detail() = default;
  explicit amt_hwt_detail(const char* format, ...) __attribute__((format(printf, 2, 3)));
  const char* text() const { return m_text_a; }

 private:
  char m_text_a[96] = {};
};

struct amt_hwt_step_st {
  const pub_log_module_st* m_log;  // the caller's place, for the error-trace line
  int m_line;
  const char* m_function;
  const char* m_step;
  const char* m_operation;  // as the error line names it
  const char* m_lead = "";
};

// A step of the function in which it stands; the third argument, if there is one, is its lead.
#define AMT_HWT_STEP(...)                   \
  amt_hwt_step_st {                         \
    &k_log, __LINE__, __func__, __VA_ARGS__ \
  }

void amt_hwt_log_start(const amt_hwt_step_st& step, const amt_hwt_detail& detail);
// Judges the library's result: 0, or ERR_FAIL.
std::int32_t amt_hwt_finish(const amt_hwt_step_st& step, int result, const amt_hwt_detail& detail);

// Runs one step. 0, or ERR_FAIL. `describe`, run after the call, gives what the end line tells besides the result.
template <typename Call, typename Describe>
std::int32_t amt_device_call_hwt(const amt_hwt_step_st& step, const amt_hwt_detail& start, Call call,
                                 Describe describe) {
  amt_hwt_log_start(step, start);
  const int result = call();
  return amt_hwt_finish(step, result, describe());
}

template <typename Call>
std::int32_t amt_device_call_hwt(const amt_hwt_step_st& step, const amt_hwt_detail& start, Call call) {
  return amt_device_call_hwt(step, start, call, [] { return amt_hwt_detail(); });
}

template <typename Call>
std::int32_t amt_device_call_hwt(const amt_hwt_step_st& step, Call call) {
  return amt_device_call_hwt(step, amt_hwt_detail(), call);
}
