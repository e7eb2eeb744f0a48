// Which factory stations a phone has passed, item by item, in two record files. An item is a digit and a line feed, so
// item i lies at byte 2 * i: '0' not tested, '1' pass, '2' fail.
//
// The request handlers pass the station's number as the index (station result file, reading of the product file) or the
// number less one (writing of the product file), on purpose, although reading station N then gives the item of N + 1.
#pragma once

#include <cstdint>

#include "pub/log.h"

inline constexpr char AMT_PRODUCT_FILE[] = "/amt/product.txt";
inline constexpr std::int32_t AMT_PRODUCT_ITEMS = 36;
inline constexpr char AMT_RESULT_FILE[] = "/amt/amt_result.txt";
inline constexpr std::int32_t AMT_RESULT_ITEMS = 20;

// Makes a file of `count` items of '0', in place of an old one: whole or, when that fails, not at all. 0; -1 for more
// than 36 items, or when it cannot be written.
result_code_en initTestFile(const char* path, std::int32_t count);

// Writes one item: result 1 is a pass, 2 a fail, any other unknown. A negative index writes item 0, on purpose: a seek
// that fails for that reason is no failure. 0; -1 when the file cannot be opened; -2 when it cannot be written.
std::int32_t updateTestItem(const char* path, std::int32_t index, std::int32_t result);

// Write one item of a file, which is made when it is missing, and completed when it is not whole: digits in their
// places stay, all else becomes '0' and its line end. 0; -1 when /amt is not accessible; -2 when the file cannot be
// made or completed; -3 when the index is above the file's last, or the item cannot be written.
std::int32_t saveProductTestItem(std::int32_t index, std::int32_t result);
std::int32_t saveAmtTestItem(std::int32_t index, std::int32_t result);

// Writes what a station reported into the station result file, and logs the outcome: a failure is only logged.
// site: the request handler that got the report.
void amt_note_station_result(const pub_log_site& site, std::int32_t station, std::int32_t result);

// The digit of an item of the product file, which is made when it is missing; 0 past the end of a short file. -1 when
// it cannot be read; -2 when it cannot be made; -3 for an index above 35.
std::int32_t readProductTestItem(std::int32_t index);
