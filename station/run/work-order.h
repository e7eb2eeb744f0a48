// A work order: a CSV file (RFC 4180) with a head line; one row for each unit, found by the serial number in the column
// "serial".
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

class run_work_order_st {
 public:
  // Returns what is wrong with the file, with its line; empty: it was read.
  std::string read(const std::string& path);

  bool is_there() const { return !m_columns.empty(); }
  bool has_column(const std::string& column) const;
  bool has_unit(const std::string& serial) const { return m_rows.contains(serial); }
  // None: no such unit or column, or the cell is empty.
  std::optional<std::string> find(const std::string& serial, const std::string& column) const;

 private:
  std::vector<std::string> m_columns;
  std::map<std::string, std::vector<std::string>> m_rows;
};
