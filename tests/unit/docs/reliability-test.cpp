// docs/reliability.md against the tests: each that a promise names is there.
#include "tests/unit/docs/text.h"

namespace {

std::set<std::string> names_of_tests() {
  std::set<std::string> result;
  for (const auto& path : project_files("tests", {".cpp"})) {
    const std::string text = project_text(path);
    const std::regex expression("TEST(?:_F|_P)?\\(([A-Za-z0-9]+),\\s*([A-Za-z0-9_]+)\\)");
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
      result.insert(at->str(1) + "." + at->str(2));
    }
  }
  return result;
}

}  // namespace

TEST(ReliabilityDocument, EachTestItNames_IsThere) {
  const auto tests = names_of_tests();
  const auto patterns = matches(project_text("docs/reliability.md"), "`([A-Z][A-Za-z0-9]*\\.[A-Za-z0-9_*]+)`");
  EXPECT_GT(patterns.size(), 30u);
  for (const auto& pattern : patterns) {
    const bool is_open = pattern.back() == '*';
    const std::string begin = is_open ? pattern.substr(0, pattern.size() - 1) : pattern;
    const auto found = tests.lower_bound(begin);
    EXPECT_TRUE(found != tests.end() && (is_open ? found->starts_with(begin) : *found == begin)) << pattern;
  }
}
