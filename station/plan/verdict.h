// The verdicts of steps and units, in the order of their weight: of several, the heaviest counts.
#pragma once

#include <optional>
#include <string>
#include <string_view>

enum class verdict_en { PASS, SKIPPED, NOT_RUN, FAIL, TIMEOUT, ERROR, ABORTED };

inline constexpr int VERDICT_COUNT = 7;

const char* verdict_name(verdict_en verdict);
std::optional<verdict_en> verdict_from_name(std::string_view name);
// All of them, from the heaviest: "ABORTED, ERROR, ...".
std::string verdict_names();
verdict_en verdict_worst(verdict_en left, verdict_en right);
