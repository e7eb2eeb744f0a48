// The names of atoms, for people. Pure.
#pragma once

#include <cstdint>

// "module"; empty for an id that has no name.
const char* station_atom_name(std::uint8_t id);
