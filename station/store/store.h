// The database of results: SQLite in a file, or PostgreSQL. Each run is in it once, by its run id. Every call returns
// why it failed; empty: it did not.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "station/store/filter.h"
#include "station/store/result.h"

enum class store_mode_en { READ, WRITE };  // to write makes the store where there is none

struct store_failing_step_st {
  std::string m_step;
  std::int64_t m_runs = 0;  // in which it failed

  bool operator==(const store_failing_step_st&) const = default;
};

// What became of the units of one plan. A unit is a serial number; a run without one is a unit of its own.
struct store_yield_st {
  std::string m_plan;
  std::int64_t m_units = 0;
  std::int64_t m_good_at_first = 0;  // units whose first run was good
  std::int64_t m_good_at_last = 0;
  std::int64_t m_runs = 0;
  std::array<std::int64_t, VERDICT_COUNT> m_verdicts{};  // of runs
  std::vector<store_failing_step_st> m_failing;          // the most frequent first

  bool operator==(const store_yield_st&) const = default;
};

class store_st {
 public:
  store_st();
  ~store_st();
  store_st(const store_st&) = delete;
  store_st& operator=(const store_st&) = delete;

  std::string open(const std::string& address, store_mode_en mode);
  void close();
  bool is_open() const { return m_session != nullptr; }
  // Made with the store and never changed: tells one store from another at the same address.
  const std::string& id() const;

  // The record is in the store for good when this returns; *is_new: it was not there before.
  std::string add(const result_st& result, std::string_view document, bool* is_new);

  // The units in the order of their start. The visitor ends it by returning false. from_last: only so many of the
  // newest; 0: all. Without steps the results have none.
  std::string visit(const store_filter_st& filter, bool with_steps, std::size_t from_last,
                    const std::function<bool(const result_st&)>& visitor);
  // The run ids that begin so, at most three.
  std::string find(std::string_view beginning, std::vector<std::string>* run_ids);
  // The record's text; empty: there is none of that id.
  std::string document(const std::string& run_id, std::string* text);
  // By plan, in the order of their names.
  std::string yield(const store_filter_st& filter, std::vector<store_yield_st>* plans);

 private:
  std::unique_ptr<struct store_session_st> m_session;
};
