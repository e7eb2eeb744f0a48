// Reads the arguments of the command line: numbers, atoms, command ids and version modules. Pure; a wrong argument
// gives nothing or a sentence with the reason, never a guess.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "amt/amt-convert/frame.h"

// A decimal number, or a hexadecimal one after 0x, from 0 to limit. No sign, no blanks, nothing after it.
std::optional<std::uint32_t> station_parse_number(std::string_view text, std::uint32_t limit);

// A command id: a number up to 255, or its name such as AMT_VERSION_CMD in any case.
std::optional<std::uint8_t> station_parse_command_id(std::string_view text);

// A version module: a number, or product, software, l1, hls, platform, app, hardware, whole.
std::optional<std::uint32_t> station_parse_module(std::string_view text);

// The module names; as one text for the help.
std::vector<std::string> station_module_list();
std::string station_module_names();

// Appends the atom that text describes, NUMBER:TYPE=VALUE:
//   19:int=64 (or 0x40, or -1)   21:str=text   5:bytes=0A0B (hexadecimal, may be empty)   7:flag=1 (0 to 255)
//   154:u8=3   157:u16=-10 (bytes that are a number, little-endian)
// Returns what is wrong with the text and leaves the frame unchanged; empty when the atom was added.
std::string station_add_atom(amt_frame_st* frame, const std::string& text);
