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

// The value follows `^DBTADDR:`. A blank before it and quotes around it are optional.
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
