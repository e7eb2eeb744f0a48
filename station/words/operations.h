// The words for what a factory does with a phone. Each operation of a word has its AT text and its frame, the links
// that carry it, and the place of the value in the answer. Pure data and a few lines that fill it in.
#pragma once

#include <span>
#include <string>

#include "station/wire/request.h"
#include "station/words/word.h"

// The words, for the table of all words.
std::span<const station_word_st> station_operation_words();

// Makes the request that the arguments ask for. Returns what is wrong with them; empty when nothing is.
std::string station_build_operation(const station_word_st& word, const station_arguments_st& arguments,
                                    station_request_st* request);
