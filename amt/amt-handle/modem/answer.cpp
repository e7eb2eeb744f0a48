#include "amt/amt-handle/modem/answer.h"

#include <algorithm>

#include "amt/amt-convert/at-data.h"
#include "pub/util/text.h"

namespace {

constexpr std::string_view FINAL_OK = "\r\nOK\r\n";
constexpr std::string_view FINAL_ERRORS[] = {"\r\n+CME ERROR", "\r\n+CMS ERROR", "\r\nERROR\r\n"};

constexpr std::string_view SILENCING_ERRORS[] = {"\r\n+CME ERROR: ", "\r\n+CMS ERROR: ", "\r\nERROR\r\n"};

bool has_any(std::string_view text, std::span<const std::string_view> words) {
  return std::any_of(words.begin(), words.end(), [text](auto word) { return pub_text_contains(text, word); });
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

void skip_blanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

// Takes one decimal digit off a text.
std::optional<std::int32_t> take_digit(std::string_view& text) {
  if (text.empty() || !is_digit(text.front())) return std::nullopt;
  const std::int32_t value = text.front() - '0';
  text.remove_prefix(1);
  return value;
}

bool take(std::string_view& text, char wanted) {
  if (!text.starts_with(wanted)) return false;
  text.remove_prefix(1);
  return true;
}

// The padding starts at "0a", or else at "0A", wherever these two characters stand, even across two bytes of the text.
std::string_view cut_padding(std::string_view text) {
  std::size_t end = text.find("0a");
  if (end == std::string_view::npos) end = text.find("0A");
  return text.substr(0, end);
}

}  // namespace

bool amt_answer_is_ok(std::string_view answer) {
  return pub_text_contains(answer, FINAL_OK);
}

bool amt_answer_has_ok(std::string_view answer) {
  return pub_text_contains(answer, "OK");
}

bool amt_answer_is_error(std::string_view answer) {
  return has_any(answer, FINAL_ERRORS);
}

bool amt_answer_is_whole_error(std::string_view answer) {
  return std::any_of(std::begin(FINAL_ERRORS), std::end(FINAL_ERRORS), [answer](std::string_view error) {
    const std::size_t at = answer.find(error);
    return at != std::string_view::npos &&
           answer.find(AMT_LINE_END, at + AMT_LINE_END.size()) != std::string_view::npos;
  });
}

bool amt_answer_is_silencing_error(std::string_view answer) {
  return has_any(answer, SILENCING_ERRORS);
}

std::optional<std::string_view> amt_answer_after(std::string_view answer, std::string_view prefix) {
  const std::size_t at = answer.find(prefix);
  if (at == std::string_view::npos) return std::nullopt;
  answer.remove_prefix(at + prefix.size());
  skip_blanks(answer);
  return answer;
}

std::optional<std::string_view> amt_answer_value(std::string_view behind, std::size_t kept) {
  const std::size_t end = behind.find(FINAL_OK);
  if (end == std::string_view::npos) return std::nullopt;
  std::string_view value = behind.substr(0, end);
  while (value.ends_with(AMT_LINE_END) && value.size() >= AMT_LINE_END.size() + kept) {
    value.remove_suffix(AMT_LINE_END.size());
  }
  return value;
}

std::optional<std::size_t> amt_answer_version(std::string_view value, std::span<std::uint8_t> bytes) {
  const std::size_t comma = value.find(',');
  if (comma == std::string_view::npos) return std::nullopt;
  std::string_view text = cut_padding(value);
  text.remove_prefix(std::min(comma + 1, text.size()));
  skip_blanks(text);
  if (text.starts_with("0D") || text.starts_with("0d")) text.remove_prefix(2);

  std::size_t count = 0;
  int high = -1;
  for (const char character : text) {
    const int digit = amt_hex_digit(character);
    if (digit < 0) continue;
    if (high < 0) {
      high = digit;
    } else if (count < bytes.size()) {
      bytes[count++] = static_cast<std::uint8_t>(high << 4 | digit);
      high = -1;
    }
  }
  return count;
}

void amt_answer_station_result(std::string_view line, amt_station_result_st& result) {
  if (const auto first = take_digit(line)) {
    const auto second = take_digit(line);
    result.m_station = second ? *first * 10 + *second : *first;
  }
  take(line, ',');
  if (const auto digit = take_digit(line)) result.m_result = *digit;
  if (take(line, ',')) result.m_description = line;
}
