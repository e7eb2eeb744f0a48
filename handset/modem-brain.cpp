#include "handset/modem-brain.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "amt/amt-convert/frame.h"
#include "amt/amt-convert/wrap.h"

namespace handset {

namespace {

constexpr std::string_view OK_TEXT = "\r\nOK\r\n";
constexpr std::string_view ERROR_TEXT = "\r\nERROR\r\n";
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

// AT commands. `rest` is what follows the name; a command without one (takes_rest false) has to be the whole line.
struct at_command {
  std::string_view name;
  bool takes_rest;
  std::string (*run)(modem_state& state, std::string_view rest);
};

std::string nothing(modem_state&, std::string_view) {
  return std::string(OK_TEXT);
}
std::string write_imei(modem_state& state, std::string_view rest) {
  state.imei = rest;
  return std::string(OK_TEXT);
}
std::string write_board(modem_state& state, std::string_view rest) {
  state.board_number = rest;
  return std::string(OK_TEXT);
}
std::string write_channel(modem_state& state, std::string_view rest) {
  state.channel = rest;
  return std::string(OK_TEXT);
}
std::string information(std::string_view name, std::string_view value) {
  return std::string("\r\n^").append(name).append(": ").append(value).append("\r\n").append(OK_TEXT);
}
std::string read_imei(modem_state& state, std::string_view) {
  return information("DGSN", state.imei);
}
std::string read_board(modem_state& state, std::string_view) {
  return information("DMSN", state.board_number);
}

constexpr std::array<at_command, 8> AT_COMMANDS = {{
    {"AT", false, nothing},
    {"AT;^DLKS=1", false, nothing},
    {"AT^DLKS=0", false, nothing},
    {"AT^DCGSNW=", true, write_imei},
    {"AT^DMSN=", true, write_board},
    {"AT^DMPCHN=", true, write_channel},
    {"AT^DGSN?", false, read_imei},
    {"AT^DMSN", false, read_board},
}};

// Frames that do more than being acknowledged: the atom that is kept or told, and where.
struct frame_command {
  std::uint8_t id;
  std::uint8_t atom;
  bool writes;
  std::string modem_state::*value;
};
constexpr std::array<frame_command, 4> FRAME_COMMANDS = {{
    {5, 21, true, &modem_state::imei},
    {7, 21, false, &modem_state::imei},
    {85, 38, false, &modem_state::board_number},
    {87, 38, true, &modem_state::board_number},
}};

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

std::string modem_brain::answer_at(std::string_view line, bool refuse) {
  ++state.at_lines;
  if (refuse) return std::string(ERROR_TEXT);
  for (const auto& command : AT_COMMANDS) {
    const auto name = line.substr(0, command.name.size());
    const auto same = [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; };
    if (!std::equal(name.begin(), name.end(), command.name.begin(), command.name.end(), same)) continue;
    const auto rest = line.substr(name.size());
    if (command.takes_rest || rest.empty()) return command.run(state, rest);
  }
  return std::string(ERROR_TEXT);
}

std::string modem_brain::answer_frame(std::string_view wrapped, bool refuse) {
  ++state.frames;
  amt_frame_st request{};
  const auto bare = wrapped.substr(AMT_WRAP_HEAD_SIZE, wrapped.size() - AMT_WRAP_SIZE);
  std::copy(bare.begin(), bare.end(), request.begin());
  amt_message_st response{};
  amt_frame_init(&response.m_buf_a, static_cast<std::uint8_t>(amt_frame_command_id(&request) + 1));
  amt_frame_add_int(&response.m_buf_a, AMT_ATOM_RESULT, refuse ? REFUSED : 0);
  if (!refuse) run_frame_command(state, request, response.m_buf_a);
  amt_wrap(&response);
  return {response.m_buf_a.begin(), response.m_buf_a.begin() + response.m_buf_len};
}

std::vector<std::string> modem_brain::receive(std::string_view bytes, bool refuse) {
  m_input += bytes;
  std::vector<std::string> answers;
  std::string_view left = m_input;
  while (!left.empty()) {
    const auto next = cut(left);
    if (next.kind == piece_kind::unfinished) break;
    if (next.kind == piece_kind::at_line) answers.push_back(answer_at(left.substr(0, next.size - 1), refuse));
    if (next.kind == piece_kind::frame) answers.push_back(answer_frame(left.substr(0, next.size), refuse));
    if (next.kind == piece_kind::noise) state.noise_bytes += next.size;
    left.remove_prefix(next.size);
  }
  m_input.erase(0, m_input.size() - left.size());
  return answers;
}

void modem_brain::drop_partial() {
  state.noise_bytes += m_input.size();
  m_input.clear();
}

}  // namespace handset
