#include "amt/amt-record/calibration.h"

#include <cerrno>
#include <cstdio>
#include <tuple>
#include <utility>

#include "amt/amt-record/record.h"

namespace {

// The lines name the module that wrote them before there was a folder for records: field tools look for it.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-device"};

result_code_en fail(const pub_log_site& site, const char* call) {
  std::ignore = pub_fail_sys_call(site, ERR_WRITE, call);
  return ERR_FAIL;
}

}  // namespace

result_code_en amt_write_adc_diff_value(std::int32_t value1, std::int32_t value2, std::int32_t value3,
                                        std::int32_t value4) {
  pub_log_entry(k_log);
  char text[80];
  std::snprintf(text, sizeof text, "amt_set_vbatt[%d] [%d] [%d] [%d]", value1, value2, value3, value4);
  pub_file record = pub_util_fopen(AMT_CALIBRATION_FILE, "w");
  if (!record) return fail(k_log, "fopen");
  int error = 0;
  const bool is_written = amt_finish_record(std::move(record), text, [&](bool) {
    error = errno;
    LOG_LINE("SAVA ADC value: %d %d %d %d", value1, value2, value3, value4);
  });
  if (is_written) return ERR_NONE;
  errno = error;
  return fail(k_log, "fprintf");
}
