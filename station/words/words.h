// The words of the command line: all of them in one table, and what makes their requests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "station/wire/request.h"
#include "station/words/word.h"

// All of them, in the order of the help.
const std::vector<station_word_st>& station_words();

// The word with that name; null when there is none.
const station_word_st* station_find_word(std::string_view name);

// What may stand first after a word, as far as the tables know it; for completion.
std::vector<std::string> station_first_arguments(const station_word_st& word);

// Makes a word's request. Returns what is wrong with the arguments; empty when nothing is.
std::string station_build(const station_word_st& word, const station_arguments_st& arguments,
                          station_request_st* request);
