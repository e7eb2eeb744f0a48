// docs/integrating.md and docs/security.md: each file, property and log line that they name is in the code or the kit.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/unit/docs/text.h"

namespace {

constexpr const char* DOCUMENTS[] = {"docs/integrating.md", "docs/security.md"};

// The text without its blocks of code.
std::string prose_of(const char* document) {
  return std::regex_replace(project_text(document), std::regex("```[^`]*```"), "");
}

std::set<std::string> names_in(const char* document) {
  std::set<std::string> result;
  for (auto& name : matches(prose_of(document), "`([^`\n]+)`")) result.insert(std::move(name));
  EXPECT_GT(result.size(), 20u);
  return result;
}

std::string text_of_folder(const char* folder, const std::set<std::string>& extensions) {
  std::string result;
  for (const auto& path : project_files(folder, extensions)) result += project_text(path) + "\n";
  return result;
}

std::string sources() {
  std::string result;
  for (const char* folder : {"amt", "pub", "platform"}) result += text_of_folder(folder, {".cpp", ".h"});
  return result;
}

std::string kit() {
  std::string result = project_text("Android.bp");
  for (const char* name : {"file_contexts", "property_contexts", "genfs_contexts"})
    result += project_text(std::string("packaging/sepolicy/") + name);
  for (const auto& path : project_files("packaging", {".rc", ".cfg", ".te", ".sample", ".sh"}))
    result += project_text(path) + "\n";
  return result;
}

const std::string& all_texts() {
  static const std::string result = sources() + kit() + project_text("docs/files.md");
  return result;
}

bool is_known(const std::string& name) {
  return all_texts().find(name) != std::string::npos;
}

bool is_property(const std::string& name) {
  static const std::regex expression("(amt|ctl|init|ro|sys|vx)\\.[a-z0-9_.]+");
  return std::regex_match(name, expression);
}

// Lines of the platform, which it writes about the service.
const std::set<std::string> PLATFORMS_LINES = {"init: cannot find '/system/bin/vx-kro-amt'",
                                               "does not have a SELinux domain defined", "CANNOT LINK EXECUTABLE",
                                               "avc: denied", "scontext=u:r:vx_kro_amt:s0"};

// Each text of the sources as an expression, with anything for what is filled in. Texts with less than eight characters
// of their own would fit too much.
std::vector<std::regex> line_patterns() {
  std::vector<std::regex> result;
  for (auto& text : matches(sources(), R"re("((?:[^"\\\n]|\\.)*)")re")) {
    text = std::regex_replace(text, std::regex(R"(\\n|\\r)"), "");
    text = std::regex_replace(text, std::regex(R"(\\(["\\]))"), "$1");
    const std::string fixed = std::regex_replace(text, std::regex("%[-0-9.*]*l*[a-zA-Z]"), "");
    if (fixed.size() < 8) continue;
    text = std::regex_replace(text, std::regex(R"([.^$|()\[\]{}*+?\\])"), "\\$&");
    result.emplace_back(std::regex_replace(text, std::regex("%[-0-9.*\\\\]*l*[a-zA-Z]"), ".*"));
  }
  EXPECT_GT(result.size(), 200u);
  return result;
}

std::vector<std::string> failure_lines() {
  std::vector<std::string> result;
  const auto table = between(project_text("docs/integrating.md"), "## Failures by their log line\n", "\n## ");
  for (const auto& cell : matches(table, "\n\\| ([^|]*) \\|")) {
    for (auto& line : matches(cell, "`([^`]+)`")) result.push_back(std::move(line));
  }
  return result;
}

}  // namespace

TEST(KitDocuments, EachPathTheyName_IsInTheCodeOrTheKit) {
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (!name.starts_with("/")) continue;
      const std::string path = name.substr(0, name.find_first_of(" <"));
      EXPECT_TRUE(is_known(path)) << document << ": " << name;
    }
  }
}

