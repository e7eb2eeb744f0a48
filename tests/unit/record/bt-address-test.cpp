// The records of the Bluetooth address, and the choice between the two.
#include "amt/amt-record/bt-address.h"

#include <cerrno>
#include <utility>

#include "tests/unit/failing-calls.h"
#include "tests/unit/record/no-memory.h"
#include "tests/unit/record/record-test.h"

namespace {

constexpr char FIRST[] = "/amt/BT/BT_Address.txt";
constexpr char SECOND[] = "/mnt/opl/nvm/BT_Address.txt";
constexpr char NO_FILE[] = "can not access file \"/amt/BT/BT_Address.txt\" or \"/mnt/opl/nvm/BT_Address.txt\"";

class BtAddress : public record_test {
 protected:
  static bool write_at(std::string_view text) {
    char address[AMT_BT_AT_ADDRESS_SIZE] = {};
    std::copy(text.begin(), text.end(), address);
    return bt_addr_write(address);
  }
  ~BtAddress() override { chmod("/amt/BT", 0755); }
};

TEST_F(BtAddress, Write_BothFiles_TakesTheFirst) {
  write(FIRST, "OLD AND LONGER\n");
  write(SECOND, "OTHER\n");
  EXPECT_TRUE(write_at("AA:BB"));
  EXPECT_EQ(read(FIRST), "AA:BB\n");
  EXPECT_EQ(read(SECOND), "OTHER\n");
  EXPECT_EQ(syncs(), 2);
}

TEST_F(BtAddress, Write_NoSync_IsWrittenAndLogged) {
  write(FIRST, "OLD\n");
  fs::rename("/system/bin/sync", "/system/bin/sync-away");
  EXPECT_TRUE(write_at("AA:BB"));
  fs::rename("/system/bin/sync-away", "/system/bin/sync");
  EXPECT_EQ(read(FIRST), "AA:BB\n");
  EXPECT_THAT(m_log.texts(), testing::Contains("/system/bin/sync failed").Times(2));
}

TEST_F(BtAddress, Write_FirstMissing_TakesTheSecond) {
  write(SECOND, "OTHER\n");
  EXPECT_TRUE(write_at("AA:BB"));
  EXPECT_EQ(read(FIRST), std::nullopt);
  EXPECT_EQ(read(SECOND), "AA:BB\n");
}

TEST_F(BtAddress, Write_AddressOf19Characters_IsTakenWhole) {
  write(FIRST, "");
  EXPECT_TRUE(write_at("1234567890123456789"));
  EXPECT_EQ(read(FIRST), "1234567890123456789\n");
}

TEST_F(BtAddress, Choose_NeitherExists_IsNone) {
  EXPECT_EQ(get_bt_addr_file(), nullptr);
  EXPECT_TRUE(has_failure("get_bt_addr_file", -118, NO_FILE, "2"));
  EXPECT_EQ(m_log.last(), NO_FILE);
}

TEST_F(BtAddress, Choose_FirstCannotBeLookedFor_IsNone) {
  write(FIRST, "OLD\n");
  write(SECOND, "OTHER\n");
  for (const auto& [error, text] : {std::pair(EACCES, "13 - Permission denied"),
                                    {EIO, "5 - Input/output error"},
                                    {ENOMEM, "12 - Cannot allocate memory"}}) {
    const failing_call failure("access", error, FIRST);
    EXPECT_EQ(get_bt_addr_file(), nullptr);
    EXPECT_TRUE(has_failure("get_bt_addr_file", -118, NO_FILE, std::to_string(error)));
    EXPECT_EQ(m_log.last(), "access(\"/amt/BT/BT_Address.txt\") fail: " + std::string(text));
    EXPECT_FALSE(write_at("AA:BB"));
  }
  EXPECT_EQ(read(FIRST), "OLD\n");
  EXPECT_EQ(read(SECOND), "OTHER\n");
}

TEST_F(BtAddress, Choose_FolderThatMayNotBeSearched_IsNone) {
  write(FIRST, "OLD\n");
  write(SECOND, "OTHER\n");
  chmod("/amt/BT", 0);
  EXPECT_FALSE(write_at("AA:BB"));
  EXPECT_EQ(read(SECOND), "OTHER\n");
}

TEST_F(BtAddress, Choose_SecondCannotBeLookedFor_IsNoneWithItsReason) {
  const failing_call failure("access", EIO, SECOND);
  EXPECT_EQ(get_bt_addr_file(), nullptr);
  EXPECT_EQ(m_log.last(), "access(\"/mnt/opl/nvm/BT_Address.txt\") fail: 5 - Input/output error");
}

TEST_F(BtAddress, Write_NoMemory_NeedsNone) {
  static constexpr pub_log_module_st module{"vx-kro-amt", "amt/amt-device"};
  static constexpr char address[AMT_BT_ADDRESS_SIZE] = "an address of fifty-nine characters, the most there can be:";
  write(FIRST, "OLD\n");
  EXPECT_TRUE(without_memory([] { return write_at("1234567890123456789"); }));
  EXPECT_EQ(read(FIRST), "1234567890123456789\n");
  EXPECT_EQ(without_memory([] { return amt_finish_bt_address(module, amt_open_bt_address(module), address); }),
            ERR_NONE);
  EXPECT_EQ(read(FIRST), std::string(address) + "\n");
}

}  // namespace
