// The file of a record. It is written aside, brought to the disk, and put in place by a rename that is brought to the
// disk too: at every moment the name leads to one whole version. A file that was there before is never replaced.
// As long as this object lives, the file is locked (flock): who gets the lock knows that the run has ended, in whatever
// way.
#pragma once

#include <string>

#include "station/record/record.h"

class record_file_st {
 public:
  record_file_st() = default;
  ~record_file_st();
  record_file_st(const record_file_st&) = delete;
  record_file_st& operator=(const record_file_st&) = delete;

  // Makes the folder when it is missing, and the record's file in it. Returns why it could not; empty: it did.
  std::string create(const std::string& folder, const record_st& record);
  // Puts the record's present state in the file's place. The earlier state stays when this fails.
  std::string replace(const record_st& record);

  const std::string& path() const { return m_path; }

 private:
  std::string write_aside(const std::string& text, int* fd) const;
  std::string put(const record_st& record, bool is_first);

  std::string m_folder;
  std::string m_name;
  std::string m_aside;
  std::string m_path;
  int m_folder_fd = -1;
  int m_file_fd = -1;  // of the last state, for its lock
};

// Where records lie unless the user names another folder: below the user's data folder. Empty: there is none.
std::string record_default_folder();
