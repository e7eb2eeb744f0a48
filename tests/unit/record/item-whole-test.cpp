// The item files stay whole whatever fails, and become whole again with the next item.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "amt/amt-record/item.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/record/no-memory.h"
#include "tests/unit/record/record-test.h"

namespace {

constexpr char PRODUCT_ITEMS[] = "/amt/product.txt";
constexpr char PRODUCT_ASIDE[] = "/amt/product.txt.new";
constexpr char RESULT_ITEMS[] = "/amt/amt_result.txt";

// As many items of '0'.
std::string zeros(int count) {
  std::string items;
  for (int item = 0; item < count; ++item) items += "0\n";
  return items;
}

// All 36 items, of which these are the first.
std::string product(const std::string& first) {
  return first + zeros(36 - static_cast<int>(first.size()) / 2);
}

std::string completion_line(const std::string& path) {
  return "item file " + path + " is not whole, will be completed\n";
}

class ItemWhole : public record_test {
 protected:
  ~ItemWhole() override {
    chmod("/amt", 0755);
    fs::remove_all("/amt");
  }
  static ino_t inode_of(const char* path) {
    struct stat status = {};
    EXPECT_EQ(stat(path, &status), 0);
    return status.st_ino;
  }
  static unsigned mode_of(const char* path) {
    struct stat status = {};
    EXPECT_EQ(stat(path, &status), 0);
    return status.st_mode & 07777;
  }
  static bool has_aside() { return fs::exists(fs::symlink_status(PRODUCT_ASIDE)); }
};

// A process that may write no byte into a file.
class no_file_size {
 public:
  no_file_size() {
    getrlimit(RLIMIT_FSIZE, &m_old);
    const rlimit none = {0, m_old.rlim_max};
    m_old_handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~no_file_size() {
    setrlimit(RLIMIT_FSIZE, &m_old);
    std::signal(SIGXFSZ, m_old_handler);
  }
  no_file_size(const no_file_size&) = delete;
  no_file_size& operator=(const no_file_size&) = delete;

 private:
  rlimit m_old = {};
  void (*m_old_handler)(int) = SIG_DFL;
};

TEST_F(ItemWhole, Init_WriteFails_LeavesTheOldFile) {
  write(PRODUCT_ITEMS, "1\n2\n");
  {
    const no_file_size limit;
    EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), -1);
  }
  EXPECT_EQ(read(PRODUCT_ITEMS), "1\n2\n");
  EXPECT_FALSE(has_aside());
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-item", "initTestFile", -1, "27")));
  EXPECT_TRUE(m_log.has("write file(/amt/product.txt) failure. errorr: 27 - File too large"));
}

TEST_F(ItemWhole, Init_WriteFailsWithoutAnOldFile_MakesNone) {
  {
    const no_file_size limit;
    EXPECT_EQ(saveProductTestItem(3, 1), -2);
  }
  EXPECT_EQ(read(PRODUCT_ITEMS), std::nullopt);
  EXPECT_FALSE(has_aside());
  EXPECT_TRUE(m_log.has("Save fail: init result file error\n"));
  EXPECT_EQ(saveProductTestItem(3, 1), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), product("0\n0\n0\n1\n"));
}

TEST_F(ItemWhole, Init_DeviceRefusesTheBytes_LeavesTheOldFile) {
  write(PRODUCT_ITEMS, "1\n2\n");
  const failing_call failure("fsync", EIO);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), -1);
  EXPECT_EQ(read(PRODUCT_ITEMS), "1\n2\n");
  EXPECT_FALSE(has_aside());
  EXPECT_TRUE(m_log.has("write file(/amt/product.txt) failure. errorr: 5 - Input/output error"));
}

TEST_F(ItemWhole, Init_RenameFails_LeavesTheOldFile) {
  write(PRODUCT_ITEMS, "1\n2\n");
  const failing_call failure("rename", ENOSPC, PRODUCT_ITEMS);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), -1);
  EXPECT_EQ(read(PRODUCT_ITEMS), "1\n2\n");
  EXPECT_FALSE(has_aside());
  EXPECT_TRUE(m_log.has("rename file(/amt/product.txt) failure. errorr: 28 - No space left on device"));
  EXPECT_EQ(syncs(), 0);
}

TEST_F(ItemWhole, Init_KilledBeforeTheRename_IsDoneByTheNextSave) {
  EXPECT_EXIT(
      {
        const killing_fsync kill;
        saveProductTestItem(3, 1);
      },
      testing::ExitedWithCode(killing_fsync::STATUS), "");
  EXPECT_EQ(read(PRODUCT_ITEMS), std::nullopt);
  EXPECT_TRUE(has_aside());
  EXPECT_EQ(saveProductTestItem(3, 1), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), product("0\n0\n0\n1\n"));
  EXPECT_FALSE(has_aside());
}

