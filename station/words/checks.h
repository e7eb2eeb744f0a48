// What is wrong with a value before it is sent to a phone that would take it: a sentence, empty when nothing is. Pure.
#pragma once

#include <string>

// An address has 12 hexadecimal digits and nothing between them.
std::string station_check_address(const std::string& text);

// An IMEI has 15 digits; the last one follows from the others.
std::string station_check_imei(const std::string& text);
