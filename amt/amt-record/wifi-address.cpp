#include "amt/amt-record/wifi-address.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <tuple>

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
constexpr std::size_t TEXT_SIZE = 65536;

using address_text = char[AMT_WIFI_ADDRESS_SIZE];

void copy_address(address_text& address, std::string_view text) {
  const std::size_t count = std::min(text.size(), sizeof address - 1);
  std::copy_n(text.begin(), count, address);
  address[count] = '\0';
}

void log_missing(const char* path) {
  pub_log_failure({k_log, PATCH}, ERR_FAIL, "open  %s fail", path);
}

result_code_en fail_reading(const char* path) {
  return pub_fail({k_log, PATCH}, ERR_FAIL, "read  %s fail", path);
}

void log_kept() {
  LOG_LINE("keep the old %s", NVRAM_COPY);
}

// The recorded address with its line end; empty when there is none. A missing record is not a failure, an empty
// one is: ERR_FAIL. No result for a record that is there but cannot be read: the address is not known.
std::optional<result_code_en> read_factory_address(address_text& address) {
  copy_address(address, "");
  const pub_file file = pub_util_fopen(AMT_WIFI_ADDRESS_FILE, "r");
  if (!file && errno == ENOENT) {
    LOG_LINE("open  %s fail", AMT_WIFI_ADDRESS_FILE);
    return ERR_NONE;
  }
  if (!file) {
    log_missing(AMT_WIFI_ADDRESS_FILE);
    return std::nullopt;
  }
  char line[LINE_SIZE];
  const bool has_line = std::fgets(line, sizeof line, file.get()) != nullptr;
  if (has_line && std::ferror(file.get()) == 0) {
    copy_address(address, line);
    return ERR_NONE;
  }
  const result_code_en failure = fail_reading(AMT_WIFI_ADDRESS_FILE);
  return std::ferror(file.get()) == 0 ? std::optional(failure) : std::nullopt;
}

// What the copy is to hold, built whole before the old text goes.
class nvram_text {
 public:
  void clear() {
    m_size = 0;
    m_is_whole = true;
  }
  void append(std::string_view text) {
    m_is_whole = m_is_whole && text.size() <= sizeof m_text - m_size;
    if (!m_is_whole) return;
    std::copy_n(text.begin(), text.size(), m_text + m_size);
    m_size += text.size();
  }
  bool is_whole() const { return m_is_whole; }
  std::string_view text() const { return {m_text, m_size}; }

 private:
  char m_text[TEXT_SIZE];
  std::size_t m_size;
  bool m_is_whole;
};

nvram_text g_nvram_text;  // once in a process: no room on a stack

struct nvram_files_st {
  const char* m_source_path;
  pub_file m_source;
  pub_file m_copy;
};

pub_file open_source(const char* path, bool& is_missing) {
  pub_file source = pub_util_fopen(path, "r");
  if (!source && errno != ENOENT) {
    is_missing = false;
    LOG_LINE("open(\"%s\") fail: %d - %s", path, errno, std::strerror(errno));
  }
  return source;
}

// The copy stands in a folder of the WiFi driver's user. It is opened before the source is known to exist, and is
// emptied when there is none, on purpose: a driver text without its source is no good.
bool open_files(nvram_files_st& files) {
  bool is_missing = true;
  files.m_source_path = NVRAM_SOURCE;
  files.m_source = open_source(NVRAM_SOURCE, is_missing);
  files.m_copy = pub_util_fopen_shared(NVRAM_COPY, O_RDWR | O_APPEND | O_CREAT);
  if (!files.m_source) {
    LOG_LINE("File \"%s\" not exist, so we try to open file \"%s\"", NVRAM_SOURCE, NVRAM_SECOND_SOURCE);
    files.m_source_path = NVRAM_SECOND_SOURCE;
    files.m_source = open_source(NVRAM_SECOND_SOURCE, is_missing);
  }
  if (!files.m_source) {
    log_missing(NVRAM_SECOND_SOURCE);
    if (!is_missing) {
      log_kept();
    } else if (files.m_copy) {
      std::ignore = amt_empty_file(k_log, fileno(files.m_copy.get()));
    }
  }
  if (!files.m_copy) log_missing(NVRAM_COPY);
  return files.m_source != nullptr && files.m_copy != nullptr;
}

// What follows the key in an address line; null for any other line. Blanks may precede the key; a comment sign or other
// text there makes it another line.
const char* find_old_address(const char* line) {
  line += std::strspn(line, " ");
  return std::string_view(line).starts_with(ADDRESS_KEY) ? line + ADDRESS_KEY.size() : nullptr;
}

