// What the numbers in a phone's refusal mean. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "station/wire/request.h"

// Why the phone refused: "result 1: the request failed", "+CME ERROR: 100: unknown error".
std::string station_refusal(const station_answer_st& answer);

// The result code in the frame of an answer; none where it has no frame.
std::optional<std::int32_t> station_result_code(const station_answer_st& answer);

// What stands for a number of "+CME ERROR: 100" in 3GPP TS 27.007; null where it has none.
const char* station_cme_meaning(std::int64_t number);
