// docs/integrating.md and docs/security.md: each file, property and log line that they name is in the code or the kit.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>

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

// As a whole: what follows in the text does not go on with the name.
bool is_known(const std::string& name) {
  const auto& texts = all_texts();
  for (std::size_t at = texts.find(name); at != texts.npos; at = texts.find(name, at + 1)) {
    const char next = at + name.size() < texts.size() ? texts[at + name.size()] : ' ';
    if (std::isalnum(static_cast<unsigned char>(next)) == 0 && next != '_') return true;
  }
  return false;
}

bool is_property(const std::string& name) {
  static const std::regex expression("(amt|ctl|init|ro|sys|vx)\\.[a-z0-9_.]+");
  return std::regex_match(name, expression);
}

// Lines of the platform, which it writes about the service.
const std::set<std::string> PLATFORMS_LINES = {"init: cannot find '/system/bin/vx-kro-amt'",
                                               "does not have a SELinux domain defined", "CANNOT LINK EXECUTABLE",
                                               "avc: denied", "scontext=u:r:vx_kro_amt:s0"};

// What the platform, its tools and its trees call by these names.
const std::set<std::string> PLATFORMS_WORDS = {"Android.bp",
                                               "BOARD_ROOT_EXTRA_FOLDERS",
                                               "BoardConfig.mk",
                                               "adb logcat -s vx-kro-amt vx-kro-pub",
                                               "adb root",
                                               "adb shell setprop amt.normal.amt.switch_status 1",
                                               "adb shell start vx-kro-amt",
                                               "adb shell stop vx-kro-amt",
                                               "chown root",
                                               "device.mk",
                                               "fastboot format",
                                               "formattable",
                                               "restorecon -R /amt",
                                               "vendor/vx/kro-amt"};

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

TEST(KitDocuments, EachFileOfTheKit_IsInATable) {
  const auto document = project_text("docs/integrating.md") + project_text("docs/station.md");  // a phone's, a PC's
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

// Whatever they set apart as a name is one of the code's, the kit's or the platform's.
TEST(KitDocuments, EachNameTheyQuote_IsSomewhereElseToo) {
  const auto lines = failure_lines();
  for (const char* document : DOCUMENTS) {
    for (const auto& name : names_in(document)) {
      if (PLATFORMS_WORDS.count(name) != 0 || PLATFORMS_LINES.count(name) != 0) continue;
      if (std::find(lines.begin(), lines.end(), name) != lines.end()) continue;  // the next test's
      if (name.starts_with("packaging/") || name.starts_with("platform/") || name.starts_with("int ")) continue;
      EXPECT_TRUE(is_known(name.substr(0, name.find_first_of(" =<\xE2")))) << document << ": " << name;
    }
  }
}

// The operations of the board library, with their parameters' types: "int name(char *text, int size)" in the document,
// call_misc<int(char*, int)>(..., "name" in the code.
TEST(KitDocuments, OperationsOfTheBoardLibrary_AreThoseThatTheServiceCalls) {
  std::set<std::string> told;
  const auto document = project_text("docs/integrating.md");
  const std::regex row("\n\\| `int (\\w+)\\(([^)]*)\\)`");
  for (std::sregex_iterator at(document.begin(), document.end(), row), end; at != end; ++at) {
    const auto types =
        std::regex_replace((*at)[2].str(), std::regex(" ?(\\*?)(type|enable|on|text|size)\\b|void"), "$1");
    told.insert((*at)[1].str() + "(" + types + ")");
  }
  std::set<std::string> called;
  const auto text = sources();
  const std::regex call("call_misc<int\\(([^)]*)\\)>\\([^\"]*\"(\\w+)\"");
  for (std::sregex_iterator at(text.begin(), text.end(), call), end; at != end; ++at)
    called.insert((*at)[2].str() + "(" + (*at)[1].str() + ")");
  EXPECT_GE(called.size(), 6u);
  EXPECT_EQ(told, called);
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
