// docs/files.md against the sources: every path and property that the service names is there.
#include "tests/unit/docs/text.h"

namespace {

std::set<std::string> literals(const std::string& pattern) {
  std::set<std::string> result;
  for (const char* folder : {"amt", "pub", "platform"}) {
    for (const auto& path : project_files(folder, {".cpp", ".h"})) {
      for (auto& found : matches(project_text(path), pattern)) result.insert(std::move(found));
    }
  }
  EXPECT_FALSE(result.empty()) << pattern;
  return result;
}

void expect_documented(const std::set<std::string>& names) {
  const auto document = project_text("docs/files.md");
  for (const auto& name : names) EXPECT_NE(document.find(name), document.npos) << name;
}

}  // namespace

// Up to a place that is filled in; also within a shell's command.
TEST(FilesDocument, EachPathOfTheSources_IsThere) {
  expect_documented(literals("[\" ](/(?:amt|data|dev|mnt|proc|storage|sys|system|tmp)/[A-Za-z0-9_./-]*[A-Za-z0-9_])"));
  expect_documented(literals("\"(sys/[a-z_/]+)\""));
}

TEST(FilesDocument, EachPropertyAndConfigurationKeyOfTheSources_IsThere) {
  expect_documented(literals("\"((?:amt|ctl|ro|sys|vx)\\.[a-z_.]+)\""));
}
