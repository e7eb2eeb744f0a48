// Draws the banner and packs it into the bytes of banner-data.cpp. Not part of the service: it runs when the picture is
// changed, and in the test that compares what is checked in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The words AMT MODE, white on black: RGB565, little-endian, row after row.
std::vector<std::uint8_t> draw_banner();

// A gzip member of exactly BANNER_MEMBER_SIZE bytes that holds the pixels; empty when they do not fit into it.
std::vector<std::uint8_t> pack_banner(const std::vector<std::uint8_t>& pixels);

// The text of banner-data.cpp for a member.
std::string banner_source(const std::vector<std::uint8_t>& member);
