#include "amt/amt-record/bt-address.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>
#include <tuple>
#include <utility>

#include "amt/amt-record/log-module.h"
#include "amt/amt-record/record.h"

namespace {

// The first word of an address file, cut to its room. open_code: the code of a file that cannot be opened.
result_code_en read_address(const pub_log_site& site, const char* path, result_code_en open_code,
                            std::span<char> address) {
  std::fill(address.begin(), address.end(), '\0');
  const pub_file file = amt_open_record(site, path, "r", open_code);
  if (!file) return open_code;
  char format[16];
  std::snprintf(format, sizeof format, "%%%zus", address.size() - 1);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int count = std::fscanf(file.get(), format, address.data());
#pragma GCC diagnostic pop
  if (count != 1) return pub_fail(site, ERR_FAIL, "read not completed");
  LOG_LINE("read BT address: %s", address.data());
  return ERR_NONE;
}

// An address and its line end.
class address_line {
 public:
  explicit address_line(const char* address) { std::snprintf(m_text, sizeof m_text, "%s\n", address); }
  const char* text() const { return m_text; }

 private:
  char m_text[AMT_BT_ADDRESS_SIZE + 1];
};

}  // namespace

const char* get_bt_addr_file() {
  pub_log_entry(k_log);
  const char* path = AMT_BT_ADDRESS_FILE;
  if (access(path, F_OK) == 0) return path;
  if (errno == ENOENT) {
    path = AMT_BT_ADDRESS_SECOND_FILE;
    if (access(path, F_OK) == 0) return path;
  }
  pub_log_failure(k_log, ERR_SYSTEM, "can not access file \"%s\" or \"%s\"", AMT_BT_ADDRESS_FILE,
                  AMT_BT_ADDRESS_SECOND_FILE);
  if (errno != ENOENT) LOG_LINE("access(\"%s\") fail: %d - %s", path, errno, std::strerror(errno));
  return nullptr;
}

bool bt_addr_read(char (&address)[AMT_BT_AT_ADDRESS_SIZE]) {
  pub_log_entry(k_log);
  std::fill(std::begin(address), std::end(address), '\0');
  const char* path = get_bt_addr_file();
  return path != nullptr && read_address(k_log, path, ERR_SYSTEM, address) == ERR_NONE;
}

bool bt_addr_write(const char (&address)[AMT_BT_AT_ADDRESS_SIZE]) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {false, *address == '\0'})) return false;
  const char* path = get_bt_addr_file();
  if (path == nullptr) return false;
  const address_line line(address);  // whole before the record is emptied
  pub_file file = amt_open_record(k_log, path, "w+");
  if (!file) return false;
  return amt_finish_record(std::move(file), line.text(), [&address](bool is_written) {
    if (is_written) {
      LOG_LINE("write BT address: %s", address);
    } else {
      std::ignore = pub_fail_sys_call({k_log, "bt_addr_write"}, ERR_WRITE, "fputs");
    }
  });
}

result_code_en amt_read_bt_address(const pub_log_site& site, char (&address)[AMT_BT_ADDRESS_SIZE]) {
  return read_address(site, AMT_BT_ADDRESS_FILE, ERR_ARGUMENT, address);
}

pub_file amt_open_bt_address(const pub_log_site& site) {
  return amt_open_record(site, AMT_BT_ADDRESS_FILE, "w+");
}

result_code_en amt_finish_bt_address(const pub_log_site& site, pub_file file,
                                     const char (&address)[AMT_BT_ADDRESS_SIZE]) {
  const address_line line(address);
  const bool is_written = amt_finish_record(std::move(file), line.text(), [&](bool is_done) {
    if (!is_done) {
      pub_log_failure(site, ERR_SYSTEM, "fputs() fail");
      return;
    }
    LOG_LINE("write BT address: %s", address);
    pub_util_run_command("chmod -R 555 /amt/BT");
    LOG_LINE("path = %s change to chmod -R 555", AMT_BT_ADDRESS_FOLDER);
  });
  return is_written ? ERR_NONE : ERR_SYSTEM;
}
