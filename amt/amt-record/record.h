// Factory records: small text files that must outlive the process and a power cut. Every record is read and replaced
// through here.
#pragma once

#include <climits>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "pub/log.h"
#include "pub/util/io.h"

inline constexpr std::uint32_t AMT_CONTENT_SIZE = 100;  // room for a record's line

// The end of every record write, after the file was closed: waits 50 ms, runs the platform's sync, and both again.
void amt_flush_records();

// fopen(3) of a record. Requests 172 and 185 leave theirs with mode 555, and a phone's policy gives nobody the right to
// pass over modes: a record of the service's own is opened for writing all the same, and keeps its mode.
pub_file amt_fopen_record(const char* path, const char* mode);

// Opens a record; null, with the failure logged under the given code, when that does not work. site names the caller.
pub_file amt_open_record(const pub_log_site& site, const char* path, const char* mode,
                         result_code_en code = ERR_SYSTEM);

// Empties an open file. What is no regular file has nothing to empty. False, with the failure logged, when it stays.
bool amt_empty_file(const pub_log_module_st& module, int fd);

// Closes a record and empties it.
void amt_close_emptied(pub_file file);

// What a failed write leaves of a record.
enum class amt_failed_write {
  empties,  // the record is one value: a part of it would pass for one
  keeps,    // the record holds more than what was written
};

// Writes text into a record that was just opened, closes it and flushes the records, also after a failed write.
// `report` is called with the outcome before the file is closed, with the errno of a write that failed.
template <typename Report>
bool amt_finish_record(pub_file file, const char* text, Report report,
                       amt_failed_write failed = amt_failed_write::empties) {
  // The text reaches the file with the flush: a full file system shows there.
  const bool is_written = std::fputs(text, file.get()) >= 0 && std::fflush(file.get()) == 0;
  report(is_written);
  if (!is_written && failed == amt_failed_write::empties) amt_close_emptied(std::move(file));
  file.reset();
  amt_flush_records();
  return is_written;
}

// A file that takes the place of another one whole or not at all. It is made beside the old one, under its name and
// ".new"; until it is in place, the old one is as it was. What is not put in place is removed. A link keeps its place:
// the file that it leads to is replaced. Mode and owner of the old file stay where that is permitted.
class amt_aside_file {
 public:
  amt_aside_file() = default;
  amt_aside_file(const amt_aside_file&) = delete;
  amt_aside_file& operator=(const amt_aside_file&) = delete;
  ~amt_aside_file();

  // False, with errno, when there can be none beside path. What a killed process left aside goes first.
  bool open(const char* path);
  std::FILE* file() const { return m_file.get(); }
  // Whether all that was written has reached the device; else with errno.
  bool flush();
  bool put_in_place();

 private:
  char m_path[PATH_MAX] = "";
  char m_aside[PATH_MAX] = "";
  pub_file m_file;
};

// Replaces a file, whole or not at all, by what `fill` writes into the one aside, and flushes the records. Gives null,
// or the step that failed, with its errno. `fill` gives whether it could write.
template <typename Fill>
const char* amt_replace_record(const char* path, Fill fill) {
  {
    amt_aside_file aside;
    if (!aside.open(path)) return "open file";
    if (!fill(aside.file()) || !aside.flush()) return "write file";
    if (!aside.put_in_place()) return "rename file";
  }
  amt_flush_records();
  return nullptr;
}

// Replaces a record by text, without a line end; logs "<label>: <text>". 0, or ERR_SYSTEM when the file cannot be
// opened or written.
result_code_en amt_write_record(const pub_log_site& site, const char* label, const char* path, const char* text);

// The first line of a record, its line end included, at most 98 characters; logs "<label>: <line>" unless label is
// null. 0, or ERR_SYSTEM; the buffer is then empty.
result_code_en amt_read_record(const pub_log_site& site, const char* label, const char* path,
                               char (&content)[AMT_CONTENT_SIZE]);
