// How long questions take in a store of a million units. The store is filled by the database itself, so that the
// filling does not take most of the time; what is measured is what the station asks.
#include "station/store/store.h"

#include <fmt/format.h>
#include <soci/soci.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "tests/bench/fail.h"

namespace {

constexpr std::int64_t START_MS = 1795132800000;  // the first unit's; one unit each 864 ms is 100,000 a day
constexpr int ROUNDS = 5;

void check(const std::string& failed) {
  if (!failed.empty()) bench_fail(failed);
}

// Every 20th run fails in one of three steps; every 10th run is a unit's second.
void fill(const std::string& path, int units) {
  soci::session sql("sqlite3", "dbname=\"" + path + "\" synchronous=off");
  sql << "BEGIN";
  sql << fmt::format(
      "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < {} - 1) INSERT INTO amt_units"
      " SELECT printf('%08x-0000-4000-a000-000000000000', i), printf('S%09d', i - (i % 10 = 9) * 5),"
      " printf('S%09d', i - (i % 10 = 9) * 5), 'board', '4', printf('line %d', i % 8), 'left',"
      " CASE WHEN i % 20 = 4 THEN 'FAIL' ELSE 'PASS' END, i % 20 <> 4, 1, '', {} + i * 864, 4000 FROM n",
      units, START_MS);
  sql << "WITH RECURSIVE p(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM p WHERE i < 3) INSERT INTO amt_steps"
         " SELECT u.run_id, p.i, '', printf('step %d', p.i), 0,"
         " CASE WHEN u.is_good = 0 AND u.started_ms / 864 % 3 + 1 = p.i THEN 'FAIL' ELSE 'PASS' END,"
         " u.is_good = 0 AND u.started_ms / 864 % 3 + 1 = p.i, '3.81', 3.81, 'V', 3.6, 4.2, '', 0, '', 12, 1"
         " FROM amt_units u, p";
  sql << "COMMIT";
}

template <typename Action>
void measure(const char* what, const Action& action) {
  double best = 1e9;
  double worst = 0;
  for (int round = 0; round < ROUNDS; ++round) {
    const auto start = std::chrono::steady_clock::now();
    action();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    best = std::min(best, time.count());
    worst = std::max(worst, time.count());
  }
  fmt::print("{:<52} {:>9.3f} s {:>9.3f} s\n", what, best, worst);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    std::puts("usage: amt-bench-store EMPTY-FOLDER");
    return 2;
  }
  const char* wanted = std::getenv("BENCH_UNITS");
  const int units = wanted == nullptr ? 1000000 : std::atoi(wanted);
  const std::string path = std::string(argv[1]) + "/results.db";
  store_st store;
  check(store.open(path, store_mode_en::WRITE));
  store.close();
  fill(path, units);
  check(store.open(path, store_mode_en::READ));
  fmt::print("\nStore of {} units with 3 steps each, SQLite, {} MB; best and worst of {}\n", units,
             std::filesystem::file_size(path) / 1000000, ROUNDS);
  std::vector<store_yield_st> plans;
  measure("yield of all units", [&] { check(store.yield({}, &plans)); });
  if (plans.size() != 1 || plans[0].m_runs != units || plans[0].m_failing.size() != 3) bench_fail("a wrong yield");
  store_filter_st day;
  day.m_since_ms = START_MS + (units - 100000) * std::int64_t{864};
  measure("yield of the last 100,000 units", [&] { check(store.yield(day, &plans)); });
  measure("list, the newest 100", [&] { check(store.visit({}, false, 100, [](const auto&) { return true; })); });
  store_filter_st serial;
  serial.m_serial = "S000000004";
  int found = 0;
  measure("every run of one serial number", [&] {
    found = 0;
    check(store.visit(serial, true, 0, [&](const auto&) { return ++found != 0; }));
  });
  if (found != 2) bench_fail("a wrong number of runs");
  return 0;
}
