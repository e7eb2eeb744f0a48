#include "station/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "amt/amt-convert/wrap.h"
#include "station/arguments.h"
#include "station/operations.h"
#include "station/stream.h"

namespace {

constexpr std::size_t MANY = 1000;
constexpr std::uint8_t VERSION_CMD = 45;
constexpr std::uint8_t VERSION_MODULE_ATOM = 19;
constexpr std::uint8_t VERSION_TEXT_ATOM = 18;
constexpr std::uint8_t GPS_CONTROL_RSPCMD = 175;
constexpr std::uint8_t GPS_TEST_CMD = 176;

std::string build_frame(const station_arguments_st& arguments, station_request_st* request) {
  const auto id = station_parse_command_id(arguments.m_words[0]);
  if (!id) return fmt::format("'{}' is no command id (0 to 255) and no command name", arguments.m_words[0]);
  station_start_frame(*id, request);
  for (std::size_t n = 1; n < arguments.m_words.size(); ++n) {
    std::string wrong = station_add_atom(&request->m_frame.m_buf_a, arguments.m_words[n]);
    if (!wrong.empty()) return wrong;
  }
  return {};
}

std::string build_at(const station_arguments_st& arguments, station_request_st* request) {
  request->m_text = arguments.m_words[0];
  if (!arguments.m_is_raw && !request->m_text.ends_with('\r')) request->m_text += '\r';
  return request->m_text.empty() ? "there is nothing to send" : "";
}

std::string build_version(const station_arguments_st& arguments, station_request_st* request) {
  const auto module = station_parse_module(arguments.m_words[0]);
  if (!module) return fmt::format("'{}' is no module: {}", arguments.m_words[0], station_module_names());
  station_start_frame(VERSION_CMD, request);
  amt_frame_add_int(&request->m_frame.m_buf_a, VERSION_MODULE_ATOM, *module);
  request->m_value.m_atoms = {VERSION_TEXT_ATOM};
  return {};
}

// The value is padded with line ends, and with zeros by some.
std::string atom_value(const amt_atom_st& atom) {
  if (atom.m_type == AMT_ATOM_INT && atom.m_value.size() == 4) {
    return std::to_string(static_cast<std::int32_t>(amt_read_u32(atom.m_value.data())));
  }
  if (atom.m_type == AMT_ATOM_FLAG && atom.m_value.size() == 1) return std::to_string(atom.m_value[0]);
  const auto end = std::ranges::find(atom.m_value, 0);
  return stream_line(atom.m_value.first(static_cast<std::size_t>(end - atom.m_value.begin())));
}

std::optional<std::string> frame_value(const station_request_st& request, const amt_frame_st& frame) {
  const auto answer_ids = station_answer_ids(amt_frame_command_id(&request.m_frame.m_buf_a));
  if (amt_frame_command_id(&frame) != answer_ids[0]) return std::nullopt;
  std::optional<std::string> text;
  for (const std::uint8_t id : request.m_value.m_atoms) {
    const auto atom = id == 0 ? std::nullopt : amt_frame_find_atom(&frame, id);
    if (!atom) continue;
    text = text ? *text + ',' + atom_value(*atom) : atom_value(*atom);
  }
  return text;
}

// Behind `^DBTADDR:` stands the value, with a blank before it and quotes around it or without.
std::optional<std::string> line_value(const station_request_st& request, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    if (!line.starts_with(request.m_value.m_line)) continue;
    std::string_view value = std::string_view(line).substr(std::string_view(request.m_value.m_line).size());
    while (value.starts_with(' ')) value.remove_prefix(1);
    const bool is_quoted = value.size() >= 2 && value.starts_with('"') && value.ends_with('"');
    return std::string(is_quoted ? value.substr(1, value.size() - 2) : value);
  }
  return std::nullopt;
}

constexpr std::array<station_word_st, 4> WORDS = {{
    {"frame",
     "ID [ATOM...]",
     "Send a frame; atoms are 19:int=64, 21:str=text, 5:bytes=0A0B, 7:flag=1",
     1,
     MANY,
     false,
     build_frame,
     {}},
    {"at", "TEXT", "Send AT text and the CR behind it", 1, 1, true, build_at, {}},
    {"version",
     "CODE",
     "Ask for a version: product, software, l1, hls, platform, app, hardware, whole, or a number",
     1,
     1,
     false,
     build_version,
     {}},
    {"monitor", "", "Send nothing and show what comes", 0, 0, false, nullptr, {}},
}};

}  // namespace

const std::vector<station_word_st>& station_words() {
  static const std::vector<station_word_st> words = [] {
    std::vector<station_word_st> all(WORDS.begin(), WORDS.end());
    const auto operations = station_operation_words();
    all.insert(all.end(), operations.begin(), operations.end());
    return all;
  }();
  return words;
}

void station_start_frame(std::uint8_t command_id, station_request_st* request) {
  request->m_is_frame = true;
  amt_frame_init(&request->m_frame.m_buf_a, command_id);
}

std::string station_build(const station_word_st& word, const station_arguments_st& arguments,
                          station_request_st* request) {
  std::string wrong =
      word.m_build != nullptr ? word.m_build(arguments, request) : station_build_operation(word, arguments, request);
  const bool is_lost = wrong.empty() && !request->m_is_frame && arguments.m_form == stream_form_en::BARE;
  return is_lost ? "text goes to the PC link: use --port" : wrong;
}

std::array<std::uint8_t, 2> station_answer_ids(std::uint8_t request_id) {
  const auto next_id = static_cast<std::uint8_t>(request_id + 1);
  // The phone answers the GPS test like GPS control; what it refuses has the test's own id.
  return {request_id == GPS_TEST_CMD ? GPS_CONTROL_RSPCMD : next_id, next_id};
}

std::optional<std::string> station_value(const station_request_st& request, const station_answer_st& answer) {
  if (request.m_is_frame) return answer.m_frame ? frame_value(request, *answer.m_frame) : std::nullopt;
  return request.m_value.m_line == nullptr ? std::nullopt : line_value(request, answer.m_lines);
}

std::vector<std::uint8_t> station_wire_bytes(const station_request_st& request, stream_form_en form) {
  if (!request.m_is_frame) return {request.m_text.begin(), request.m_text.end()};
  amt_message_st wrapped = request.m_frame;
  wrapped.m_buf_len = amt_frame_total_length(&wrapped.m_buf_a);
  if (form == stream_form_en::WRAPPED && amt_wrap(&wrapped) != 0) return {};
  return {wrapped.m_buf_a.begin(), wrapped.m_buf_a.begin() + wrapped.m_buf_len};
}
