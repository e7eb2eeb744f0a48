// A frame taken apart, as far as it can be read. Pure.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "amt/amt-convert/frame.h"

struct station_decoded_st {
  std::uint8_t m_id = 0;
  std::vector<amt_atom_st> m_atoms;
  std::size_t m_rest = 0;  // bytes after the last atom that are no atom
};

// Fills a codec frame with the payload, and the view of it that people read. The atoms point into the frame. An atom
// that the payload cuts has fewer bytes than its length says.
station_decoded_st station_decode_frame(std::span<const std::uint8_t> payload, amt_frame_st* frame);
