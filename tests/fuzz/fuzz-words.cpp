// What people type to the station, and the values that it shows them: words of a line, numbers, atoms. What is taken
// can be written down again and means the same; what is refused changes nothing and has a reason.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "station/program/shell.h"
#include "station/wire/value.h"
#include "station/words/arguments.h"
#include "tests/fuzz/fuzz.h"

namespace {

constexpr station_part_st PARTS[] = {
    {"channel", station_kind_en::NUMBER, {}, false, "0 none, 1 first, -1 last"},
    {"name", station_kind_en::TEXT, {}, true},
    {"voltage", station_kind_en::NUMBER, {"uV", "V", 1e-6, 3}},
    {"rest", station_kind_en::TEXT},
};

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char character : word) text += character == '\'' ? "'\\''" : std::string(1, character);
  return text + "' ";
}

void check_line(const std::string& line) {
  std::string wrong;
  const auto words = station_split_line(line, &wrong);
  FUZZ_CHECK(words.has_value() == wrong.empty());
  if (!words) return;
  std::string again;
  std::size_t length = 0;
  for (const std::string& word : *words) {
    again += quoted(word);
    length += word.size();
  }
  FUZZ_CHECK(length <= line.size());
  FUZZ_CHECK(station_split_line(again, &wrong) == words);
}

void check_value(std::size_t count, const std::string& text) {
  const station_parts parts = station_parts(PARTS).first(count);
  const auto texts = station_split_value(parts, text);
  const std::string shown = station_show_value(parts, text);
  if (!texts || texts->empty()) {
    FUZZ_CHECK(shown == text);
    return;
  }
  FUZZ_CHECK(texts->size() == count);
  std::string joined;
  for (const std::string& part : *texts) joined += (&part == &texts->front() ? "" : ",") + part;
  FUZZ_CHECK(joined == text);
  for (const std::string& part : *texts) FUZZ_CHECK(shown.find(part) != std::string::npos);
}

void check_numbers(const std::string& text, std::uint32_t limit) {
  const auto number = station_parse_number(text, limit);
  FUZZ_CHECK(!number || (*number <= limit && station_parse_number(std::to_string(*number), limit) == number));
  const auto value = station_read_number(text);
  FUZZ_CHECK(!value || station_read_number(std::to_string(*value)) == value);
  const auto id = station_parse_command_id(text);
  FUZZ_CHECK(!id || station_parse_command_id(std::to_string(*id)) == id);
  const auto module = station_parse_module(text);
  FUZZ_CHECK(text.find('\0') == std::string::npos || (!number && !value && !id && !module));
  FUZZ_CHECK(!module || station_parse_module(std::to_string(*module)) == module);
}

void check_atom(const std::string& text) {
  amt_frame_st frame{};
  amt_frame_init(&frame, 7);
  const amt_frame_st before = frame;
  const std::string wrong = station_add_atom(&frame, text);
  FUZZ_CHECK(wrong.empty() != (std::memcmp(&before, &frame, sizeof frame) == 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint8_t how = input.byte();
  const std::string text(fuzz_text(input.rest()));
  check_line(text);
  check_value(how % (std::size(PARTS) + 1), text);
  check_numbers(text, how < 0x80 ? UINT32_MAX : how);
  check_atom(text);
  return 0;
}
