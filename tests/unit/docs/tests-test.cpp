// A handler without a test of its own is a row that nobody looks after: each is called by name in a unit test, which
// also names the request's id or its answer's.
#include <cstdio>
#include <map>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/service/registrations.h"
#include "tests/unit/docs/text.h"

namespace {

struct row_st {
  int m_id;
  std::string m_handler;
};

// The number that a source means by the name of a command id.
int id_of(const std::string& name) {
  static const std::map<std::string, int> ids = {
#define ROW_OF_ID(number, name) {#name, number},
      AMT_COMMAND_IDS(ROW_OF_ID, ROW_OF_ID)
#undef ROW_OF_ID
  };
  const auto found = ids.find(name);
  EXPECT_NE(found, ids.end()) << name;
  return found == ids.end() ? -1 : found->second;
}

std::string registrations() {
  return project_text("amt/amt-handle/service/registrations.cpp");
}

// The rows as they are written, since a pointer has no name.
std::vector<row_st> written_rows() {
  std::vector<row_st> result;
  for (const auto& row : matches(registrations(), "\\{AMT_LINK_(?:PC|APP), ([A-Z0-9_]+, [a-z][a-z0-9_A-Z]+)[,}]")) {
    const std::size_t comma = row.find(',');
    result.push_back({id_of(row.substr(0, comma)), row.substr(comma + 2)});
  }
  return result;
}

std::set<int> forwarded_ids() {
  std::set<int> result;
  for (const auto& name : matches(between(registrations(), "FORWARDED_IDS[] = {", "}"), "([A-Z0-9_]+),")) {
    result.insert(id_of(name));
  }
  return result;
}

std::vector<std::string> unit_tests() {
  std::vector<std::string> result;
  for (const auto& path : project_files("tests/unit", {".cpp"})) {
    if (path.parent_path().filename() != "docs") result.push_back(project_text(path));
  }
  return result;
}

std::string forward_tests() {
  std::string result;
  for (const auto& path : project_files("tests", {".cpp"})) {
    if (path.filename().string().find("forward-test") != std::string::npos) result += project_text(path);
  }
  return result;
}

bool has(const std::string& text, const std::string& pattern) {
  return std::regex_search(text, std::regex(pattern, std::regex::ECMAScript | std::regex::icase));
}

// As a number, or in a frame written out in hexadecimal, after the command head.
std::string id_pattern(int id) {
  char hex[3];
  std::snprintf(hex, sizeof hex, "%02X", static_cast<unsigned>(id) & 0xFFu);
  return "\\b" + std::to_string(id) + "\\b|BB[ ,]*(0x|\\\\x)?" + hex + "\\b";
}

bool is_tested(const std::vector<std::string>& tests, const row_st& row) {
  for (const auto& test : tests) {
    if (test.find(row.m_handler) == test.npos) continue;
    if (has(test, id_pattern(row.m_id)) || has(test, id_pattern(row.m_id + 1))) return true;
  }
  return false;
}

}  // namespace

TEST(RegisteredHandlers, WrittenRows_AreAllRowsOfTheTable) {
  EXPECT_EQ(written_rows().size() + forwarded_ids().size(), amt_handle_registrations().size());
}

TEST(RegisteredHandlers, EachRow_IsNamedByAUnitTest) {
  const auto tests = unit_tests();
  for (const auto& row : written_rows()) EXPECT_TRUE(is_tested(tests, row)) << row.m_id << " " << row.m_handler;
}

TEST(RegisteredHandlers, EachForwardedId_IsNamedByATestOfTheForwarding) {
  const auto tests = forward_tests();
  for (const int id : forwarded_ids()) EXPECT_TRUE(has(tests, "\\b" + std::to_string(id) + "\\b")) << id;
}

// A name that no test has any more would let one come back under another name that nobody looks at.
TEST(LeftOutTests, UnderEmulation_AreThere) {
  std::string tests;
  for (const char* folder : {"tests/unit", "tests/handset"}) {
    for (const auto& path : project_files(folder, {".cpp"})) tests += project_text(path);
  }
  const auto names = matches("\n" + project_text("tests/emulation.txt"), "\n([^#\n][^\n]*)");
  EXPECT_GE(names.size(), 5u);
  for (const auto& name : names) {
    const std::size_t dot = name.find('.');
    ASSERT_NE(dot, name.npos) << name;
    const std::string suite = std::regex_replace(name.substr(0, dot), std::regex(".*/|\\*"), "");
    const std::string test = std::regex_replace(name.substr(dot + 1), std::regex("\\*"), "\\w*");
    EXPECT_TRUE(has(tests, "TEST(_[FP])?\\(\\w*" + suite + "\\w*,\\s+" + test + "\\)")) << name;
  }
}