TEST(KitDocuments, EachFileOfTheProjectTheyName_IsThere) {
  std::size_t count = 0;
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (!name.starts_with("packaging/") && !name.starts_with("platform/")) continue;
      ++count;
      const auto path = std::filesystem::path(PROJECT_FOLDER) / name.substr(0, name.find(' '));
      EXPECT_TRUE(std::filesystem::exists(path)) << document << ": " << name;
    }
    for (const auto& link : matches(prose_of(document), "\\]\\(([a-z-]+\\.md)\\)"))
      EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(PROJECT_FOLDER) / "docs" / link)) << link;
  }
  EXPECT_GE(count, 12u);
}

TEST(KitDocuments, EachFileOfTheKit_IsInTheirTable) {
  const auto document = project_text("docs/integrating.md");
  for (const auto& entry : std::filesystem::directory_iterator(PROJECT_FOLDER "/packaging")) {
    const std::string name = "| `packaging/" + entry.path().filename().string() + (entry.is_directory() ? "/`" : "`");
    EXPECT_NE(document.find(name), document.npos) << name;
  }
}

TEST(KitDocuments, EachPropertyTheyName_IsInTheCodeOrTheKit) {
  std::size_t count = 0;
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (!is_property(name)) continue;
      ++count;
      EXPECT_TRUE(is_known(name)) << document << ": " << name;
    }
  }
  EXPECT_GE(count, 15u);
}

// And the other way round: a property without its row is one that an integrator forgets.
TEST(KitDocuments, EachPropertyOfTheKit_IsInATable) {
  const auto table = between(project_text("docs/integrating.md"), "### Properties\n", "\n### ");
  auto names = matches(project_text("packaging/sepolicy/property_contexts"), "\n([a-z.]+[a-z_])[ $]");
  for (auto& name : matches(sources(), "\"((?:amt|ctl|ro|sys)\\.[a-z_.]+)\"")) names.push_back(std::move(name));
  EXPECT_GE(names.size(), 10u);
  for (const auto& name : names) EXPECT_NE(table.find("`" + name + "`"), table.npos) << name;
}

TEST(KitDocuments, EachAtCommandTheyName_IsInTheSources) {
  const auto text = sources();
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      for (const auto& command : matches(name, "^(AT\\^[A-Z0-9]+)"))
        EXPECT_NE(text.find(command), text.npos) << command;
    }
  }
}

TEST(KitDocuments, EachFailureLine_IsOneThatTheSourcesLog) {
  const auto patterns = line_patterns();
  std::size_t own = 0;
  for (const auto& line : failure_lines()) {
    if (PLATFORMS_LINES.count(line) != 0) continue;
    ++own;
    EXPECT_TRUE(std::any_of(patterns.begin(), patterns.end(), [&](const std::regex& pattern) {
      return std::regex_match(line, pattern);
    })) << line;
  }
  EXPECT_GE(own, 12u);
}

TEST(KitDocuments, PackagesOfTheProduct_AreModules) {
  const auto block = between(project_text("docs/integrating.md"), "PRODUCT_PACKAGES += \\\n", "endif");
  const auto modules = project_text("Android.bp") + project_text("packaging/vendor-libraries.bp.sample");
  const auto packages = matches(block, "    ([^ \n]+)");
  EXPECT_EQ(packages.size(), 5u);
  for (const auto& name : packages) EXPECT_NE(modules.find("name: \"" + name + "\""), modules.npos) << name;
}

// What the lines of the tree's files rely on.
TEST(KitDocuments, LinesOfTheTree_FitTheKit) {
  const auto document = project_text("docs/integrating.md");
  for (const char* line : {"BOARD_ROOT_EXTRA_FOLDERS += amt tmp\n", "kro-amt/packaging/sepolicy\n",
                           "/dev/block/by-name/amt  /amt  ext4  nosuid,nodev,noexec,noatime  wait,check\n",
                           "import /system/etc/vx-kro-amt-ueventd.rc\n"}) {
    EXPECT_NE(document.find(line), document.npos) << line;
  }
  EXPECT_NE(project_text("Android.bp").find("src: \"packaging/vx-kro-amt-ueventd.rc\",\n}"), std::string::npos);
}
