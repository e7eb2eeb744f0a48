#include "amt/amt-record/wifi-address.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "amt/amt-record/record.h"
#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

// The module as field tools know it, whatever the folder is called.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-wifi"};

constexpr char NVRAM_SOURCE[] = "/system/etc/wifi/nvram.txt";
constexpr char NVRAM_SECOND_SOURCE[] = "/system/etc/wifi/bcmdhd.cal";
constexpr char NVRAM_COPY[] = "/data/misc/wifi/nvram.txt";
constexpr char PATCH[] = "amt_write_wifi_to_nvram_file";
constexpr std::string_view ADDRESS_KEY = "macaddr=";
constexpr int LINE_SIZE = 99;
constexpr int LINE_COUNT_LIMIT = 100;

using address_text = char[AMT_WIFI_ADDRESS_SIZE];

void copy_address(address_text& address, std::string_view text) {
  const std::size_t count = std::min(text.size(), sizeof address - 1);
  std::copy_n(text.begin(), count, address);
  address[count] = '\0';
}

// The recorded address with its line end; empty when there is none. A missing record is not a failure, an empty
// one is: ERR_FAIL.
result_code_en read_factory_address(address_text& address) {
  copy_address(address, "");
  const pub_file file = pub_util_fopen(AMT_WIFI_ADDRESS_FILE, "r");
  if (!file) {
    LOG_LINE("open  %s fail", AMT_WIFI_ADDRESS_FILE);
    return ERR_NONE;
  }
  char line[LINE_SIZE];
  if (std::fgets(line, sizeof line, file.get()) == nullptr) {
    return pub_fail({k_log, PATCH}, ERR_FAIL, "read  %s fail", AMT_WIFI_ADDRESS_FILE);
  }
  copy_address(address, line);
  return ERR_NONE;
}

void log_missing(const char* path) {
  pub_log_failure({k_log, PATCH}, ERR_FAIL, "open  %s fail", path);
}

struct nvram_files_st {
  pub_file m_source;
  pub_file m_copy;
};

// The copy is emptied before the source is known to exist, on purpose: a driver text without its source is no good.
bool open_files(nvram_files_st& files) {
  files.m_source = pub_util_fopen(NVRAM_SOURCE, "r");
  files.m_copy = pub_util_fopen(NVRAM_COPY, "w+");
  if (!files.m_source) {
    LOG_LINE("File \"%s\" not exist, so we try to open file \"%s\"", NVRAM_SOURCE, NVRAM_SECOND_SOURCE);
    files.m_source = pub_util_fopen(NVRAM_SECOND_SOURCE, "r");
  }
  if (!files.m_source) {
    log_missing(NVRAM_SECOND_SOURCE);
    return false;
  }
  if (!files.m_copy) log_missing(NVRAM_COPY);
  return files.m_copy != nullptr;
}

// What follows the key in an address line; null for any other line. Blanks may precede the key; a comment sign or other
// text there makes it another line.
const char* find_old_address(const char* line) {
  line += std::strspn(line, " ");
  return std::string_view(line).starts_with(ADDRESS_KEY) ? line + ADDRESS_KEY.size() : nullptr;
}

void write_address(std::FILE* copy, const char* address) {
  std::fputs(ADDRESS_KEY.data(), copy);
  std::fputs(address, copy);
}

// Copies the source line by line with the address in place. A piece of a line that is longer than the buffer counts as
// a line of its own. ERR_FAIL when the limit of copied lines is reached: the rest is dropped.
result_code_en copy_lines(const nvram_files_st& files, const char* address, bool& is_replaced) {
  char line[LINE_SIZE];
  int count = 0;
  while (std::fgets(line, sizeof line, files.m_source.get()) != nullptr) {
    const char* old_address = *address == '\0' ? nullptr : find_old_address(line);
    if (old_address != nullptr) {
      address_text nvram_address;
      copy_address(nvram_address, old_address);
      LOG_LINE("wifi_addr_nvram: %s", nvram_address);
      write_address(files.m_copy.get(), address);
      is_replaced = true;
      continue;
    }
    std::fputs(line, files.m_copy.get());
    if (++count == LINE_COUNT_LIMIT) return pub_fail({k_log, PATCH}, ERR_FAIL);
  }
  return ERR_NONE;
}