void append_address(const char* address) {
  g_nvram_text.append(ADDRESS_KEY);
  g_nvram_text.append(address);
}

// Takes over the source line by line with the address in place. A piece of a line that is longer than the buffer counts
// as a line of its own. ERR_FAIL when the limit of copied lines is reached: the rest is dropped.
result_code_en take_lines(std::FILE* source, const char* address, bool& is_replaced) {
  char line[LINE_SIZE];
  int count = 0;
  while (std::fgets(line, sizeof line, source) != nullptr) {
    const char* old_address = *address == '\0' ? nullptr : find_old_address(line);
    if (old_address != nullptr) {
      address_text nvram_address;
      copy_address(nvram_address, old_address);
      LOG_LINE("wifi_addr_nvram: %s", nvram_address);
      append_address(address);
      is_replaced = true;
      continue;
    }
    g_nvram_text.append(line);
    if (++count == LINE_COUNT_LIMIT) return pub_fail({k_log, PATCH}, ERR_FAIL);
  }
  return ERR_NONE;
}

result_code_en write_copy(std::FILE* copy) {
  const std::string_view text = g_nvram_text.text();
  if (!amt_empty_file(k_log, fileno(copy))) return pub_fail({k_log, PATCH}, ERR_FAIL);
  std::fwrite(text.data(), 1, text.size(), copy);
  if (std::fflush(copy) == 0 && std::ferror(copy) == 0) return ERR_NONE;
  pub_log_sys_call(k_log, "fputs");
  return pub_fail({k_log, PATCH}, ERR_FAIL);
}

// Builds the text, then fills the copy. ERR_FAIL, too, when not all of it could be read, in which case the copy keeps
// its old text, or written.
result_code_en patch(const nvram_files_st& files, const char* address) {
  g_nvram_text.clear();
  bool is_replaced = false;
  const result_code_en taken = take_lines(files.m_source.get(), address, is_replaced);
  if (std::ferror(files.m_source.get()) != 0) {
    const result_code_en failure = fail_reading(files.m_source_path);
    log_kept();
    return failure;
  }
  if (!is_replaced && *address != '\0') {
    append_address(address);
    LOG_LINE("new wifi_addr_nvram: %s", address);
  }
  if (!g_nvram_text.is_whole()) {
    pub_log_failure({k_log, PATCH}, ERR_FAIL, "%s is too long", files.m_source_path);
    log_kept();
    return ERR_FAIL;
  }
  const result_code_en written = write_copy(files.m_copy.get());
  return taken == ERR_NONE ? written : taken;
}

// The WiFi driver's own user must be able to write the copy.
void open_copy_to_all() {
  const pub_fd copy(pub_util_open(NVRAM_COPY, pub_util_is_replaceable(NVRAM_COPY) ? O_RDONLY | O_NOFOLLOW : O_RDONLY));
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
  LOG_LINE("wifi_addr_len: %d", static_cast<int>(std::min(length, size - 1)));
  const std::size_t count = std::min(length == 0 ? 0 : length - 1, size - 1);
  std::copy_n(line, count, buffer);
  buffer[count] = '\0';
  return ERR_NONE;
}

result_code_en amt_write_wifi_address(const char* address) {
  pub_log_entry(k_log);
  if (address == nullptr || *address == '\0') return pub_fail(k_log, ERR_ARGUMENT);
  char line[AMT_CONTENT_SIZE];  // built before the record is emptied
  if (std::snprintf(line, sizeof line, "%s\n", address) >= static_cast<int>(sizeof line)) {
    return pub_fail(k_log, ERR_ARGUMENT);
  }
  pub_file file = amt_fopen_record(AMT_WIFI_ADDRESS_FILE, "w+");
  if (!file) return pub_fail(k_log, ERR_FAIL, "open %s fail", AMT_WIFI_ADDRESS_FILE);
  const bool is_written = amt_finish_record(std::move(file), line, [address](bool is_done) {
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
  const std::optional<result_code_en> known = read_factory_address(address);
  if (!known) {
    log_kept();
    return ERR_FAIL;
  }
  LOG_LINE("wifi_addr_amt: %s", address);
  nvram_files_st files{};
  if (!open_files(files)) return ERR_FAIL;
  const result_code_en patched = patch(files, address);
  files.m_copy.reset();
  amt_flush_records();
  open_copy_to_all();
  return patched == ERR_NONE ? *known : ERR_FAIL;
}
