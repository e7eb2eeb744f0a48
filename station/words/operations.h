// The words for what a factory does with a phone: each operation of a word says how it is asked for as AT text and as a
// frame, on which link, and where the answer holds the value. Pure data and a few lines that fill it in.
#pragma once

#include <span>
#include <string>

#include "station/wire/request.h"
#include "station/words/word.h"

// The words, for the table of all words.
std::span<const station_word_st> station_operation_words();

// Makes the request that the arguments ask for; gives what is wrong with them, empty when nothing is.
std::string station_build_operation(const station_word_st& word, const station_arguments_st& arguments,
                                    station_request_st* request);
