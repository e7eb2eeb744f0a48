#include "capture/line.h"

#include <fmt/format.h>

#include <chrono>
#include <nlohmann/json.hpp>

namespace {

using json = nlohmann::json;

constexpr std::uint64_t LONGEST_MONOTONIC_NS = 1'000'000'000'000'000'000;  // 31 years: sums of two stay in range

// A value from the file stands in a message; it must not fill the screen.
std::string short_text(const std::string& text) {
  constexpr std::size_t MOST = 40;
  return json(text.substr(0, MOST)).dump(-1, ' ', true, json::error_handler_t::replace);
}

// The number that the digits at the front of the text make; they are taken off. -1: there are not so many.
int take_digits(std::string_view* text, std::size_t count) {
  if (text->size() < count) return -1;
  int number = 0;
  for (const char digit : text->substr(0, count)) {
    if (digit < '0' || digit > '9') return -1;
    number = number * 10 + (digit - '0');
  }
  text->remove_prefix(count);
  return number;
}

bool take(std::string_view* text, char character) {
  if (!text->starts_with(character)) return false;
  text->remove_prefix(1);
  return true;
}

// The six digits of the microseconds; further digits are not kept.
int take_fraction(std::string_view* text) {
  constexpr std::size_t MOST = 9;
  int micros = 0;
  std::size_t count = 0;
  for (; !text->empty() && text->front() >= '0' && text->front() <= '9' && count < MOST; ++count) {
    if (count < 6) micros = micros * 10 + (text->front() - '0');
    text->remove_prefix(1);
  }
  for (std::size_t digits = count; digits < 6; ++digits) micros *= 10;
  return count == 0 ? -1 : micros;
}

std::optional<std::int64_t> read_time(std::string_view text) {
  const int year = take_digits(&text, 4);
  if (!take(&text, '-')) return std::nullopt;
  const int month = take_digits(&text, 2);
  if (!take(&text, '-')) return std::nullopt;
  const int day = take_digits(&text, 2);
  if (!take(&text, 'T')) return std::nullopt;
  const int hour = take_digits(&text, 2);
  if (!take(&text, ':')) return std::nullopt;
  const int minute = take_digits(&text, 2);
  if (!take(&text, ':')) return std::nullopt;
  const int second = take_digits(&text, 2);
  const int micros = take(&text, '.') ? take_fraction(&text) : 0;
  if (micros < 0 || year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0) return std::nullopt;
  if (text != "Z" || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  const auto time = std::chrono::sys_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
                    std::chrono::seconds(second) + std::chrono::microseconds(micros);
  return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
}

int digit_of(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  return -1;
}

std::string read_hex(const std::string& text, std::vector<std::uint8_t>* bytes) {
  if (text.size() % 2 != 0) return "\"hex\" has an odd number of digits";
  if (text.size() > 2 * CAPTURE_MOST_BYTES) return fmt::format("\"hex\" has more than {} bytes", CAPTURE_MOST_BYTES);
  bytes->clear();
  bytes->reserve(text.size() / 2);
  for (std::size_t at = 0; at < text.size(); at += 2) {
    const int high = digit_of(text[at]);
    const int low = digit_of(text[at + 1]);
    if (high < 0 || low < 0) return "\"hex\" has a character that is no digit";
    bytes->push_back(static_cast<std::uint8_t>(high * 16 + low));
  }
  return {};
}

const std::string* text_of(const json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() ? nullptr : found->get_ptr<const std::string*>();
}

std::string read_version(const json& object) {
  const auto found = object.find("version");
  if (found == object.end() || !found->is_number_integer()) return "\"version\" is missing";
  if (found->is_number_unsigned() && found->get<std::uint64_t>() == CAPTURE_VERSION) return {};
  return fmt::format("this program knows version {} of the form, not {}", CAPTURE_VERSION, short_text(found->dump()));
}

std::string read_times(const json& object, capture_entry_st* entry) {
  const std::string* text = text_of(object, "time");
  if (text == nullptr) return "\"time\" is missing, or no text";
  const auto time = read_time(*text);
  if (!time) return fmt::format("\"time\" is no time in UTC: {}", short_text(*text));
  entry->m_time_us = *time;
  const auto found = object.find("monotonic_ns");
  const bool is_number = found != object.end() && found->is_number_unsigned();
  if (!is_number || found->get<std::uint64_t>() > LONGEST_MONOTONIC_NS)
    return "\"monotonic_ns\" is missing, or no number";
  entry->m_monotonic_ns = found->get<std::int64_t>();
  return {};
}

std::string read_place(const json& object, capture_entry_st* entry) {
  const std::string* direction = text_of(object, "direction");
  const auto found = direction == nullptr ? std::nullopt : capture_find_direction(*direction);
  if (!found) return "\"direction\" is neither \"sent\" nor \"received\"";
  entry->m_direction = *found;
  const std::string* link = text_of(object, "link");
  const auto found_link = link == nullptr ? std::nullopt : capture_find_link(*link);
  if (!found_link) return "\"link\" is none of pc, app, modem, at";
  entry->m_link = *found_link;
  entry->m_phone.clear();
  if (!object.contains("phone")) return {};
  const std::string* phone = text_of(object, "phone");
  if (phone == nullptr || phone->size() > CAPTURE_LONGEST_PHONE) return "\"phone\" is no name";
  entry->m_phone = *phone;
  return {};
}

}  // namespace

std::string capture_time_text(std::int64_t time_us) {
  const std::chrono::sys_time<std::chrono::microseconds> time{std::chrono::microseconds(time_us)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss clock{time - day};
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), clock.hours().count(),
                     clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

std::string capture_line(const capture_entry_st& entry) {
  const std::string phone =
      entry.m_phone.empty()
          ? ""
          : fmt::format("\"phone\": {}, ", json(entry.m_phone).dump(-1, ' ', true, json::error_handler_t::replace));
  return fmt::format(
      R"({{"version": {}, "time": "{}", "monotonic_ns": {}, "direction": "{}", "link": "{}", {}"hex": "{:02X}"}})",
      CAPTURE_VERSION, capture_time_text(entry.m_time_us), entry.m_monotonic_ns,
      capture_direction_name(entry.m_direction), capture_link_name(entry.m_link), phone, fmt::join(entry.m_bytes, ""));
}

std::string capture_read_line(std::string_view line, capture_entry_st* entry) {
  const json object = json::parse(line, nullptr, false);
  if (!object.is_object()) return "this is no JSON object";
  std::string wrong = read_version(object);
  if (wrong.empty()) wrong = read_times(object, entry);
  if (wrong.empty()) wrong = read_place(object, entry);
  if (!wrong.empty()) return wrong;
  const std::string* hex = text_of(object, "hex");
  return hex == nullptr ? "\"hex\" is missing, or no text" : read_hex(*hex, &entry->m_bytes);
}
