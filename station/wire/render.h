// What was sent and received, for people (one line, and a dump below it when asked) and for programs (one JSON object).
// Pure: the time, the direction and the item come from the caller.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "capture/stream.h"
#include "station/wire/outcome.h"

// What one who only listens wants to see, too.
struct station_detail_st {
  std::string m_phone{};  // empty: the only one
  const char* m_link = "";
  std::optional<std::chrono::nanoseconds> m_since{};  // since the item before this one
  const char* m_note = "";                            // "no answer"
};

struct station_entry_st {
  std::chrono::system_clock::time_point m_time;
  bool m_is_sent;
  stream_item_st m_item;
  const station_detail_st* m_detail = nullptr;  // borrowed; null: none, and atoms without their names
};

struct station_style_st {
  bool m_color = false;
  bool m_hex = false;  // the bytes in hexadecimal and ASCII below each line
};

// "12:00:00.250 <- frame 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64 1:int=0", local time, no new-line at the end. With
// the detail "12:00:00.250   +0.003 A pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module) 1:int=0(result)".
// A value longer than 64 bytes is cut for the line; the dump has all of it.
std::string station_render_text(const station_entry_st& entry, const station_style_st& style);

// The item alone, with the names of its atoms: "frame 46 (0x2E) AMT_VERSION_RSPCMD 1:int=0(result)".
std::string station_render_item(const stream_item_st& item, bool is_sent);

// The bytes in hexadecimal and ASCII, in lines of 16; a new-line before each.
std::string station_render_dump(std::span<const std::uint8_t> bytes);

// {"time": UTC, "direction": "sent"|"received", "kind": "frame"|"pre-response"|"text"|"noise", ...}, no new-line.
// A frame has id, name, atoms [{id, type, value}]; a damaged one has fault; text has text; every one has hex. With the
// detail there are phone, link, since_ns, note and the atoms' names, too.
std::string station_render_json(const station_entry_st& entry);

// The number of the form of the JSON objects. It grows when a reader has to change.
inline constexpr int STATION_JSON_SCHEMA = 2;

// How a word ended, no new-line: {"kind": "result", "schema": 2, "word": ..., "exit": N, "value": V, "unit": "uV"}. A
// value of several parts is text, and has them in "parts". A failure has message, hint, and result, the code of a
// frame.
std::string station_render_json_result(const std::string& word, const station_outcome_st& outcome);

// The same for people: "battery: 3.812 V (3812000 uV)"; empty when there is nothing to show.
std::string station_render_result(const std::string& word, const station_outcome_st& outcome);

// The text with what is not printable ASCII escaped (\r, \n, \x07), so that no terminal acts on it; the same in quotes.
std::string station_escape(std::string_view text);
std::string station_quote(std::string_view text);
