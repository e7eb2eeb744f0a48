#include "station/store/times.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <chrono>

namespace {

using namespace std::chrono;

bool is_digit(char one) {
  return one >= '0' && one <= '9';
}

// Reads from front to back; a part that is not there makes the whole no time.
class time_reader_st {
 public:
  explicit time_reader_st(std::string_view text) : m_rest(text) {}

  // A number of so many digits.
  int number(std::size_t digits) {
    int value = 0;
    for (std::size_t n = 0; n < digits; ++n) {
      if (m_rest.empty() || !is_digit(m_rest.front())) m_is_wrong = true;
      if (m_is_wrong) return 0;
      value = value * 10 + (m_rest.front() - '0');
      m_rest.remove_prefix(1);
    }
    return value;
  }

  bool take(char one) {
    const bool is_there = !m_rest.empty() && m_rest.front() == one;
    if (is_there) m_rest.remove_prefix(1);
    return is_there;
  }

  void expect(char one) { m_is_wrong = !take(one) || m_is_wrong; }

  // What a fraction of a second leaves of a thousand; more digits than three are cut.
  int milliseconds() {
    int value = 0;
    int worth = 100;
    if (m_rest.empty() || !is_digit(m_rest.front())) m_is_wrong = true;
    for (; !m_rest.empty() && is_digit(m_rest.front()); m_rest.remove_prefix(1), worth /= 10) {
      value += worth * (m_rest.front() - '0');
    }
    return value;
  }

  bool is_done() const { return !m_is_wrong && m_rest.empty(); }

 private:
  std::string_view m_rest;
  bool m_is_wrong = false;
};

}  // namespace

std::optional<std::int64_t> store_parse_time(std::string_view text) {
  time_reader_st reader(text);
  const int years = reader.number(4);
  reader.expect('-');
  const int months = reader.number(2);
  reader.expect('-');
  const int days = reader.number(2);
  int hour = 0;
  int minute = 0;
  int second = 0;
  int thousandths = 0;
  if (reader.take('T') || reader.take(' ')) {
    hour = reader.number(2);
    reader.expect(':');
    minute = reader.number(2);
    if (reader.take(':')) {
      second = reader.number(2);
      if (reader.take('.')) thousandths = reader.milliseconds();
    }
    reader.take('Z');
  }
  const year_month_day date{year(years), month(static_cast<unsigned>(months)), day(static_cast<unsigned>(days))};
  if (!reader.is_done() || !date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const auto time = sys_days(date) + hours(hour) + minutes(minute) + seconds(second) + milliseconds(thousandths);
  return duration_cast<milliseconds>(time.time_since_epoch()).count();
}

std::string store_time_text(std::int64_t value) {
  const sys_time<milliseconds> time{milliseconds(value)};
  const auto date = floor<days>(time);
  const year_month_day calendar{date};
  const hh_mm_ss clock{time - date};
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                     clock.subseconds().count());
}
