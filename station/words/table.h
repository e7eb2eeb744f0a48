// The words for what a factory does with a phone. Each operation of a word has its AT text and its frame, the links
// that carry it, and the parts of the value in the answer. Pure data.
#pragma once

#include <span>

#include "station/words/word.h"

std::span<const station_word_st> station_operation_words();
