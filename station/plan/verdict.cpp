#include "station/plan/verdict.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<const char*, VERDICT_COUNT> NAMES = {"PASS",    "SKIPPED", "NOT_RUN", "FAIL",
                                                          "TIMEOUT", "ERROR",   "ABORTED"};

}  // namespace

const char* verdict_name(verdict_en verdict) {
  return NAMES[static_cast<std::size_t>(verdict)];
}

std::optional<verdict_en> verdict_from_name(std::string_view name) {
  const auto* row = std::ranges::find(NAMES, name);
  return row == NAMES.end() ? std::nullopt : std::optional(static_cast<verdict_en>(row - NAMES.begin()));
}

std::string verdict_names() {
  std::string all;
  for (auto row = NAMES.rbegin(); row != NAMES.rend(); ++row) all += all.empty() ? *row : std::string(", ") + *row;
  return all;
}

verdict_en verdict_worst(verdict_en left, verdict_en right) {
  return std::max(left, right);
}
