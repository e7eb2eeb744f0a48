// The functions that read the modem's answers: what they return lies inside the answer.
#include <algorithm>
#include <memory>

#include "amt/amt-handle/modem/answer.h"
#include "tests/fuzz/fuzz.h"

namespace {

bool is_inside(std::string_view part, std::string_view whole) {
  return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

void check_value(std::string_view answer, std::size_t kept) {
  const auto value = amt_answer_value(answer, kept);
  FUZZ_CHECK(value.has_value() == amt_answer_is_ok(answer));
  if (!value) return;
  FUZZ_CHECK(is_inside(*value, answer) && !amt_answer_is_ok(*value));
  FUZZ_CHECK(!value->ends_with(AMT_LINE_END) || value->size() < AMT_LINE_END.size() + kept);
}

void check_version(std::string_view text, std::size_t room) {
  const auto bytes = std::make_unique<std::uint8_t[]>(room);
  const auto count = amt_answer_version(text, {bytes.get(), room});
  FUZZ_CHECK(count.has_value() == (text.find(',') != std::string_view::npos));
  FUZZ_CHECK(count.value_or(0) <= std::min(room, text.size() / 2));
}

void check_station(std::string_view line) {
  amt_station_result_st result{-7, -8, {}};
  amt_answer_station_result(line, result);
  FUZZ_CHECK(result.m_station == -7 || (result.m_station >= 0 && result.m_station <= 99));
  FUZZ_CHECK(result.m_result == -8 || (result.m_result >= 0 && result.m_result <= 9));
  FUZZ_CHECK(result.m_description.empty() || is_inside(result.m_description, line));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::size_t number = input.byte();
  const std::string_view prefix = fuzz_text(input.block());
  const fuzz_bytes bytes = input.rest();
  const auto exact = std::make_unique<char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  const std::string_view answer(exact.get(), bytes.size());
  FUZZ_CHECK(!amt_answer_is_error(answer) || answer.find("ERROR") != std::string_view::npos);
  const auto behind = amt_answer_after(answer, prefix);
  FUZZ_CHECK(behind.has_value() == (answer.find(prefix) != std::string_view::npos));
  if (behind) FUZZ_CHECK(is_inside(*behind, answer) && !behind->starts_with(' '));
  check_value(behind.value_or(answer), number % 8);
  check_version(behind.value_or(answer), number);
  check_station(behind.value_or(answer));
  return 0;
}
