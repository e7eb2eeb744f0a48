#include "station/run/work-order.h"

#include <csv.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

constexpr const char* KEY = "serial";
constexpr std::uintmax_t LONGEST_FILE = 256U << 20U;

struct rows_st {
  std::vector<std::vector<std::string>> m_rows;
  std::vector<std::string> m_row;
};

void on_cell(void* cell, size_t size, void* rows) {
  static_cast<rows_st*>(rows)->m_row.emplace_back(static_cast<const char*>(cell), size);
}

void on_row(int, void* rows) {
  auto* all = static_cast<rows_st*>(rows);
  all->m_rows.push_back(std::move(all->m_row));
  all->m_row.clear();
}

// Returns what is wrong with the text; empty: nothing.
std::string parse(const std::string& text, rows_st* rows) {
  csv_parser parser{};
  if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0) return "there is no memory for it";
  const std::unique_ptr<csv_parser, decltype(&csv_free)> owner(&parser, csv_free);
  const bool is_read = csv_parse(&parser, text.data(), text.size(), on_cell, on_row, rows) == text.size() &&
                       csv_fini(&parser, on_cell, on_row, rows) == 0;
  if (is_read) return {};
  return fmt::format("row {}: {}", rows->m_rows.size() + 1, csv_strerror(csv_error(&parser)));
}

}  // namespace

std::string run_work_order_st::read(const std::string& path) {
  const auto fail = [&path](const std::string& why) { return fmt::format("{}: {}", path, why); };
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error) return fail(error.message());
  if (size > LONGEST_FILE) return fail("is too long for a work order");
  std::ifstream file(path, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad()) return fail(strerror(errno));
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);  // as spreadsheets write it
  rows_st rows;
  const std::string wrong = parse(text, &rows);
  if (!wrong.empty()) return fail(wrong);
  if (rows.m_rows.empty()) return fail("has no head line");
  m_columns = rows.m_rows.front();
  const auto key = std::ranges::find(m_columns, KEY) - m_columns.begin();
  if (!has_column(KEY)) return fail(fmt::format("has no column '{}'", KEY));
  for (std::size_t n = 1; n < rows.m_rows.size(); ++n) {
    auto& row = rows.m_rows[n];
    if (row.size() != m_columns.size()) {
      return fail(fmt::format("row {} has {} cells, the head line has {}", n + 1, row.size(), m_columns.size()));
    }
    const std::string serial = row[static_cast<std::size_t>(key)];
    if (!m_rows.emplace(serial, std::move(row)).second) {
      return fail(fmt::format("row {}: the serial number '{}' is there twice", n + 1, serial));
    }
  }
  return {};
}

bool run_work_order_st::has_column(const std::string& column) const {
  return std::ranges::find(m_columns, column) != m_columns.end();
}

std::optional<std::string> run_work_order_st::find(const std::string& serial, const std::string& column) const {
  const auto row = m_rows.find(serial);
  const auto place = std::ranges::find(m_columns, column);
  if (row == m_rows.end() || place == m_columns.end()) return std::nullopt;
  const std::string& cell = row->second[static_cast<std::size_t>(place - m_columns.begin())];
  return cell.empty() ? std::nullopt : std::optional(cell);
}
