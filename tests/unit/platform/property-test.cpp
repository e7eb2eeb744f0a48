#include "platform/property.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/unit/temp-folder.h"

namespace {

namespace fs = std::filesystem;

const fs::path FOLDER = "/data/property";

class Property : public testing::Test {
 protected:
  Property() { clear(); }
  ~Property() override { clear(); }

  static void clear() {
    for (const auto& entry : fs::directory_iterator(FOLDER)) fs::remove_all(entry.path());
  }
  static void write_file(const std::string& name, std::string_view content) {
    std::ofstream(FOLDER / name, std::ios::binary) << content;
  }
  static std::size_t file_count() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(FOLDER), fs::directory_iterator()));
  }
  // Reads into a buffer that the value must not overrun.
  int get(const char* key, const char* default_value) {
    std::memset(m_value, '#', sizeof m_value);
    const int length = property_get(key, m_value, default_value);
    EXPECT_EQ(m_value[PROPERTY_VALUE_MAX], '#');
    return length;
  }

  char m_value[PROPERTY_VALUE_MAX + 1];
};

TEST_F(Property, Unset_GivesTheDefault) {
  EXPECT_EQ(get("a.b", "fallback"), 8);
  EXPECT_STREQ(m_value, "fallback");
}

TEST_F(Property, UnsetWithoutDefault_GivesNothing) {
  EXPECT_EQ(get("a.b", nullptr), 0);
  EXPECT_STREQ(m_value, "");
}

TEST_F(Property, Empty_CountsAsUnset) {
  write_file("a.b", "");
  EXPECT_EQ(get("a.b", "fallback"), 8);
  EXPECT_STREQ(m_value, "fallback");
}

TEST_F(Property, FilesContent_IsTheValueWhole) {
  write_file("a.b", " 1 \n");
  EXPECT_EQ(get("a.b", "x"), 4);
  EXPECT_STREQ(m_value, " 1 \n");
}

TEST_F(Property, Set_CanBeReadAndReplaced) {
  EXPECT_EQ(property_set("a.b", "first"), 0);
  EXPECT_EQ(property_set("a.b", "2"), 0);
  EXPECT_EQ(get("a.b", nullptr), 1);
  EXPECT_STREQ(m_value, "2");
  EXPECT_EQ(read_whole_file(FOLDER / "a.b"), "2");
  EXPECT_EQ(file_count(), 1u);
}

TEST_F(Property, SetEmpty_MakesTheDefaultCountAgain) {
  EXPECT_EQ(property_set("a.b", "1"), 0);
  EXPECT_EQ(property_set("a.b", ""), 0);
  EXPECT_EQ(get("a.b", "d"), 1);
  EXPECT_STREQ(m_value, "d");
}

TEST_F(Property, ValueOf91Characters_FitsWithItsTerminator) {
  const std::string value(91, 'v');
  EXPECT_EQ(property_set("a.b", value.c_str()), 0);
  EXPECT_EQ(get("a.b", nullptr), 91);
  EXPECT_EQ(m_value, value);
}

TEST_F(Property, ValueOf92Characters_IsRefusedAndTheOldStays) {
  EXPECT_EQ(property_set("a.b", "old"), 0);
  EXPECT_LT(property_set("a.b", std::string(92, 'v').c_str()), 0);
  EXPECT_EQ(get("a.b", nullptr), 3);
  EXPECT_STREQ(m_value, "old");
}

TEST_F(Property, FileOf200Characters_IsCutTo91) {
  write_file("a.b", std::string(200, 'v'));
  EXPECT_EQ(get("a.b", nullptr), 91);
  EXPECT_EQ(m_value, std::string(91, 'v'));
}

TEST_F(Property, DefaultOf200Characters_IsCutTo91) {
  EXPECT_EQ(get("a.b", std::string(200, 'd').c_str()), 91);
  EXPECT_EQ(m_value, std::string(91, 'd'));
}

TEST_F(Property, NamesThatLeadElsewhere_AreRefused) {
  for (const char* key : {"", "../../amt/sn", "a/b", "/amt/sn"}) {
    EXPECT_LT(property_set(key, "1"), 0) << key;
    EXPECT_EQ(get(key, "d"), 1) << key;
  }
  EXPECT_LT(property_set(nullptr, "1"), 0);
  EXPECT_EQ(get(nullptr, "d"), 1);
  EXPECT_EQ(file_count(), 0u);
  EXPECT_FALSE(fs::exists("/amt/sn"));
}

TEST_F(Property, NameTooLongForAPath_IsRefused) {
  const std::string key(200, 'k');
  EXPECT_LT(property_set(key.c_str(), "1"), 0);
  EXPECT_EQ(get(key.c_str(), "d"), 1);
}

TEST_F(Property, FolderUnderTheName_IsUnsetAndCannotBeSet) {
  fs::create_directories(FOLDER / "a.b" / "c");
  EXPECT_EQ(get("a.b", "d"), 1);
  EXPECT_STREQ(m_value, "d");
  EXPECT_LT(property_set("a.b", "1"), 0);
  EXPECT_EQ(file_count(), 1u);  // nothing half-made is left beside it
}

}  // namespace
