// The reader of records: what it takes has its form, and reading the same text again gives the same.
#include <cmath>

#include "station/report/text.h"
#include "station/store/record-reader.h"
#include "station/store/times.h"
#include "tests/fuzz/fuzz.h"

namespace {

bool has_zero(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

void check_step(const result_step_st& step) {
  FUZZ_CHECK(!has_zero(step.m_name) && !has_zero(step.m_value) && !has_zero(step.m_expected) && step.m_attempts >= 0);
  for (const auto& number : {step.m_number, step.m_low, step.m_high}) FUZZ_CHECK(!number || std::isfinite(*number));
  // What was cleaned is clean, and a cell never starts as a formula.
  const std::string clean = report_clean(step.m_value);
  FUZZ_CHECK(report_clean(clean) == clean);
  const std::string cell = report_csv_cell(step.m_value);
  FUZZ_CHECK(cell.empty() || (cell[0] != '=' && cell[0] != '@' && cell[0] != '+' && cell[0] != '\t'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz_text({data, size});
  result_st result;
  if (const auto time = store_parse_time(text)) FUZZ_CHECK(store_parse_time(store_time_text(*time)) == time);
  if (!store_read_record(text, &result).empty()) return 0;
  FUZZ_CHECK(result.m_run_id.size() == 36 && !has_zero(result.m_serial) && std::isfinite(result.m_duration_ms));
  for (const auto& step : result.m_steps) check_step(step);
  result_st again;
  FUZZ_CHECK(store_read_record(text, &again).empty() && again == result);
  return 0;
}
