// The records in a folder that a store does not have yet. What was sent is noted in a file of the folder, for each
// store by its id; a note that was lost costs a second sending, which the store knows by the run id.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "station/store/result.h"

class store_waiting_st {
 public:
  // Reads the notes for the store of this id. Returns why it could not; a folder that is not there has no records.
  std::string open(const std::string& folder, const std::string& store_id);

  // The names of records that are not noted, the oldest first.
  std::vector<std::string> list(std::string* wrong) const;

  // Notes that the store has the record. Returns why that could not be written.
  std::string note(const std::string& name);

 private:
  std::string m_folder;
  std::string m_notes;
  std::set<std::string> m_sent;
  bool m_is_torn = false;  // the notes do not end with a line's end
};

enum class store_record_en { WHOLE, RUNNING, WRONG };

// Reads a record's file. RUNNING: its run goes on, in this program or another. WRONG: *wrong tells why.
store_record_en store_read_file(const std::string& path, std::string* text, result_st* result, std::string* wrong);
