#include "station/words.h"

#include <fmt/format.h>

#include <array>

#include "amt/amt-convert/wrap.h"
#include "station/arguments.h"
#include "station/stream.h"

namespace {

constexpr std::size_t MANY = 1000;
constexpr std::uint8_t VERSION_CMD = 45;
constexpr std::uint8_t VERSION_MODULE_ATOM = 19;
constexpr std::uint8_t VERSION_TEXT_ATOM = 18;

void start_frame(std::uint8_t command_id, station_request_st* request) {
  request->m_is_frame = true;
  amt_frame_init(&request->m_frame.m_buf_a, command_id);
}

std::string build_frame(const station_arguments_st& arguments, station_request_st* request) {
  const auto id = station_parse_command_id(arguments.m_words[0]);
  if (!id) return fmt::format("'{}' is no command id (0 to 255) and no command name", arguments.m_words[0]);
  start_frame(*id, request);
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
  start_frame(VERSION_CMD, request);
  amt_frame_add_int(&request->m_frame.m_buf_a, VERSION_MODULE_ATOM, *module);
  return {};
}

// The text is padded with line ends on both sides.
std::string present_version(const station_answer_st& answer) {
  if (!answer.m_frame) return {};
  const auto atom = amt_frame_find_atom(&*answer.m_frame, VERSION_TEXT_ATOM);
  return atom ? stream_line(atom->m_value) : std::string();
}

constexpr std::array<station_word_st, 4> WORDS = {{
    {"frame", "ID [ATOM...]", "Send a frame; atoms are 19:int=64, 21:str=text, 5:bytes=0A0B, 7:flag=1", 1, MANY, false,
     build_frame, nullptr},
    {"at", "TEXT", "Send AT text and the CR behind it", 1, 1, true, build_at, nullptr},
    {"version", "CODE", "Ask for a version: product, software, l1, hls, platform, app, hardware, whole, or a number", 1,
     1, false, build_version, present_version},
    {"monitor", "", "Send nothing and show what comes", 0, 0, false, nullptr, nullptr},
}};

}  // namespace

std::span<const station_word_st> station_words() {
  return WORDS;
}

std::vector<std::uint8_t> station_wire_bytes(const station_request_st& request, stream_form_en form) {
  if (!request.m_is_frame) return {request.m_text.begin(), request.m_text.end()};
  amt_message_st wrapped = request.m_frame;
  wrapped.m_buf_len = amt_frame_total_length(&wrapped.m_buf_a);
  if (form == stream_form_en::WRAPPED && amt_wrap(&wrapped) != 0) return {};
  return {wrapped.m_buf_a.begin(), wrapped.m_buf_a.begin() + wrapped.m_buf_len};
}
