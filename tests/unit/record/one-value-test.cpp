// Records of one value on a disk that becomes full while they are written.
#include <sys/resource.h>

#include <csignal>
#include <cstring>

#include "amt/amt-record/bt-address.h"
#include "amt/amt-record/calibration.h"
#include "amt/amt-record/item.h"
#include "amt/amt-record/serial-number.h"
#include "amt/amt-record/wifi-address.h"
#include "tests/unit/record/record-test.h"

namespace {

constexpr pub_log_module_st LOG_MODULE{"vx-kro-amt", "test"};

// While it lives, no file can grow beyond so many bytes: what fits is written, the rest fails.
class small_disk {
 public:
  explicit small_disk(rlim_t bytes) : m_old_action(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_old_limit);
    const rlimit limit = {bytes, m_old_limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~small_disk() {
    setrlimit(RLIMIT_FSIZE, &m_old_limit);
    std::signal(SIGXFSZ, m_old_action);
  }
  small_disk(const small_disk&) = delete;
  small_disk& operator=(const small_disk&) = delete;

 private:
  void (*m_old_action)(int);
  rlimit m_old_limit = {};
};

struct value_row {
  const char* m_name;
  const char* m_path;
  bool (*m_write)();
};

bool write_bt() {
  const char address[AMT_BT_AT_ADDRESS_SIZE] = "00:11:22:33:44:55";
  return bt_addr_write(address);
}

bool write_bt_of_a_frame() {
  const char address[AMT_BT_ADDRESS_SIZE] = "00:11:22:33:44:55";
  const result_code_en result = amt_finish_bt_address(LOG_MODULE, amt_open_bt_address(LOG_MODULE), address);
  chmod(AMT_BT_ADDRESS_FOLDER, 0755);  // or the next test could not remove it
  return result == ERR_NONE;
}

class OneValue : public record_test, public testing::WithParamInterface<value_row> {};

// What was written of it would pass for a value.
TEST_P(OneValue, WrittenInPart_IsEmptied) {
  write(GetParam().m_path, "OLD\n");
  {
    const small_disk disk(12);
    EXPECT_FALSE(GetParam().m_write());
  }
  EXPECT_EQ(read(GetParam().m_path), "");
  EXPECT_EQ(syncs(), 2);
  EXPECT_TRUE(GetParam().m_write());
  EXPECT_GT(read(GetParam().m_path).value_or("").size(), 12u);
}

INSTANTIATE_TEST_SUITE_P(
    Each, OneValue,
    testing::Values(value_row{"Bluetooth", AMT_BT_ADDRESS_FILE, write_bt},
                    value_row{"BluetoothOfAFrame", AMT_BT_ADDRESS_FILE, write_bt_of_a_frame},
                    value_row{"Wifi", AMT_WIFI_ADDRESS_FILE,
                              [] { return amt_write_wifi_address("02:11:22:33:44:55") == ERR_NONE; }},
                    value_row{"Pcba", AMT_PCBA_SN_FILE,
                              [] { return amt_write_pcba_sn("PCBA-0123456789", AMT_PCBA_SN_FILE) == ERR_NONE; }},
                    value_row{"Adb", AMT_ADB_SERIAL_FILE,
                              [] { return amt_write_adb_serial(LOG_MODULE, "0123456789ABCDEF") == ERR_NONE; }},
                    value_row{"Calibration", AMT_CALIBRATION_FILE,
                              [] { return amt_write_adc_diff_value(1, 2, 3, 4) == ERR_NONE; }}),
    [](const auto& row) { return row.param.m_name; });

// Its other items stand in the same file.
TEST_F(OneValue, ItemThatCannotBeWritten_LeavesTheOthers) {
  write(AMT_RESULT_FILE, "1\n2\n1\n");
  const small_disk disk(4);
  EXPECT_EQ(updateTestItem(AMT_RESULT_FILE, 2, 2), -2);
  EXPECT_EQ(read(AMT_RESULT_FILE), "1\n2\n1\n");
}

}  // namespace
