// The operations of the words: which one the arguments mean, what they lack, and the request that they make. Pure.
#pragma once

#include <span>
#include <string>

#include "station/wire/request.h"
#include "station/words/word.h"

// "[get] | set ADDRESS"; the words without operations have their usage in the table.
std::string station_usage(const station_word_st& word);

// One operation of it: "set ADDRESS", with the units of its numbers: "CHANNEL RATE (100 kbit/s) POWER (dBm)".
std::string station_usage(const station_operation_st& operation);

// The operation that the words mean; its name, if it has one, is taken off them. Without words: the first operation of
// a word that may stand alone. Null and *wrong: which operation or argument is wrong or missing.
const station_operation_st* station_find_operation(const station_word_st& word, std::span<const std::string>* words,
                                                   std::string* wrong);

// Makes the request that the arguments ask for. Returns what is wrong with them; empty when nothing is.
std::string station_build_operation(const station_word_st& word, const station_arguments_st& arguments,
                                    station_request_st* request);

// What answers a text that the user wrote, as far as the table knows its command.
void station_expect_text(station_request_st* request);