// Fills the copy; ERR_FAIL, too, when not all of it could be written.
result_code_en patch(const nvram_files_st& files, const char* address) {
  bool is_replaced = false;
  result_code_en result = copy_lines(files, address, is_replaced);
  if (!is_replaced && *address != '\0') {
    std::fseek(files.m_copy.get(), 0, SEEK_END);
    write_address(files.m_copy.get(), address);
    LOG_LINE("new wifi_addr_nvram: %s", address);
  }
  if (std::fflush(files.m_copy.get()) != 0 || std::ferror(files.m_copy.get()) != 0) {
    pub_log_sys_call(k_log, "fputs");
    pub_log_failure({k_log, PATCH}, ERR_FAIL);
    result = ERR_FAIL;
  }
  return result;
}

// The WiFi driver's own user must be able to write the copy.
void open_copy_to_all() {
  const pub_fd copy(pub_util_open(NVRAM_COPY, O_RDONLY));
  if (copy.get() < 0) {
    LOG_LINE("open %s failed", NVRAM_COPY);
  } else if (fchmod(copy.get(), 0666) == 0) {
    LOG_LINE("fchmod  %s successfully", NVRAM_COPY);
  } else {
    LOG_LINE("fchmod  %s failed, %s", NVRAM_COPY, std::strerror(errno));
  }
}

}  // namespace

result_code_en amt_read_wifi_address(char* buffer, std::size_t size) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {buffer == nullptr, size == 0})) return ERR_FAIL;
  *buffer = '\0';
  const pub_file file = pub_util_fopen(AMT_WIFI_ADDRESS_FILE, "r");
  if (!file) return pub_fail(k_log, ERR_FAIL, "open %s fail", AMT_WIFI_ADDRESS_FILE);
  char line[LINE_SIZE];
  if (std::fgets(line, sizeof line, file.get()) == nullptr) return pub_fail(k_log, ERR_FAIL, "read fail");
  const std::size_t length = std::strlen(line);
  LOG_LINE("wifi_addr_len: %d", static_cast<int>(length));
  const std::size_t count = std::min(length == 0 ? 0 : length - 1, size - 1);
  std::copy_n(line, count, buffer);
  buffer[count] = '\0';
  return ERR_NONE;
}

result_code_en amt_write_wifi_address(const char* address) {
  pub_log_entry(k_log);
  if (address == nullptr || *address == '\0') return pub_fail(k_log, ERR_ARGUMENT);
  pub_file file = pub_util_fopen(AMT_WIFI_ADDRESS_FILE, "w+");
  if (!file) return pub_fail(k_log, ERR_FAIL, "open %s fail", AMT_WIFI_ADDRESS_FILE);
  const std::string line = std::string(address) + "\n";
  const bool is_written = amt_finish_record(std::move(file), line.c_str(), [address](bool is_done) {
    if (is_done) {
      LOG_LINE("write BT address: %s", address);  // names Bluetooth on purpose: field tools look for it
      return;
    }
    pub_log_sys_call(k_log, "fputs");
    pub_log_failure({k_log, "amt_write_wifi_address"}, ERR_SYSTEM);
  });
  return is_written ? ERR_NONE : ERR_SYSTEM;
}

result_code_en amt_write_wifi_to_nvram_file() {
  pub_log_entry(k_log);
  address_text address;
  result_code_en result = read_factory_address(address);
  LOG_LINE("wifi_addr_amt: %s", address);
  nvram_files_st files;
  if (!open_files(files)) return ERR_FAIL;
  if (patch(files, address) != ERR_NONE) result = ERR_FAIL;
  files.m_copy.reset();
  amt_flush_records();
  open_copy_to_all();
  return result;
}
