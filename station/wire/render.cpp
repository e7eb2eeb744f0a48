#include "station/wire/render.h"

#include <fmt/color.h>
#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "amt/amt-convert/ids.h"
#include "station/wire/atoms.h"
#include "station/wire/decoded.h"

namespace {

using json = nlohmann::ordered_json;
using bytes_view = std::span<const std::uint8_t>;

constexpr std::size_t LINE_VALUE_LIMIT = 64;  // bytes of a value that a line shows

bool is_cut(const amt_atom_st& atom) {
  return atom.m_value.size() < atom.m_length;
}

const char* type_name(const amt_atom_st& atom) {
  static constexpr const char* NAMES[] = {"?", "int", "str", "bytes", "flag"};
  return NAMES[atom.m_type < std::size(NAMES) ? atom.m_type : 0];
}

bool is_number(const amt_atom_st& atom) {
  return (atom.m_type == AMT_ATOM_INT && atom.m_value.size() == 4) ||
         (atom.m_type == AMT_ATOM_FLAG && atom.m_value.size() == 1);
}

std::uint32_t number_of(const amt_atom_st& atom) {
  return atom.m_value.size() == 4 ? amt_read_u32(atom.m_value.data()) : atom.m_value[0];
}

std::string hex(bytes_view bytes) {
  return fmt::format("{:02X}", fmt::join(bytes, ""));
}

// Byte strings are often padded text; then the text is easier to read than the digits.
bool is_mostly_text(bytes_view bytes) {
  const auto is_plain = [](std::uint8_t byte) { return (byte >= 0x20 && byte < 0x7F) || byte == '\r' || byte == '\n'; };
  return std::ranges::all_of(bytes, is_plain) && !stream_line(bytes).empty();
}

std::string value_text(const amt_atom_st& atom) {
  if (is_number(atom)) {
    const std::uint32_t number = number_of(atom);
    // Result codes are signed.
    return number > INT32_MAX ? fmt::format("{} ({})", number, static_cast<std::int32_t>(number))
                              : fmt::format("{}", number);
  }
  const bytes_view shown = atom.m_value.first(std::min(atom.m_value.size(), LINE_VALUE_LIMIT));
  const bool is_string = atom.m_type == AMT_ATOM_STRING;
  std::string text = is_string ? station_quote({std::string(shown.begin(), shown.end())}) : hex(shown);
  if (shown.size() < atom.m_value.size()) text += fmt::format("... ({} bytes)", atom.m_value.size());
  if (!is_string && is_mostly_text(shown)) text += fmt::format(" {}", station_quote(stream_line(shown)));
  return text;
}

std::string atom_text(const amt_atom_st& atom, bool has_names) {
  std::string text = fmt::format(" {}:{}={}", atom.m_id, type_name(atom), value_text(atom));
  const char* name = station_atom_name(atom.m_id);
  if (has_names && *name != '\0') text += fmt::format("({})", name);
  if (is_cut(atom)) text += fmt::format(" (cut: {} of {} bytes)", atom.m_value.size(), atom.m_length);
  return text;
}

const char* fault_text(stream_fault_en fault) {
  static constexpr const char* TEXTS[] = {"", "bad checksum", "bad length", "bad frame head", "incomplete"};
  return TEXTS[static_cast<std::size_t>(fault)];
}

std::string frame_text(const stream_item_st& item, bool has_names) {
  const char* fault = fault_text(item.m_fault);
  std::string text = *fault == '\0' ? "frame" : fmt::format("frame, {}:", fault);
  const bytes_view payload = stream_payload(item);
  if (payload.empty()) return fmt::format("{} {} bytes {}", text, item.m_bytes.size(), hex(item.m_bytes));
  amt_frame_st frame;
  const station_decoded_st decoded = station_decode_frame(payload, &frame);
  text += fmt::format(" {} (0x{:02X}) {}", decoded.m_id, decoded.m_id, amt_command_name(decoded.m_id));
  for (const auto& atom : decoded.m_atoms) text += atom_text(atom, has_names);
  if (decoded.m_rest != 0) text += fmt::format(" + {} bytes that are no atom", decoded.m_rest);
  return text;
}

std::string noise_text(const stream_item_st& item) {
  const bytes_view shown = item.m_bytes.first(std::min(item.m_bytes.size(), LINE_VALUE_LIMIT));
  return fmt::format("noise, {} bytes {}{}", item.m_bytes.size(), hex(shown),
                     shown.size() < item.m_bytes.size() ? "..." : "");
}

// A received line is shown as it reads; what is sent is shown with its line end, which decides what the phone does.
std::string line_text(const station_entry_st& entry) {
  const bytes_view bytes = entry.m_item.m_bytes;
  return entry.m_is_sent ? station_quote(std::string(bytes.begin(), bytes.end())) : stream_line(bytes);
}

std::string item_text(const station_entry_st& entry) {
  switch (entry.m_item.m_kind) {
    case stream_kind_en::FRAME:
      return frame_text(entry.m_item, entry.m_detail != nullptr);
    case stream_kind_en::PRE_RESPONSE:
      return "pre-response";
    case stream_kind_en::TEXT:
      return fmt::format("text {}", line_text(entry));
    case stream_kind_en::NOISE:
      break;
  }
  return noise_text(entry.m_item);
}

unsigned milliseconds_of(std::chrono::system_clock::time_point time) {
  const auto since = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
  return static_cast<unsigned>((since - std::chrono::floor<std::chrono::seconds>(since)).count());
}

std::tm calendar(std::chrono::system_clock::time_point time, bool is_utc) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
  std::tm broken{};
  if (is_utc) {
    gmtime_r(&seconds, &broken);
  } else {
    localtime_r(&seconds, &broken);
  }
  return broken;
}

