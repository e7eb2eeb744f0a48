// The record files of the production line's stations.
#include "amt/amt-record/item.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <filesystem>

#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char PRODUCT_FILE[] = "/amt/product.txt";
constexpr char RESULT_FILE[] = "/amt/amt_result.txt";
constexpr char ITEMS_36[] =
    "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n";
constexpr char ITEMS_20[] = "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n";

class item : public testing::Test {
 protected:
  item() {
    phone_root::remove("/amt");
    std::filesystem::create_directories("/amt");
    phone_root::take_sync_calls();
  }
  ~item() override { phone_root::remove("/amt"); }

  log_capture m_log;
};

class ItemFile : public item {};

TEST_F(ItemFile, Init_MakesItemsNotTested) {
  EXPECT_EQ(initTestFile(RESULT_FILE, 20), 0);
  EXPECT_EQ(phone_root::read(RESULT_FILE), ITEMS_20);
  EXPECT_TRUE(m_log.has("initTestFile . path:/amt/amt_result.txt; count: 20\n"));
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
}

TEST_F(ItemFile, InitOfAnOldFile_EmptiesItFirst) {
  phone_root::write(PRODUCT_FILE, "1\n1\n1\n");
  EXPECT_EQ(initTestFile(PRODUCT_FILE, 1), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), "0\n");
}

TEST_F(ItemFile, InitOf36Items_IsTheMost) {
  EXPECT_EQ(initTestFile(PRODUCT_FILE, 36), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), ITEMS_36);
  EXPECT_EQ(initTestFile(PRODUCT_FILE, 37), -1);
  EXPECT_TRUE(m_log.has("test item error: 37\n"));
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), ITEMS_36);
}

TEST_F(ItemFile, InitWhereNoFileCanBe_Fails) {
  EXPECT_EQ(initTestFile("/amt/no/file", 1), -1);
  EXPECT_TRUE(m_log.has("open file(/amt/no/file) failure. errorr: 2 - No such file or directory"));
}

struct digit_row {
  const char* m_name;
  std::int32_t m_result;
  const char* m_content;
  const char* m_printed;
};

class ItemDigit : public ItemFile, public testing::WithParamInterface<digit_row> {};

TEST_P(ItemDigit, Update_WritesTheResultsDigitOnly) {
  phone_root::write(PRODUCT_FILE, "9\n9\n9\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(updateTestItem(PRODUCT_FILE, 1, GetParam().m_result), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam().m_printed);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), GetParam().m_content);
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ItemDigit,
    testing::Values(digit_row{"Pass", 1, "9\n1\n9\n", ""},
                    digit_row{"Fail", 2, "9\n2\n9\n", "[TEST_RESULT] update item for TEST_FAIL\n"},
                    digit_row{"Zero", 0, "9\n0\n9\n", "[TEST_RESULT] update item for TEST_UNKNOWN\n"},
                    digit_row{"Seven", 7, "9\n0\n9\n", "[TEST_RESULT] update item for TEST_UNKNOWN\n"},
                    digit_row{"Negative", -1, "9\n0\n9\n", "[TEST_RESULT] update item for TEST_UNKNOWN\n"}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(ItemFile, Update_Logs) {
  phone_root::write(PRODUCT_FILE, "0\n");
  updateTestItem(PRODUCT_FILE, 0, 1);
  EXPECT_TRUE(m_log.has("write item [0], result= 1\n"));
}

TEST_F(ItemFile, UpdateOfANegativeIndex_OverwritesItemZero) {
  for (const std::int32_t index : {-1, -2, INT_MIN}) {
    phone_root::write(PRODUCT_FILE, "0\n0\n");
    EXPECT_EQ(updateTestItem(PRODUCT_FILE, index, 1), 0);
    EXPECT_EQ(phone_root::read(PRODUCT_FILE), "1\n0\n") << index;
  }
}

TEST_F(ItemFile, UpdateBehindTheEnd_LeavesAGap) {
  phone_root::write(PRODUCT_FILE, "0\n");
  EXPECT_EQ(updateTestItem(PRODUCT_FILE, 2, 1), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), std::string("0\n\0\0"
                                                        "1",
                                                        5));
}

TEST_F(ItemFile, UpdateOfAMissingFile_DoesNotMakeIt) {
  EXPECT_EQ(updateTestItem(PRODUCT_FILE, 0, 1), -1);
  EXPECT_TRUE(m_log.has("open file(/amt/product.txt) failure. errorr: 2 - No such file or directory"));
  EXPECT_FALSE(std::filesystem::exists(PRODUCT_FILE));
  EXPECT_EQ(phone_root::take_sync_calls(), 0);
}

TEST_F(ItemFile, UpdateOfAFullSystem_Fails) {
  EXPECT_EQ(updateTestItem("/dev/full", 0, 1), -2);
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-item", "updateTestItem", -2, "28")));
}

class ItemSave : public item {};

TEST_F(ItemSave, OfAMissingProductFile_MakesIt) {
  EXPECT_EQ(saveProductTestItem(3, 1), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), "0\n0\n0\n1\n" + std::string(ITEMS_36).substr(8));
}

TEST_F(ItemSave, OfAMissingResultFile_MakesIt) {
  EXPECT_EQ(saveAmtTestItem(19, 2), 0);
  EXPECT_EQ(phone_root::read(RESULT_FILE), std::string(ITEMS_20).substr(0, 38) + "2\n");
}

TEST_F(ItemSave, LastIndexes_AreTakenTheNextAreRefused) {
  EXPECT_EQ(saveProductTestItem(35, 1), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), std::string(ITEMS_36).substr(0, 70) + "1\n");
  for (const std::int32_t index : {36, INT_MAX}) EXPECT_EQ(saveProductTestItem(index, 1), -3);
  EXPECT_TRUE(m_log.has("item index error: 36\n"));
  EXPECT_EQ(saveAmtTestItem(20, 1), -3);
  EXPECT_TRUE(m_log.has("item index error: 20\n"));
  EXPECT_FALSE(std::filesystem::exists(RESULT_FILE));
}

