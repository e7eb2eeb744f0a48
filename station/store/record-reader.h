// Reads a record's file back. Pure.
#pragma once

#include <string>
#include <string_view>

#include "station/store/result.h"

// No record that the station writes comes near it; it bounds what a wrong file can cost.
inline constexpr std::size_t RECORD_LONGEST = 256U << 20;

// Returns what is wrong with the text; empty: it is a record, and *result has what it says.
std::string store_read_record(std::string_view text, result_st* result);
