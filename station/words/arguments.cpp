#include "station/words/arguments.h"

#include <fmt/format.h>
#include <strings.h>

#include <array>
#include <charconv>
#include <vector>

#include "amt/amt-convert/ids.h"

namespace {

struct module_st {
  const char* m_name;
  std::uint32_t m_code;
};

constexpr module_st MODULES[] = {
    {"product", 1},   {"software", 16}, {"l1", 17},       {"hls", 18},
    {"platform", 19}, {"app", 20},      {"hardware", 32}, {"whole", 64},
};

// A zero byte, which a line of a pipe may hold, is not the end of the word.
bool is_same_word(const std::string& left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.c_str(), right.data(), right.size()) == 0;
}

// An atom value's number; a negative one is the 32-bit two's complement, as result codes are sent.
std::optional<std::uint32_t> parse_signed(std::string_view text) {
  if (text.empty() || text.front() != '-') return station_parse_number(text, UINT32_MAX);
  const auto magnitude = station_parse_number(text.substr(1), std::uint32_t{1} << 31);
  if (!magnitude) return std::nullopt;
  return 0U - *magnitude;
}

std::optional<std::vector<std::uint8_t>> parse_hex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes(text.size() / 2);
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const char* pair = text.data() + 2 * n;
    const auto [end, error] = std::from_chars(pair, pair + 2, bytes[n], 16);
    if (error != std::errc() || end != pair + 2) return std::nullopt;
  }
  return bytes;
}

// The outcome of adding an atom. The row of the atom's type has the words for a wrong value.
enum class added_en { ADDED, BAD_VALUE, TOO_LONG };

added_en as_added(bool is_added) {
  return is_added ? added_en::ADDED : added_en::TOO_LONG;
}

added_en add_int(amt_frame_st* frame, std::uint8_t id, const std::string& value) {
  const auto number = parse_signed(value);
  return number ? as_added(amt_frame_add_int(frame, id, *number)) : added_en::BAD_VALUE;
}

added_en add_string(amt_frame_st* frame, std::uint8_t id, const std::string& value) {
  if (value.find('\0') != std::string::npos) return added_en::BAD_VALUE;  // the rest would be lost
  return as_added(amt_frame_add_string(frame, id, value.c_str()));
}

added_en add_bytes(amt_frame_st* frame, std::uint8_t id, const std::string& value) {
  auto bytes = parse_hex(value);
  if (!bytes) return added_en::BAD_VALUE;
  const std::size_t count = bytes->size();
  bytes->push_back(0);  // an empty value has an address too
  return as_added(amt_frame_add_bytes(frame, id, bytes->data(), count));
}

added_en add_flag(amt_frame_st* frame, std::uint8_t id, const std::string& value) {
  const auto number = station_parse_number(value, 255);
  return number ? as_added(amt_frame_add_flag(frame, id, static_cast<std::uint8_t>(*number))) : added_en::BAD_VALUE;
}

// Byte strings of one and two bytes that are numbers, little-endian; negative ones in two's complement.
template <std::uint32_t LIMIT, std::size_t SIZE>
added_en add_small(amt_frame_st* frame, std::uint8_t id, const std::string& value) {
  const auto number = parse_signed(value);
  const bool is_negative = number && value.starts_with('-') && *number != 0;
  if (!number || (is_negative ? 0U - *number > (LIMIT + 1) / 2 : *number > LIMIT)) return added_en::BAD_VALUE;
  std::array<std::uint8_t, 4> bytes{};
  amt_write_u32(bytes.data(), *number);
  return as_added(amt_frame_add_bytes(frame, id, bytes.data(), SIZE));
}

struct atom_type_st {
  const char* m_name;
  added_en (*m_add)(amt_frame_st*, std::uint8_t, const std::string&);
  const char* m_expects;
};

constexpr atom_type_st ATOM_TYPES[] = {
    {"int", add_int, "a 32-bit number"},
    {"str", add_string, "text without a zero byte"},
    {"bytes", add_bytes, "pairs of hexadecimal digits"},
    {"flag", add_flag, "a number from 0 to 255"},
    {"u8", add_small<255, 1>, "a number of 8 bits"},
    {"u16", add_small<65535, 2>, "a number of 16 bits"},
};

const atom_type_st* find_atom_type(std::string_view name) {
  for (const auto& type : ATOM_TYPES) {
    if (name == type.m_name) return &type;
  }
  return nullptr;
}

}  // namespace

std::optional<std::uint32_t> station_parse_number(std::string_view text, std::uint32_t limit) {
  const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
  if (is_hex) text.remove_prefix(2);
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, is_hex ? 16 : 10);
  if (error != std::errc() || stop != end || value > limit) return std::nullopt;
  return value;
}

std::optional<std::uint8_t> station_parse_command_id(std::string_view text) {
  if (const auto number = station_parse_number(text, 255)) return static_cast<std::uint8_t>(*number);
  const std::string name(text);
  if (name.starts_with('(')) return std::nullopt;  // "(undefined)" names many
  for (unsigned id = 0; id < 256; ++id) {
    if (is_same_word(name, amt_command_name(static_cast<std::uint8_t>(id)))) return static_cast<std::uint8_t>(id);
  }
  return std::nullopt;
}

std::optional<std::uint32_t> station_parse_module(std::string_view text) {
  for (const auto& row : MODULES) {
    if (is_same_word(std::string(text), row.m_name)) return row.m_code;
  }
  return station_parse_number(text, UINT32_MAX);
}

std::vector<std::string> station_module_list() {
  std::vector<std::string> names;
  for (const auto& row : MODULES) names.emplace_back(row.m_name);
  return names;
}

std::string station_module_names() {
  std::string names;
  for (const auto& row : MODULES) names += fmt::format("{}{} {}", names.empty() ? "" : ", ", row.m_name, row.m_code);
  return names;
}

std::string station_add_atom(amt_frame_st* frame, const std::string& text) {
  const std::size_t colon = text.find(':');
  const std::size_t equals = text.find('=', colon == std::string::npos ? text.size() : colon);
  if (equals == std::string::npos) return fmt::format("atom '{}' is not of the form NUMBER:TYPE=VALUE", text);

  const auto id = station_parse_number(std::string_view(text).substr(0, colon), 255);
  if (!id) return fmt::format("atom '{}': its number must be from 0 to 255", text);
  const atom_type_st* type = find_atom_type(std::string_view(text).substr(colon + 1, equals - colon - 1));
  if (type == nullptr) return fmt::format("atom '{}': its type must be int, str, bytes, flag, u8 or u16", text);

  switch (type->m_add(frame, static_cast<std::uint8_t>(*id), text.substr(equals + 1))) {
    case added_en::BAD_VALUE:
      return fmt::format("atom '{}': its value must be {}", text, type->m_expects);
    case added_en::TOO_LONG:
      return fmt::format("atom {}: the frame has no room for it", *id);
    case added_en::ADDED:
      break;
  }
  return {};
}
