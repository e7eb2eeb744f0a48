#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include "tests/unit/device/device-test.h"

namespace {

bool g_fork_fails;

}  // namespace

// Takes the C library's place, so that a fork can fail.
extern "C" pid_t fork() noexcept {
  if (g_fork_fails) {
    errno = EAGAIN;
    return -1;
  }
  using fork_function = pid_t (*)();
  return reinterpret_cast<fork_function>(dlsym(RTLD_NEXT, "fork"))();
}

namespace {

namespace fs = std::filesystem;

constexpr char BT_RECORD[] = "/amt/BT/BT_Address.txt";
constexpr char APP_ON[] = "0F 00 BB AB 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char PC_ON[] = "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB AB 09 00 EE 01 01 04 00 00 00 00 00 8F 46 90 38";
constexpr char APP_BT_OK[] = "0F 00 BB AD 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char PC_BT_OK[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB AD 09 00 EE 01 01 04 00 00 00 00 00 69 7E 05 03";

class Bluetooth : public device_test {
 protected:
  Bluetooth() { g_fork_fails = false; }

  // Asks for Bluetooth on and lets the child end where it would go on as a service, after `judge` has turned its result
  // into a number. The parent's result; the child's comes through a pipe, for the service itself takes note of its end.
  template <typename Judge>
  std::int32_t switch_on(amt_link_en link, int& child_result, Judge judge) {
    int answer[2];
    EXPECT_EQ(pipe2(answer, O_CLOEXEC), 0);
    const pid_t self = getpid();
    const std::int32_t result = ask(link, 170);
    if (getpid() != self) {
      child_result = judge(result);
      _exit(write(answer[1], &child_result, sizeof child_result) > 0 ? 0 : 1);
    }
    close(answer[1]);
    EXPECT_EQ(read(answer[0], &child_result, sizeof child_result), static_cast<ssize_t>(sizeof child_result));
    close(answer[0]);
    return result;
  }
  std::int32_t switch_on(amt_link_en link, int& child_result) {
    return switch_on(link, child_result, [](std::int32_t result) { return result; });
  }
};

TEST_F(Bluetooth, On_LibraryAgrees_IsAnsweredByBothProcesses) {
  int child_result = -1;
  EXPECT_EQ(switch_on(AMT_LINK_PC, child_result), 0);
  EXPECT_EQ(child_result, 0);
  EXPECT_EQ(to_pc(), std::string(PC_ON) + " " + PC_ON);
  EXPECT_EQ(switch_on(AMT_LINK_APP, child_result), 0);
  EXPECT_EQ(child_result, 0);
  EXPECT_EQ(to_app(), std::string(APP_ON) + " " + APP_ON);
  EXPECT_THAT(g_hwt_fake.m_calls, IsEmpty());  // the parent leaves the hardware to the child
}

TEST_F(Bluetooth, On_LibraryFails_OnlyTheParentAnswers) {
  g_hwt_fake.m_results = {{"hwt_btCtrl(1)", 9}};
  int child_result = -1;
  EXPECT_EQ(switch_on(AMT_LINK_PC, child_result), 0);
  EXPECT_EQ(child_result, ERR_SYSTEM);
  EXPECT_EQ(to_pc(), PC_ON);
  EXPECT_EQ(switch_on(AMT_LINK_APP, child_result), 0);
  EXPECT_EQ(child_result, ERR_SYSTEM);
  EXPECT_EQ(to_app(), APP_ON);
}

TEST_F(Bluetooth, On_ForkFails_IsASystemError) {
  g_fork_fails = true;
  EXPECT_EQ(pc(170), ERR_SYSTEM);
  EXPECT_EQ(app(170), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_bt", ERR_SYSTEM)).Times(2));
  EXPECT_EQ(m_log.count("error to exec: hciattach"), 2u);
}

TEST_F(Bluetooth, On_InTheChild_LogsItsSteps) {
  g_hwt_fake.m_results = {{"hwt_btCtrl(1)", 9}};
  int is_logged = 0;
  switch_on(AMT_LINK_PC, is_logged, [this](std::int32_t) {
    const auto lines = log();
    const auto begin = std::find(lines.begin(), lines.end(), "BT-start start");
    return testing::Value(std::vector(begin, lines.end()),
                          ElementsAre("BT-start start", "BT-start end. return:9.",
                                      device_failure("amt_device_bt", -100), "BT-start error. call hwt_btCtrl fail: 9",
                                      device_failure("amt_device_bt", -118), "error to exec: hciattach"))
               ? 1
               : 0;
  });
  EXPECT_EQ(is_logged, 1);
}

TEST_F(Bluetooth, On_InTheChild_ForgetsTheParentsThreads) {
  g_handle_context.m_modem_thread.m_tid = 1111;
  int child_thread = -1;
  switch_on(AMT_LINK_PC, child_thread, [](std::int32_t) { return int{g_handle_context.m_modem_thread.m_tid}; });
  EXPECT_EQ(child_thread, 0);
  EXPECT_EQ(g_handle_context.m_modem_thread.m_tid, 1111);
}

TEST_F(Bluetooth, Address_Read_IsAnsweredOnBothLinks) {
  write_file(BT_RECORD, "00:11:22:33:44:55\n");
  EXPECT_EQ(pc(172, int_atom(110, 1)), 0);
  EXPECT_EQ(app(172, int_atom(110, 1)), 0);
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 2D 00 00 00 02 00 00 00 25 00 BB AD 1F 00 "
            "EE 6F 02 11 00 30 30 3A 31 31 3A 32 32 3A 33 33 3A 34 34 3A 35 35 EE 01 01 04 00 00 00 00 00 E8 A1 62 19");
  EXPECT_EQ(to_app(),
            "25 00 BB AD 1F 00 "
            "EE 6F 02 11 00 30 30 3A 31 31 3A 32 32 3A 33 33 3A 34 34 3A 35 35 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("amt_device_bt_address op_type:1"));
  EXPECT_TRUE(m_log.has("read BT address: 00:11:22:33:44:55"));
}

TEST_F(Bluetooth, Address_ReadOfALongWord_TakesFiftyNineCharacters) {
  write_file(BT_RECORD, std::string(70, 'a'));
  EXPECT_EQ(app(172, int_atom(110, 1)), 0);
  EXPECT_TRUE(m_log.has("read BT address: " + std::string(59, 'a')));
}

TEST_F(Bluetooth, Address_ReadWithoutRecord_IsABadArgument) {
  EXPECT_EQ(pc(172, int_atom(110, 1)), ERR_ARGUMENT);
  EXPECT_EQ(app(172, int_atom(110, 1)), ERR_ARGUMENT);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_bt_address", ERR_ARGUMENT)).Times(2));
  EXPECT_TRUE(m_log.has("open(\"/amt/BT/BT_Address.txt\") fail: 2 - No such file or directory"));
}

TEST_F(Bluetooth, Address_ReadOfAnEmptyRecord_Fails) {
  write_file(BT_RECORD, "");
  EXPECT_EQ(pc(172, int_atom(110, 1)), ERR_FAIL);
  EXPECT_EQ(app(172, int_atom(110, 1)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(m_log.count("read not completed"), 2u);
  EXPECT_THAT(log(), Contains(device_failure("amt_device_bt_address", ERR_FAIL)).Times(2));
}

TEST_F(Bluetooth, Address_Write_ReachesTheRecordAndLocksItsFolder) {
  write_file(BT_RECORD, "older and longer than the new one\n");
  EXPECT_EQ(pc(172, int_atom(110, 2) + string_atom(111, "00:11:22:33:44:55")), 0);
  EXPECT_EQ(content_of(BT_RECORD), "00:11:22:33:44:55\n");
  EXPECT_EQ(to_pc(), PC_BT_OK);
  EXPECT_EQ(fs::status("/amt/BT").permissions(), fs::perms(0555));
  EXPECT_EQ(fs::status(BT_RECORD).permissions(), fs::perms(0555));
  EXPECT_EQ(sync_calls(), "sync\nsync\n");
  EXPECT_TRUE(m_log.has("write BT address: 00:11:22:33:44:55"));
  EXPECT_TRUE(m_log.has("path = /amt/BT change to chmod -R 555"));
}

TEST_F(Bluetooth, Address_WriteFromTheApplication_IsAnsweredBare) {
  EXPECT_EQ(app(172, int_atom(110, 2) + string_atom(111, std::string(59, 'a'))), 0);
  EXPECT_EQ(content_of(BT_RECORD), std::string(59, 'a') + "\n");
  EXPECT_EQ(to_app(), APP_BT_OK);
}

TEST_F(Bluetooth, Address_WriteOfARefusedText_EmptiesTheRecord) {
  const std::string refused[] = {"", string_atom(111, ""), string_atom(111, std::string(60, 'a')),
                                 string_atom(111, std::string(61, 'a')),
                                 string_atom(111, std::string("00:11\0:22", 9))};
  for (const auto& address : refused) {
    write_file(BT_RECORD, "00:11:22:33:44:55\n");
    write_file("/handset/sync-calls", "");
    m_log.clear();
    EXPECT_EQ(pc(172, int_atom(110, 2) + address), ERR_ARGUMENT);
    EXPECT_EQ(content_of(BT_RECORD), "");
    EXPECT_EQ(sync_calls(), "sync\nsync\n");
    EXPECT_THAT(log(), Contains(device_failure("amt_device_bt_address", ERR_ARGUMENT)));
    EXPECT_TRUE(m_log.has("unknown BT address"));
  }
  EXPECT_EQ(app(172, int_atom(110, 2)), ERR_ARGUMENT);
  EXPECT_TRUE(is_silent());
  EXPECT_NE(fs::status("/amt/BT").permissions(), fs::perms(0555));
}

TEST_F(Bluetooth, Address_WriteWithoutFolder_IsASystemError) {
  fs::remove_all("/amt/BT");
  EXPECT_EQ(pc(172, int_atom(110, 2) + string_atom(111, "00:11")), ERR_SYSTEM);
  EXPECT_EQ(app(172, int_atom(110, 2) + string_atom(111, "00:11")), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(m_log.count("open(\"/amt/BT/BT_Address.txt\") fail: 2 - No such file or directory"), 2u);
  EXPECT_THAT(log(), Contains(device_failure("amt_device_bt_address", ERR_SYSTEM)).Times(2));
  EXPECT_EQ(sync_calls(), "");
}

TEST_F(Bluetooth, Address_WriteFails_IsASystemErrorAndFlushedAllTheSame) {
  make_full_file(BT_RECORD);
  EXPECT_EQ(pc(172, int_atom(110, 2) + string_atom(111, "00:11")), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("fputs() fail"));
  EXPECT_FALSE(m_log.contains("write BT address"));
  EXPECT_NE(fs::status("/amt/BT").permissions(), fs::perms(0555));
  EXPECT_THAT(log(), Contains(device_failure("amt_device_bt_address", ERR_SYSTEM)));
  EXPECT_EQ(sync_calls(), "sync\nsync\n");
}

struct step_st {
  std::uint32_t m_operation;
  const char* m_call;
  const char* m_step;
  const char* m_name;  // of the call, in the error line
};
constexpr step_st STEPS[] = {
    {3, "hwt_btCheck()", "BT hardware check", "hwt_btCheck"},
    {10, "hwt_btCtrl(0)", "BT-start close", "hwt_btCtrl"},
    {11, "hwt_btCtrl(1)", "BT-start open", "hwt_btCtrl"},
};

TEST_F(Bluetooth, Hardware_LibraryAgrees_IsAnsweredOnBothLinks) {
  for (const auto& row : STEPS) {
    g_hwt_fake.m_calls.clear();
    EXPECT_EQ(pc(172, int_atom(110, row.m_operation)), 0);
    EXPECT_EQ(app(172, int_atom(110, row.m_operation)), 0);
    EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre(row.m_call, row.m_call));
    EXPECT_EQ(to_pc(), PC_BT_OK);
    EXPECT_EQ(to_app(), APP_BT_OK);
    const std::string step = row.m_step;
    EXPECT_TRUE(m_log.has_in_a_row({step + " start", step + " end. return:0."}));
  }
}

TEST_F(Bluetooth, Hardware_LibraryFails_SendsNothing) {
  for (const auto& row : STEPS) {
    g_hwt_fake.m_results = {{row.m_call, -4}};
    const std::string step = row.m_step;
    for (const amt_link_en link : {AMT_LINK_PC, AMT_LINK_APP}) {
      m_log.clear();
      EXPECT_EQ(ask(link, 172, int_atom(110, row.m_operation)), ERR_FAIL);
      EXPECT_THAT(
          log(),
          ElementsAre("amt_device_bt_address()", "amt_device_bt_address op_type:" + std::to_string(row.m_operation),
                      step + " start", step + " end. return:-4.", device_failure("amt_device_bt_address", ERR_FAIL),
                      step + " error. call " + row.m_name + " fail: -4"));
    }
  }
  EXPECT_TRUE(is_silent());
}

TEST_F(Bluetooth, Address_UnknownOperation_IsRefused) {
  const std::pair<std::uint32_t, std::string> rows[] = {{0, "0"},
                                                        {4, "4"},
                                                        {9, "9"},
                                                        {12, "12"},
                                                        {0x101, "257"},
                                                        {0x7FFFFFFF, "2147483647"},
                                                        {0x80000000, "-2147483648"},
                                                        {0xFFFFFFFF, "-1"}};
  for (const auto& [operation, shown] : rows) {
    for (const amt_link_en link : {AMT_LINK_PC, AMT_LINK_APP}) {
      m_log.clear();
      EXPECT_EQ(ask(link, 172, int_atom(110, operation)), ERR_ARGUMENT);
      EXPECT_THAT(log(),
                  ElementsAre("amt_device_bt_address()", "amt_device_bt_address op_type:" + shown,
                              device_failure("amt_device_bt_address", ERR_ARGUMENT), "unknown operation: " + shown));
    }
  }
  EXPECT_TRUE(is_silent());
}

}  // namespace
