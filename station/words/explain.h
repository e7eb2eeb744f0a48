// Text about the words, out of their table: what one of them sends and how it is answered, and what a mistyped one may
// have meant. Pure.
#pragma once

#include <string>
#include <string_view>

#include "station/words/word.h"

// Several lines, for people: each operation with its text, its frame, its links, its answer with units.
std::string station_explain(const station_word_st& word);

// "there is no word 'batery'; near: battery"
std::string station_explain_unknown(std::string_view name);
