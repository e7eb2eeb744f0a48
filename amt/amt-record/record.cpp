#include "amt/amt-record/record.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <utility>

#include "amt/amt-record/log-module.h"
#include "pub/result.h"

namespace {

constexpr char SYNC_COMMAND[] = "/system/bin/sync";
constexpr std::uint32_t PAUSE_MS = 50;
constexpr int LINE_LIMIT = 98;

result_code_en fail_transfer(const pub_log_site& site, const char* what) {
  return pub_fail(site, ERR_SYSTEM, "%s fail: %d - %s", what, errno, std::strerror(errno));
}

}  // namespace

void amt_flush_records() {
  for (int round = 0; round < 2; ++round) {
    pub_util_sleep_ms(PAUSE_MS);
    if (pub_util_run_command(SYNC_COMMAND) != 0) LOG_LINE("%s failed", SYNC_COMMAND);
  }
}

pub_file amt_open_record(const pub_log_site& site, const char* path, const char* mode, result_code_en code) {
  pub_file file = pub_util_fopen(path, mode);
  if (file) return file;
  pub_log_failure(site, code, "open(\"%s\") fail: %d - %s", path, errno, std::strerror(errno));
  return nullptr;
}

result_code_en amt_write_record(const pub_log_site& site, const char* label, const char* path, const char* text) {
  pub_file file = amt_open_record(site, path, "w+");
  if (!file) return ERR_SYSTEM;
  const bool is_written = amt_finish_record(std::move(file), text, [&](bool is_done) {
    if (is_done) {
      LOG_LINE("%s: %s", label, text);
    } else {
      std::ignore = fail_transfer(site, "fputs");
    }
  });
  return is_written ? ERR_NONE : ERR_SYSTEM;
}

result_code_en amt_read_record(const pub_log_site& site, const char* label, const char* path,
                               char (&content)[AMT_CONTENT_SIZE]) {
  std::memset(content, 0, sizeof content);
  const pub_file file = amt_open_record(site, path, "r");
  if (!file) return ERR_SYSTEM;
  if (std::fgets(content, LINE_LIMIT + 1, file.get()) == nullptr) return fail_transfer(site, "read");
  if (label != nullptr) LOG_LINE("%s: %s", label, content);
  return ERR_NONE;
}