TEST_F(ItemSave, NegativeIndex_OverwritesItemZero) {
  EXPECT_EQ(saveProductTestItem(-1, 1), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE).substr(0, 4), "1\n0\n");
}

TEST_F(ItemSave, WithoutTheFolder_Fails) {
  phone_root::remove("/amt");
  EXPECT_EQ(saveProductTestItem(0, 1), -1);
  EXPECT_TRUE(m_log.has("Save fail: Directory access deny\n"));
}

// A save needs both rights, a read only the one to read.
TEST_F(ItemSave, FolderWithoutRights_FailsAndKeepsTheFile) {
  ASSERT_EQ(saveProductTestItem(0, 1), 0);
  for (const mode_t mode : {0555u, 0333u, 0111u}) {
    m_log.clear();
    chmod("/amt", mode);
    EXPECT_EQ(saveProductTestItem(0, 2), -1);
    EXPECT_TRUE(m_log.has("Save fail: Directory access deny\n"));
    EXPECT_EQ(readProductTestItem(0), mode == 0555 ? 1 : -1);
    EXPECT_EQ(m_log.has("access folder(/amt) failure. errorr: 13 - Permission denied"), mode != 0555);
    chmod("/amt", 0755);
    EXPECT_EQ(readProductTestItem(0), 1);
  }
}

TEST_F(ItemSave, FileThatCannotBeMade_Fails) {
  std::filesystem::create_symlink("/amt/no/file", PRODUCT_FILE);
  EXPECT_EQ(saveProductTestItem(0, 1), -2);
  EXPECT_TRUE(m_log.has("Save fail: init result file error\n"));
}

TEST_F(ItemSave, FileThatCannotBeWritten_Fails) {
  std::filesystem::create_symlink("/dev/full", RESULT_FILE);
  EXPECT_EQ(saveAmtTestItem(0, 1), -3);
  EXPECT_TRUE(m_log.has("Save fail: update result error\n"));
}

class ItemRead : public item {};

TEST_F(ItemRead, OfEachDigit_GivesItsValue) {
  phone_root::write(PRODUCT_FILE, "0\n1\n2\n9\nx\n\n");
  EXPECT_EQ(readProductTestItem(0), 0);
  EXPECT_EQ(readProductTestItem(1), 1);
  EXPECT_TRUE(m_log.has("itemIndex = 1, buf= 1\n"));
  EXPECT_EQ(readProductTestItem(2), 2);
  EXPECT_EQ(readProductTestItem(3), 9);
  EXPECT_EQ(readProductTestItem(4), 0);
  EXPECT_EQ(readProductTestItem(5), 0);
}

TEST_F(ItemRead, BehindTheEnd_IsZero) {
  phone_root::write(PRODUCT_FILE, "1\n1\n1\n1\n1\n1\n");
  EXPECT_EQ(readProductTestItem(10), 0);
}

TEST_F(ItemRead, OfAMissingFile_MakesIt) {
  EXPECT_EQ(readProductTestItem(0), 0);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), ITEMS_36);
  EXPECT_TRUE(m_log.has("access file(/amt/product.txt) failure. errorr: 2 - No such file or directory"));
}

TEST_F(ItemRead, IndexAboveTheLast_IsRefused) {
  EXPECT_EQ(readProductTestItem(36), -3);
  EXPECT_EQ(readProductTestItem(INT_MAX), -3);
  EXPECT_TRUE(m_log.has("item index error: 36\n"));
  EXPECT_FALSE(std::filesystem::exists(PRODUCT_FILE));
}

TEST_F(ItemRead, NegativeIndex_CannotBeSought) {
  phone_root::write(PRODUCT_FILE, "1\n");
  EXPECT_EQ(readProductTestItem(-1), -1);
  EXPECT_TRUE(m_log.has("call fseek failure. errorr: 22 - Invalid argument"));
}

TEST_F(ItemRead, WithoutTheFolder_Fails) {
  phone_root::remove("/amt");
  EXPECT_EQ(readProductTestItem(0), -1);
  EXPECT_TRUE(m_log.has("access folder(/amt) failure. errorr: 2 - No such file or directory"));
}

TEST_F(ItemRead, FileThatCannotBeMade_Fails) {
  std::filesystem::create_symlink("/amt/no/file", PRODUCT_FILE);
  EXPECT_EQ(readProductTestItem(0), -2);
  EXPECT_TRUE(m_log.has("initTestFile fail: init result file error\n"));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-item", "readProductTestItem", -2)));
}

TEST_F(ItemRead, FileThatCannotBeOpened_Fails) {
  phone_root::write(PRODUCT_FILE, "1\n");
  chmod(PRODUCT_FILE, 0);
  EXPECT_EQ(readProductTestItem(0), -1);
  EXPECT_TRUE(m_log.has("open file(/amt/product.txt) failure. errorr: 13 - Permission denied"));
}

// A folder can be opened, but not read.
TEST_F(ItemRead, ReadThatFails_IsAFailure) {
  std::filesystem::create_directories(PRODUCT_FILE);
  EXPECT_EQ(readProductTestItem(0), -1);
  EXPECT_TRUE(m_log.has("call fgets error. errorr: 21 - Is a directory"));
}

}  // namespace
