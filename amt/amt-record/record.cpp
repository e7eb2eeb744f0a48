#include "amt/amt-record/record.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "amt/amt-handle/context/log-module.h"
#include "pub/result.h"

namespace {

constexpr char SYNC_COMMAND[] = "/system/bin/sync";
constexpr std::uint32_t PAUSE_MS = 50;
constexpr int LINE_LIMIT = 98;

std::int32_t fail_transfer(const char* function, const char* what) {
  const int error = errno;
  LOG_FAILURE_OF(function, ERR_SYSTEM);
  LOG_LINE("%s fail: %d - %s", what, error, std::strerror(error));
  return ERR_SYSTEM;
}

}  // namespace

void amt_flush_records() {
  for (int round = 0; round < 2; ++round) {
    pub_util_sleep_ms(PAUSE_MS);
    if (pub_util_run_command(SYNC_COMMAND) != 0) LOG_LINE("%s failed", SYNC_COMMAND);
  }
}

pub_file amt_open_record(const char* function, const char* path, const char* mode) {
  pub_file file = pub_util_fopen(path, mode);
  if (file) return file;
  const int error = errno;
  LOG_FAILURE_OF(function, ERR_SYSTEM);
  LOG_LINE("open(\"%s\") fail: %d - %s", path, error, std::strerror(error));
  return nullptr;
}

std::int32_t amt_write_record(const char* function, const char* label, const char* path, const char* text) {
  pub_file file = amt_open_record(function, path, "w+");
  if (!file) return ERR_SYSTEM;
  const bool is_written = amt_finish_record(std::move(file), text, [=](bool is_done) {
    if (is_done) {
      LOG_LINE("%s: %s", label, text);
    } else {
      fail_transfer(function, "fputs");
    }
  });
  return is_written ? ERR_NONE : ERR_SYSTEM;
}

std::int32_t amt_read_record(const char* function, const char* label, const char* path,
                             char (&content)[AMT_CONTENT_SIZE]) {
  std::memset(content, 0, sizeof content);
  const pub_file file = amt_open_record(function, path, "r");
  if (!file) return ERR_SYSTEM;
  if (std::fgets(content, LINE_LIMIT + 1, file.get()) == nullptr) return fail_transfer(function, "read");
  if (label != nullptr) LOG_LINE("%s: %s", label, content);
  return ERR_NONE;
}