// Nothing is written through what lies where the file aside has to be.
TEST_F(ItemWhole, Init_LinkLeftAside_IsNotFollowed) {
  write("/amt/other", "kept");
  fs::create_symlink("/amt/other", PRODUCT_ASIDE);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), product(""));
  EXPECT_EQ(read("/amt/other"), "kept");
}

TEST_F(ItemWhole, Init_FolderLeftAside_Fails) {
  fs::create_directories(PRODUCT_ASIDE);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), -1);
  EXPECT_TRUE(m_log.has("open file(/amt/product.txt) failure. errorr: 17 - File exists"));
  EXPECT_EQ(read(PRODUCT_ITEMS), std::nullopt);
}

TEST_F(ItemWhole, Init_FolderOrDeviceInItsPlace_Fails) {
  fs::create_directories(PRODUCT_ITEMS);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), -1);
  EXPECT_TRUE(m_log.has("open file(/amt/product.txt) failure. errorr: 21 - Is a directory"));
  EXPECT_EQ(initTestFile("/dev/null", 36), -1);
  EXPECT_TRUE(m_log.has("open file(/dev/null) failure. errorr: 22 - Invalid argument"));
  EXPECT_FALSE(fs::exists("/dev/null.new"));
}

TEST_F(ItemWhole, Init_OldFile_KeepsItsMode) {
  write(PRODUCT_ITEMS, "1\n");
  chmod(PRODUCT_ITEMS, 0602);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), 0);
  EXPECT_EQ(mode_of(PRODUCT_ITEMS), 0602u);
}

TEST_F(ItemWhole, Init_NoOldFile_HasTheUsualMode) {
  const mode_t old = umask(026);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), 0);
  umask(old);
  EXPECT_EQ(mode_of(PRODUCT_ITEMS), 0640u);
}

TEST_F(ItemWhole, Init_LinkToAFile_StaysALink) {
  write("/amt/elsewhere/items", "1\n");
  fs::create_symlink("elsewhere/items", PRODUCT_ITEMS);
  EXPECT_EQ(initTestFile(PRODUCT_ITEMS, 36), 0);
  EXPECT_TRUE(fs::is_symlink(PRODUCT_ITEMS));
  EXPECT_EQ(read("/amt/elsewhere/items"), product(""));
}

TEST_F(ItemWhole, Save_LinkWithoutItsFile_MakesTheFile) {
  fs::create_directories("/amt/elsewhere");
  fs::create_symlink("elsewhere/items", PRODUCT_ITEMS);
  EXPECT_EQ(saveProductTestItem(0, 2), 0);
  EXPECT_TRUE(fs::is_symlink(PRODUCT_ITEMS));
  EXPECT_EQ(read("/amt/elsewhere/items"), product("2\n"));
}

struct broken_row {
  const char* m_name;
  std::string m_content;
  std::string m_completed;  // with item 1 passed
};

class ItemBroken : public ItemWhole, public testing::WithParamInterface<broken_row> {};

TEST_P(ItemBroken, Save_FileThatIsNotWhole_IsCompletedFirst) {
  write(PRODUCT_ITEMS, GetParam().m_content);
  EXPECT_EQ(saveProductTestItem(1, 1), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), GetParam().m_completed);
  EXPECT_TRUE(m_log.has(completion_line(PRODUCT_ITEMS)));
  EXPECT_FALSE(has_aside());
  EXPECT_EQ(syncs(), 4);  // the file, then the item
}

TEST_P(ItemBroken, Read_FileThatIsNotWhole_IsLeftAsItIs) {
  write(PRODUCT_ITEMS, GetParam().m_content);
  EXPECT_GE(readProductTestItem(1), 0);
  EXPECT_EQ(readProductTestItem(35), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), GetParam().m_content);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ItemBroken,
    testing::Values(broken_row{"Empty", "", product("0\n1\n")},  //
                    broken_row{"Short", "2\n2\n1\n", product("2\n1\n1\n")},
                    broken_row{"ShortByALineEnd", product("2\n").substr(0, 71), product("2\n1\n")},
                    broken_row{"GapOfZeroBytes", std::string("\0\0\0\0002\n", 6), product("0\n1\n2\n")},
                    broken_row{"Letter", product("2\nx\n9\n"), product("2\n1\n9\n")},
                    broken_row{"Minus", product("-\n2\n9\n"), product("0\n1\n9\n")},
                    broken_row{"DigitsWithoutLineEnds", "12345", product("1\n1\n5\n")},
                    broken_row{"BlankForALineEnd", product("2 2\n9\n"), product("2\n1\n9\n")},
                    broken_row{"LineEndsOnly", std::string(72, '\n'), product("0\n1\n")},
                    broken_row{"BrokenWithATail", product("2\nx\n") + "tail", product("2\n1\n") + "tail"},
                    broken_row{"BrokenWithALongTail", product("x\n") + std::string(9000, '7'),
                               product("0\n1\n") + std::string(9000, '7')}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(ItemWhole, Save_ResultFileThatIsNotWhole_IsCompletedTo20Items) {
  write(RESULT_ITEMS, "2\n1");
  EXPECT_EQ(saveAmtTestItem(19, 1), 0);
  EXPECT_EQ(read(RESULT_ITEMS), "2\n1\n" + zeros(17) + "1\n");
  EXPECT_TRUE(m_log.has(completion_line(RESULT_ITEMS)));
}

TEST_F(ItemWhole, Save_WholeFile_IsUpdatedInPlace) {
  write(PRODUCT_ITEMS, product("1\n9\n") + "tail");
  const ino_t inode = inode_of(PRODUCT_ITEMS);
  EXPECT_EQ(saveProductTestItem(2, 2), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), product("1\n9\n2\n") + "tail");
  EXPECT_EQ(inode_of(PRODUCT_ITEMS), inode);
  EXPECT_FALSE(m_log.has(completion_line(PRODUCT_ITEMS)));
  EXPECT_EQ(syncs(), 2);
}

