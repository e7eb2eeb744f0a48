#include "station/wire/request.h"

#include <algorithm>

#include "amt/amt-convert/ids.h"
#include "amt/amt-convert/wrap.h"

namespace {

// The phone pads the value with line ends, sometimes with zeros too.
std::string atom_value(const amt_atom_st& atom) {
  if (atom.m_type == AMT_ATOM_INT && atom.m_value.size() == 4) {
    return std::to_string(static_cast<std::int32_t>(amt_read_u32(atom.m_value.data())));
  }
  if (atom.m_type == AMT_ATOM_FLAG && atom.m_value.size() == 1) return std::to_string(atom.m_value[0]);
  const auto end = std::ranges::find(atom.m_value, 0);
  return stream_line(atom.m_value.first(static_cast<std::size_t>(end - atom.m_value.begin())));
}

// The value follows `^DBTADDR:`. A blank before it and quotes around it are optional.
std::string value_after(std::string_view start, const std::string& line) {
  std::string_view value = std::string_view(line).substr(start.size());
  while (value.starts_with(' ')) value.remove_prefix(1);
  const bool is_quoted = value.size() >= 2 && value.starts_with('"') && value.ends_with('"');
  return std::string(is_quoted ? value.substr(1, value.size() - 2) : value);
}

// The requests of which several go under one id, and the atom that their answers repeat.
struct echo_row_st {
  std::uint8_t m_request_id;
  std::uint8_t m_atom;
};
constexpr echo_row_st ECHOES[] = {
    {AMT_VERSION_CMD, AMT_ATOM_MODULE},
    {AMT_READ_TEST_RESULT_CMD, AMT_ATOM_STATION},
    {AMT_WIFI_RTX_TEST_CMD, AMT_ATOM_RTX_OPERATION},
    {AMT_READ_ITEM_CMD, AMT_ATOM_STATION},
};

}  // namespace

void station_start_frame(std::uint8_t command_id, station_request_st* request) {
  request->m_is_frame = true;
  amt_frame_init(&request->m_frame.m_buf_a, command_id);
}

std::array<std::uint8_t, 2> station_answer_ids(std::uint8_t request_id) {
  const auto next_id = static_cast<std::uint8_t>(request_id + 1);
  // The phone answers the GPS test like GPS control; a refusal has the test's own id.
  return {request_id == AMT_GPS_TEST_CMD ? std::uint8_t{AMT_GPS_CONTROL_RSPCMD} : next_id, next_id};
}

std::optional<std::string> station_frame_value(const station_value_st& wanted, const amt_frame_st& frame) {
  std::optional<std::string> text;
  for (const std::uint8_t id : wanted.m_atoms) {
    const auto atom = id == 0 ? std::nullopt : amt_frame_find_atom(&frame, id);
    if (!atom) continue;
    text = text ? *text + ',' + atom_value(*atom) : atom_value(*atom);
  }
  return text;
}

std::optional<std::string> station_line_value(const station_value_st& wanted, const std::vector<std::string>& lines) {
  std::optional<std::string> found;
  for (const std::string& line : lines) {
    if (!line.starts_with(wanted.m_line)) continue;
    std::string value = value_after(wanted.m_line, line);
    if (station_split_value(wanted.m_parts, value)) return value;
    if (!found) found = std::move(value);
  }
  return found;
}

std::optional<std::string> station_value(const station_request_st& request, const station_answer_st& answer) {
  if (!request.m_is_frame) {
    return request.m_value.m_line == nullptr ? std::nullopt : station_line_value(request.m_value, answer.m_lines);
  }
  const auto ids = station_answer_ids(amt_frame_command_id(&request.m_frame.m_buf_a));
  if (!answer.m_frame || amt_frame_command_id(&*answer.m_frame) != ids[0]) return std::nullopt;
  return station_frame_value(request.m_value, *answer.m_frame);
}

station_echo_st station_echo(const station_request_st& request) {
  if (!request.m_is_frame) return {};
  const amt_frame_st& frame = request.m_frame.m_buf_a;
  const auto* row = std::ranges::find(ECHOES, amt_frame_command_id(&frame), &echo_row_st::m_request_id);
  const auto atom = row == std::end(ECHOES) ? std::nullopt : amt_frame_find_atom(&frame, row->m_atom);
  if (!atom) return {};
  return {row->m_atom, {atom->m_value.begin(), atom->m_value.end()}};
}

std::vector<std::uint8_t> station_wire_bytes(const station_request_st& request, stream_form_en form) {
  if (!request.m_is_frame) return {request.m_text.begin(), request.m_text.end()};
  amt_message_st wrapped = request.m_frame;
  wrapped.m_buf_len = amt_frame_total_length(&wrapped.m_buf_a);
  if (form == stream_form_en::WRAPPED && amt_wrap(&wrapped) != 0) return {};
  return {wrapped.m_buf_a.begin(), wrapped.m_buf_a.begin() + wrapped.m_buf_len};
}
