#include "handset/modem/brain.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <tuple>

#include "amt/amt-convert/frame.h"
#include "amt/amt-convert/ids.h"
#include "amt/amt-convert/wrap.h"
#include "handset/modem/at.h"

namespace handset {

namespace {

constexpr std::string_view MAGIC = "\xAA\xBB\xCC\xDD";
constexpr std::size_t LENGTH_AT = 4;     // of the length field in a wrapped frame
constexpr std::size_t LENGTH_SKIPS = 8;  // bytes of a wrapped frame that its length does not count
constexpr std::size_t LONGEST_LINE = AMT_FRAME_SIZE;
constexpr std::uint32_t REFUSED = 1;

// How much of the input is dealt with: a request, noise, or nothing because more must come.
enum class piece_kind { at_line, frame, blank, noise, unfinished };
struct piece {
  piece_kind kind;
  std::size_t size;
};

std::uint32_t length_field(std::string_view input) {
  std::array<std::uint8_t, sizeof(std::uint32_t)> bytes{};
  std::copy_n(input.begin() + LENGTH_AT, bytes.size(), bytes.begin());
  return amt_read_u32(bytes.data());
}

bool begins_frame(std::string_view input) {
  const auto length = std::min(input.size(), MAGIC.size());
  return input.substr(0, length) == MAGIC.substr(0, length);
}

bool begins_at(std::string_view input) {
  const auto upper = [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); };
  return upper(input[0]) == 'A' && (input.size() == 1 || upper(input[1]) == 'T');
}

piece cut_frame(std::string_view input) {
  if (input.size() < LENGTH_AT + sizeof(std::uint32_t)) return {piece_kind::unfinished, 0};
  const std::size_t size = std::size_t{length_field(input)} + LENGTH_SKIPS;
  if (size < AMT_WRAP_SIZE + AMT_FRAME_HEAD_SIZE || size > AMT_WRAP_SIZE + AMT_FRAME_SIZE)
    return {piece_kind::noise, 1};
  return input.size() < size ? piece{piece_kind::unfinished, 0} : piece{piece_kind::frame, size};
}

piece cut_line(std::string_view input) {
  const auto end = std::find_if(input.begin(), input.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
  const auto size = static_cast<std::size_t>(end - input.begin());
  if (end == input.end())
    return size < LONGEST_LINE ? piece{piece_kind::unfinished, 0} : piece{piece_kind::noise, size};
  return *end == '\r' ? piece{piece_kind::at_line, size + 1} : piece{piece_kind::noise, size + 1};
}

piece cut(std::string_view input) {
  if (input[0] == '\r' || input[0] == '\n') return {piece_kind::blank, 1};
  if (begins_frame(input)) return cut_frame(input);
  if (begins_at(input)) return cut_line(input);
  return {piece_kind::noise, 1};
}

// Frames that are more than acknowledged: the atom that is kept or sent back, and where its value stands.
struct frame_command {
  std::uint8_t id;
  std::uint8_t atom;
  bool writes;
  std::string modem_state::*value;
};
constexpr frame_command FRAME_COMMANDS[] = {
    {5, 21, true, &modem_state::imei},
    {7, 21, false, &modem_state::imei},
    {85, 38, false, &modem_state::board_number},
    {87, 38, true, &modem_state::board_number},
};

void run_frame_command(modem_state& state, const amt_frame_st& request, amt_frame_st& response) {
  for (const auto& command : FRAME_COMMANDS) {
    if (command.id != amt_frame_command_id(&request)) continue;
    std::string& value = state.*command.value;
    if (!command.writes) {
      amt_frame_add_string(&response, command.atom, value.c_str());
    } else if (const auto atom = amt_frame_find_atom(&request, command.atom)) {
      value.assign(atom->m_value.begin(), atom->m_value.end());
    }
  }
}

}  // namespace

std::string modem_brain::answer_frame(std::string_view wrapped, bool refuse) {
  ++state.frames;
  amt_frame_st request{};
  const auto bare = wrapped.substr(AMT_WRAP_HEAD_SIZE, wrapped.size() - AMT_WRAP_SIZE);
  std::copy(bare.begin(), bare.end(), request.begin());
  amt_message_st response{};
  amt_frame_init(&response.m_buf_a, static_cast<std::uint8_t>(amt_frame_command_id(&request) + 1));
  amt_frame_add_int(&response.m_buf_a, AMT_ATOM_RESULT, refuse ? REFUSED : 0);
  if (!refuse) run_frame_command(state, request, response.m_buf_a);
  std::ignore = amt_wrap(&response);  // so short a frame always fits
  return {response.m_buf_a.begin(), response.m_buf_a.begin() + response.m_buf_len};
}

std::vector<std::string> modem_brain::receive(std::string_view bytes, const modem_switches& switches) {
  m_input += bytes;
  std::vector<std::string> answers;
  std::string_view left = m_input;
  while (!left.empty()) {
    const auto next = cut(left);
    if (next.kind == piece_kind::unfinished) break;
    const auto taken = left.substr(0, next.size);
    if (next.kind == piece_kind::at_line)
      answers.push_back(answer_at_line(state, switches, taken.substr(0, next.size - 1)));
    if (next.kind == piece_kind::frame) answers.push_back(answer_frame(taken, switches.refuse));
    if (next.kind == piece_kind::noise) state.noise_bytes += next.size;
    left.remove_prefix(next.size);
  }
  m_input.erase(0, m_input.size() - left.size());
  return answers;
}

std::vector<std::string> modem_brain::finish(const modem_switches& switches) {
  if (is_line_without_end(m_input)) return receive("\r", switches);
  drop_partial();
  return {};
}

void modem_brain::drop_partial() {
  state.noise_bytes += m_input.size();
  m_input.clear();
}

}  // namespace handset
