// What an error-trace line must look like, whatever line of the source it comes from.
#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <string>

inline testing::Matcher<const std::string&> failure_line(const std::string& file, const std::string& function,
                                                         std::int32_t code, const std::string& error = "-?[0-9]+") {
  return testing::MatchesRegex("FILE-" + file + ", LINE-[0-9]+, FUNC-" + function +
                               "\\(\\), error_code=" + std::to_string(code) + ", errno=" + error);
}