TEST_F(ItemWhole, Save_CompletionFails_KeepsTheFile) {
  for (const char* call : {"fsync", "rename"}) {
    write(PRODUCT_ITEMS, "2\n1");
    const failing_call failure(call, EIO);
    EXPECT_EQ(saveProductTestItem(0, 1), -2) << call;
    EXPECT_EQ(read(PRODUCT_ITEMS), "2\n1") << call;
    EXPECT_FALSE(has_aside()) << call;
    EXPECT_TRUE(m_log.has("Save fail: init result file error\n"));
    EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-item", "saveProductTestItem", -1, "5")));
    m_log.clear();
  }
}

TEST_F(ItemWhole, Save_FileThatCannotBeRead_IsLeftToTheUpdate) {
  fs::create_symlink("/proc/self/mem", PRODUCT_ITEMS);  // its first bytes are never there
  EXPECT_EQ(saveProductTestItem(0, 1), -3);
  EXPECT_TRUE(m_log.has("read file(/amt/product.txt) failure. errorr: 5 - Input/output error"));
  EXPECT_TRUE(m_log.has("write file(/amt/product.txt) failure. errorr: 5 - Input/output error"));
  EXPECT_TRUE(fs::is_symlink(PRODUCT_ITEMS));
}

TEST_F(ItemWhole, Save_AccessFails_KeepsAllResults) {
  for (const int error : {EACCES, EIO, ENOMEM}) {
    write(PRODUCT_ITEMS, product("1\n2\n1\n"));
    const failing_call failure("access", error, PRODUCT_ITEMS);
    EXPECT_EQ(saveProductTestItem(3, 2), 0) << error;
    EXPECT_EQ(read(PRODUCT_ITEMS), product("1\n2\n1\n2\n")) << error;
  }
}

TEST_F(ItemWhole, Read_AccessFails_ReadsTheItem) {
  for (const int error : {EACCES, EIO, ENOMEM}) {
    write(PRODUCT_ITEMS, product("1\n2\n"));
    const failing_call failure("access", error, PRODUCT_ITEMS);
    EXPECT_EQ(readProductTestItem(1), 2) << error;
    EXPECT_EQ(read(PRODUCT_ITEMS), product("1\n2\n")) << error;
  }
}

TEST_F(ItemWhole, SaveAndRead_AccessFailsWithoutTheFile_MakeNone) {
  const failing_call failure("access", EIO, PRODUCT_ITEMS);
  EXPECT_EQ(saveProductTestItem(0, 1), -3);
  EXPECT_TRUE(m_log.has("Save fail: update result error\n"));
  EXPECT_EQ(readProductTestItem(0), -1);
  EXPECT_EQ(m_log.count("open file(/amt/product.txt) failure. errorr: 2 - No such file or directory"), 2u);
  EXPECT_EQ(read(PRODUCT_ITEMS), std::nullopt);
}

TEST_F(ItemWhole, SaveAndRead_FolderThatMayNotBeSearched_Fail) {
  write(PRODUCT_ITEMS, product("1\n"));
  chmod("/amt", 0666);
  EXPECT_EQ(saveProductTestItem(0, 2), -3);
  EXPECT_EQ(readProductTestItem(0), -1);
  EXPECT_EQ(m_log.count("open file(/amt/product.txt) failure. errorr: 13 - Permission denied"), 2u);
  chmod("/amt", 0755);
  EXPECT_EQ(read(PRODUCT_ITEMS), product("1\n"));
}

TEST_F(ItemWhole, Save_NoMemory_NeedsNone) {
  write(PRODUCT_ITEMS, "2\n");
  EXPECT_EQ(without_memory([] { return saveProductTestItem(1, 1); }), 0);
  EXPECT_EQ(without_memory([] { return saveAmtTestItem(1, 1); }), 0);
  EXPECT_EQ(read(PRODUCT_ITEMS), product("2\n1\n"));
}

}  // namespace
