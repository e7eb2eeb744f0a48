#include "station/plan/pattern.h"

#include <re2/re2.h>

namespace {

RE2::Options quiet() {
  RE2::Options options;
  options.set_log_errors(false);
  return options;
}

}  // namespace

std::string plan_pattern_error(const std::string& pattern) {
  const RE2 expression(pattern, quiet());
  return expression.ok() ? "" : expression.error();
}

bool plan_pattern_has_group(const std::string& pattern) {
  return RE2(pattern, quiet()).NumberOfCapturingGroups() > 0;
}

bool plan_pattern_matches(const std::string& pattern, const std::string& text) {
  const RE2 expression(pattern, quiet());
  return expression.ok() && RE2::FullMatch(text, expression);
}

std::optional<std::string> plan_pattern_take(const std::string& pattern, const std::string& text) {
  const RE2 expression(pattern, quiet());
  std::string taken;
  if (!expression.ok() || !RE2::PartialMatch(text, expression, &taken)) return std::nullopt;
  return taken;
}
