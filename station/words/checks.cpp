#include "station/words/checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace {

constexpr std::size_t ADDRESS_DIGITS = 12;
constexpr std::size_t IMEI_DIGITS = 15;

bool is_all(const std::string& text, int (*is_wanted)(int)) {
  return std::ranges::all_of(text, [&](char one) { return is_wanted(static_cast<unsigned char>(one)) != 0; });
}

// The digit that makes the sum right: every second digit counts double, as the sum of its own two digits.
unsigned luhn_digit(const std::string& digits) {
  unsigned sum = 0;
  for (std::size_t n = 0; n < digits.size(); ++n) {
    const unsigned digit = static_cast<unsigned char>(digits[n]) - unsigned{'0'};
    const unsigned weighed = n % 2 == 0 ? digit : 2 * digit;
    sum += weighed / 10 + weighed % 10;
  }
  return (10 - sum % 10) % 10;
}

}  // namespace

std::string station_check_address(const std::string& text) {
  const bool is_right = text.size() == ADDRESS_DIGITS && is_all(text, std::isxdigit);
  return is_right ? "" : fmt::format("must have exactly {} hexadecimal digits", ADDRESS_DIGITS);
}

std::string station_check_imei(const std::string& text) {
  if (text.size() != IMEI_DIGITS || !is_all(text, std::isdigit)) {
    return fmt::format("must have exactly {} digits", IMEI_DIGITS);
  }
  const unsigned last = luhn_digit(text.substr(0, IMEI_DIGITS - 1));
  const bool is_right = text.back() == static_cast<char>('0' + last);
  return is_right ? "" : fmt::format("must end in its check digit, which is {}", last);
}
