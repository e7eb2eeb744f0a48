#include "station/wire/decoded.h"

#include <algorithm>

station_decoded_st station_decode_frame(std::span<const std::uint8_t> payload, amt_frame_st* frame) {
  frame->fill(0);
  std::ranges::copy(payload, frame->begin());
  station_decoded_st decoded;
  decoded.m_id = amt_frame_command_id(frame);
  std::size_t at = AMT_FRAME_HEAD_SIZE;
  while (at + AMT_ATOM_HEAD_SIZE <= payload.size()) {
    auto atom = amt_frame_atom_at(frame, at);
    if (!atom) break;
    const std::size_t value_at = at + AMT_ATOM_HEAD_SIZE;
    atom->m_value = std::span<const std::uint8_t>{*frame}.subspan(
        value_at, std::min<std::size_t>(atom->m_length, payload.size() - value_at));
    decoded.m_atoms.push_back(*atom);
    at = value_at + atom->m_value.size();
  }
  decoded.m_rest = payload.size() - at;
  return decoded;
}