std::string clock_text(const std::tm& time, std::chrono::system_clock::time_point point) {
  return fmt::format("{:02}:{:02}:{:02}.{:03}", time.tm_hour, time.tm_min, time.tm_sec, milliseconds_of(point));
}

std::string utc_text(std::chrono::system_clock::time_point point) {
  const std::tm time = calendar(point, true);
  return fmt::format("{:04}-{:02}-{:02}T{}Z", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
                     clock_text(time, point));
}

// A value from the wire need not be UTF-8. Bytes that are not show as U+FFFD here; "hex" has them as they came.
std::string one_line(const json& object) {
  return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

fmt::text_style color_of(const station_entry_st& entry) {
  if (entry.m_item.m_fault != stream_fault_en::NONE) return fmt::fg(fmt::terminal_color::red);
  if (entry.m_is_sent) return fmt::fg(fmt::terminal_color::cyan);
  const bool is_answer = entry.m_item.m_kind == stream_kind_en::FRAME || entry.m_item.m_kind == stream_kind_en::TEXT;
  return fmt::fg(is_answer ? fmt::terminal_color::green : fmt::terminal_color::yellow);
}

// "  +0.003 A pc "; the time has a width of its own, so that the lines stand below each other.
std::string detail_text(const station_detail_st& detail) {
  const double seconds = detail.m_since ? std::chrono::duration<double>(*detail.m_since).count() : 0;
  const std::string since = detail.m_since ? fmt::format("{:+.3f}", seconds) : "-";
  return fmt::format("{:>8} {}{}{} ", since, station_escape(detail.m_phone), detail.m_phone.empty() ? "" : " ",
                     detail.m_link);
}

void add_detail_json(const station_detail_st& detail, json* object) {
  if (!detail.m_phone.empty()) (*object)["phone"] = detail.m_phone;
  (*object)["link"] = detail.m_link;
  if (detail.m_since) (*object)["since_ns"] = detail.m_since->count();
  if (*detail.m_note != '\0') (*object)["note"] = detail.m_note;
}

json atom_json(const amt_atom_st& atom, bool has_names) {
  json object = {{"id", atom.m_id}, {"type", type_name(atom)}};
  const char* name = station_atom_name(atom.m_id);
  if (has_names && *name != '\0') object["name"] = name;
  if (is_number(atom)) {
    object["value"] = number_of(atom);
  } else if (atom.m_type == AMT_ATOM_STRING) {
    object["value"] = std::string(atom.m_value.begin(), atom.m_value.end());
  } else {
    object["value"] = hex(atom.m_value);
  }
  if (is_cut(atom)) object["length"] = atom.m_length;
  return object;
}

void add_frame_json(const stream_item_st& item, bool has_names, json* object) {
  if (item.m_fault != stream_fault_en::NONE) (*object)["fault"] = fault_text(item.m_fault);
  const bytes_view payload = stream_payload(item);
  if (payload.empty()) return;
  amt_frame_st frame;
  const station_decoded_st decoded = station_decode_frame(payload, &frame);
  (*object)["id"] = decoded.m_id;
  (*object)["name"] = amt_command_name(decoded.m_id);
  (*object)["atoms"] = json::array();
  for (const auto& atom : decoded.m_atoms) (*object)["atoms"].push_back(atom_json(atom, has_names));
  if (decoded.m_rest != 0) (*object)["rest"] = decoded.m_rest;
}

json number_or_text(const station_part_st& part, const std::string& text) {
  const auto number = part.m_kind == station_kind_en::NUMBER ? station_read_number(text) : std::nullopt;
  return number ? json(*number) : json(text);
}

void add_value_json(const station_outcome_st& outcome, json* object) {
  const auto texts = station_split_value(outcome.m_parts, *outcome.m_value);
  if (!texts || texts->size() != 1) (*object)["value"] = *outcome.m_value;
  if (!texts) return;
  for (std::size_t n = 0; n < texts->size(); ++n) {
    const station_part_st& part = outcome.m_parts[n];
    json one = {{"value", number_or_text(part, (*texts)[n])}, {"unit", part.m_unit.m_raw}};
    if (texts->size() == 1) {
      object->update(one);
    } else {
      one["name"] = part.m_name;
      (*object)["parts"].push_back(one);
    }
  }
}

const char* kind_name(stream_kind_en kind) {
  static constexpr const char* NAMES[] = {"frame", "pre-response", "text", "noise"};
  return NAMES[static_cast<std::size_t>(kind)];
}

}  // namespace

