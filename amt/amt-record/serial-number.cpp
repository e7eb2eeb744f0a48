#include "amt/amt-record/serial-number.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "amt/amt-record/log-module.h"
#include "amt/amt-record/record.h"

result_code_en amt_write_pcba_sn(const char* text, const char* path) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {text == nullptr, text != nullptr && *text == '\0'})) return ERR_ARGUMENT;
  return amt_write_record(k_log, "write pcba-sn", path, text);
}

result_code_en amt_read_pcba_sn(char (&buffer)[AMT_PCBA_SN_SIZE]) {
  pub_log_entry(k_log);
  std::memset(buffer, 0, sizeof buffer);
  char line[AMT_CONTENT_SIZE];
  const result_code_en result = amt_read_record(k_log, nullptr, AMT_PCBA_SN_FILE, line);
  if (result != ERR_NONE) return result;
  std::memcpy(buffer, line, sizeof buffer - 1);
  LOG_LINE("read pcba-sn: %s", buffer);
  return ERR_NONE;
}

result_code_en amt_write_adb_serial(const pub_log_site& site, const char* serial) {
  pub_file file = pub_util_fopen(AMT_ADB_SERIAL_FILE, "w+");
  if (!file) return pub_fail(site, ERR_FAIL, "fopen error");
  LOG_LINE("open file \"%s\" ok", AMT_ADB_SERIAL_FILE);
  const bool is_written = amt_finish_record(std::move(file), serial, [&](bool is_done) {
    if (is_done) {
      LOG_LINE("write adb serial no.[%s] ok", serial);
    } else {
      pub_log_failure(site, ERR_FAIL, "fprintf error");
    }
  });
  return is_written ? ERR_NONE : ERR_FAIL;
}

result_code_en amt_read_adb_serial(const pub_log_site& site, char (&serial)[AMT_ADB_SERIAL_SIZE]) {
  std::memset(serial, 0, sizeof serial);
  const pub_file file = pub_util_fopen(AMT_ADB_SERIAL_FILE, "r");
  if (!file) return pub_fail(site, ERR_FAIL, "fopen error");
  static_assert(AMT_ADB_SERIAL_SIZE == 100);
  if (std::fscanf(file.get(), "%99s", serial) != 1) return pub_fail(site, ERR_FAIL, "fscanf error");
  LOG_LINE("read adb serial no. ok, it is : %s", serial);
  return ERR_NONE;
}
