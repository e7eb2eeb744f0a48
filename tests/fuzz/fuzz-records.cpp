// The records that are read at the start or by their number: the WiFi address and the driver's nvram text, the test
// items, the flag, the pid file.
#include <cstring>

#include "amt/amt-handle/pc/amt1-flag.h"
#include "amt/amt-handle/pc/pcba-sn.h"
#include "amt/amt-record/amt1-flag.h"
#include "amt/amt-record/item.h"
#include "amt/amt-record/serial-number.h"
#include "amt/amt-record/wifi-address.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/process.h"
#include "tests/fuzz/phone.h"

namespace {

void check_texts() {
  char address[AMT_WIFI_ADDRESS_SIZE];
  std::memset(address, 'x', sizeof address);
  const std::int32_t result = amt_read_wifi_address(address, sizeof address);
  FUZZ_CHECK(result == ERR_NONE || (result == ERR_FAIL && *address == '\0'));
  FUZZ_CHECK(std::memchr(address, '\0', sizeof address) != nullptr);
  char serial[AMT_PCBA_SN_SIZE];
  FUZZ_CHECK(fuzz_is_result_code(amt_read_pcba_sn(serial)) && std::memchr(serial, '\0', sizeof serial) != nullptr);
  std::int32_t flag = -1;
  FUZZ_CHECK(handle_amt_damt1_operation(2, &flag) == ERR_NONE && flag >= 0 && flag <= 9);
  amt_is_handshake_permitted_by_file();
}

void check_items(std::int32_t index) {
  const std::int32_t value = readProductTestItem(index);
  FUZZ_CHECK(value >= -128 && value < 256 && (index < AMT_PRODUCT_ITEMS || value == -3 || value == -1));
  for (const std::int32_t result : {saveProductTestItem(index, 1), saveAmtTestItem(index, 2)}) {
    FUZZ_CHECK(result <= 0 && result >= -3);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint8_t faults = input.byte();
  const auto index = static_cast<std::int32_t>(input.u16() | static_cast<std::uint32_t>(input.u16()) << 16);
  const fuzz_phone phone(faults, input.rest());
  const std::int32_t patched = amt_write_wifi_to_nvram_file();
  FUZZ_CHECK(patched == ERR_NONE || patched == ERR_FAIL);
  check_texts();
  check_items(index);
  std::int32_t is_run = 7;
  std::int64_t pid = 7;
  FUZZ_CHECK(pub_util_get_pid_and_check_run("pid", "amt", &is_run, &pid) == ERR_NONE && is_run == 0);
  pub_fs_info_st info{};
  FUZZ_CHECK(fuzz_is_result_code(pub_util_get_mount_fs_info("/storage", &info)));
  return 0;
}