std::string station_quote(std::string_view text) {
  return fmt::format("\"{}\"", station_escape(text));
}

std::string station_escape(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (character == '\r') {
      escaped += "\\r";
    } else if (character == '\n') {
      escaped += "\\n";
    } else if (character == '"' || character == '\\') {
      escaped += {'\\', character};
    } else if (byte < 0x20 || byte >= 0x7F) {
      escaped += fmt::format("\\x{:02X}", byte);
    } else {
      escaped += character;
    }
  }
  return escaped;
}

std::string station_render_text(const station_entry_st& entry, const station_style_st& style) {
  std::string line = fmt::format("{} {}", entry.m_is_sent ? "->" : "<-", item_text(entry));
  if (entry.m_detail != nullptr && *entry.m_detail->m_note != '\0')
    line += fmt::format(" [{}]", entry.m_detail->m_note);
  if (style.m_color) line = fmt::format(color_of(entry), "{}", line);
  const std::string dumped = style.m_hex ? station_render_dump(entry.m_item.m_bytes) : std::string();
  const std::string place = entry.m_detail == nullptr ? "" : detail_text(*entry.m_detail);
  return fmt::format("{} {}{}{}", clock_text(calendar(entry.m_time, false), entry.m_time), place, line, dumped);
}

std::string station_render_dump(bytes_view bytes) {
  constexpr std::size_t ROW = 16;
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += ROW) {
    const bytes_view row = bytes.subspan(at, std::min(ROW, bytes.size() - at));
    std::string ascii;
    for (const std::uint8_t byte : row) ascii += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
    text += fmt::format("\n    {:04X}  {:<47}  |{}|", at, fmt::format("{:02X}", fmt::join(row, " ")), ascii);
  }
  return text;
}

std::string station_render_item(const stream_item_st& item, bool is_sent) {
  const station_detail_st detail;
  return item_text({{}, is_sent, item, &detail});
}

std::string station_render_json(const station_entry_st& entry) {
  json object = {{"time", utc_text(entry.m_time)},
                 {"direction", entry.m_is_sent ? "sent" : "received"},
                 {"kind", kind_name(entry.m_item.m_kind)}};
  if (entry.m_detail != nullptr) add_detail_json(*entry.m_detail, &object);
  if (entry.m_item.m_kind == stream_kind_en::FRAME) add_frame_json(entry.m_item, entry.m_detail != nullptr, &object);
  if (entry.m_item.m_kind == stream_kind_en::TEXT) object["text"] = stream_line(entry.m_item.m_bytes);
  object["hex"] = hex(entry.m_item.m_bytes);
  return one_line(object);
}

std::string station_render_json_result(const std::string& word, const station_outcome_st& outcome) {
  json object = {{"kind", "result"}, {"schema", STATION_JSON_SCHEMA}};
  if (!word.empty()) object["word"] = word;
  object["exit"] = static_cast<int>(outcome.m_exit);
  if (outcome.m_exit != STATION_OK) object["message"] = outcome.m_message;
  if (!outcome.m_hint.empty()) object["hint"] = outcome.m_hint;
  if (outcome.m_result && *outcome.m_result != 0) object["result"] = *outcome.m_result;
  if (outcome.m_value) add_value_json(outcome, &object);
  if (outcome.m_is_verified) object["verified"] = true;
  if (outcome.m_read_back) object["read_back"] = *outcome.m_read_back;
  return one_line(object);
}

std::string station_render_result(const std::string& word, const station_outcome_st& outcome) {
  if (outcome.m_value) {
    return fmt::format("{}: {}", word, station_escape(station_show_value(outcome.m_parts, *outcome.m_value)));
  }
  return outcome.m_is_verified ? fmt::format("{}: written and read back", word) : std::string();
}
