#include "station/store/store.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "station/record/record.h"
#include "station/store/session.h"

// The library's header for a database would need that database's own headers, for this one line.
extern "C" const soci::backend_factory* factory_sqlite3();
extern "C" const soci::backend_factory* factory_postgresql();

namespace {

constexpr int STORE_VERSION = 1;

// The tables, from the ground up; the first one is the last to be made, and says that all are there. A unit's key is
// its serial number, or its run id when it has none.
constexpr const char* TABLES[] = {
    "CREATE TABLE amt_units (run_id TEXT PRIMARY KEY, unit TEXT NOT NULL, serial TEXT NOT NULL, plan TEXT NOT NULL,"
    " revision TEXT NOT NULL, station TEXT NOT NULL, phone TEXT NOT NULL, verdict TEXT NOT NULL,"
    " is_good INTEGER NOT NULL, is_complete INTEGER NOT NULL, message TEXT NOT NULL, started_ms BIGINT NOT NULL,"
    " duration_ms DOUBLE PRECISION NOT NULL)",
    // Yields are counted in these two alone, without a look at the table.
    "CREATE INDEX amt_units_by_unit ON amt_units (plan, unit, started_ms, is_good)",
    "CREATE INDEX amt_units_by_verdict ON amt_units (plan, verdict, started_ms)",
    "CREATE INDEX amt_units_by_time ON amt_units (started_ms, run_id)",
    "CREATE INDEX amt_units_by_serial ON amt_units (serial)",
    "CREATE TABLE amt_steps (run_id TEXT NOT NULL, position INTEGER NOT NULL, step_group TEXT NOT NULL,"
    " name TEXT NOT NULL, is_teardown INTEGER NOT NULL, verdict TEXT NOT NULL, is_failure INTEGER NOT NULL,"
    " value TEXT NOT NULL, number DOUBLE PRECISION, unit TEXT NOT NULL, low DOUBLE PRECISION, high DOUBLE PRECISION,"
    " expected TEXT NOT NULL, is_marginal INTEGER NOT NULL, message TEXT NOT NULL,"
    " duration_ms DOUBLE PRECISION NOT NULL, attempts INTEGER NOT NULL, PRIMARY KEY (run_id, position))",
    "CREATE INDEX amt_steps_failed ON amt_steps (run_id, name) WHERE is_failure = 1",
    "CREATE TABLE amt_records (run_id TEXT PRIMARY KEY, document TEXT NOT NULL)",
    "CREATE TABLE amt_store (id TEXT NOT NULL, version INTEGER NOT NULL)",
};

bool has_tables(store_session_st* session) {
  int count = 0;
  session->m_sql
      << (session->m_address.m_is_server
              ? "SELECT COUNT(*) FROM pg_tables WHERE schemaname = current_schema() AND tablename = 'amt_store'"
              : "SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' AND name = 'amt_store'"),
      soci::into(count);
  return count != 0;
}

// A store that is noted as having a record has it after a power loss, too. That readers and a writer do not wait for
// each other needs a moment without anybody else in the store; the mode stays, so the next one to open it tries again.
void set_modes(soci::session* sql) {
  *sql << "PRAGMA synchronous = FULL";
  try {
    *sql << "PRAGMA journal_mode = WAL";
  } catch (const soci::soci_error&) {
    return;
  }
}

// What a statement that writes is given on a server. Within the transaction only: behind a pool the connection is
// somebody else's next.
void set_patience(store_session_st* session) {
  if (!session->m_address.m_is_server) return;
  session->m_sql << "SET LOCAL lock_timeout = 5000";
  session->m_sql << "SET LOCAL statement_timeout = 15000";
}

// Several stations may find the new store at the same time: the one that has the lock makes it.
void make_tables(store_session_st* session) {
  soci::session& sql = session->m_sql;
  const bool is_server = session->m_address.m_is_server;
  sql << (is_server ? "BEGIN" : "BEGIN IMMEDIATE");
  try {
    set_patience(session);
    if (is_server) sql << "SELECT pg_advisory_xact_lock(7221051)";
    if (!has_tables(session)) {
      for (const char* table : TABLES) sql << table;
      const std::string id = record_new_id();
      sql << "INSERT INTO amt_store (id, version) VALUES (:id, :version)", soci::use(id), soci::use(STORE_VERSION);
    }
    sql << "COMMIT";
  } catch (...) {
    sql << "ROLLBACK";
    throw;
  }
}

// A value that may be missing, as the library takes it.
struct nullable_st {
  explicit nullable_st(const std::optional<double>& value)
      : m_value(value.value_or(0)), m_indicator(value ? soci::i_ok : soci::i_null) {}
  double m_value;
  soci::indicator m_indicator;
};

bool add_unit(soci::session* sql, const result_st& result) {
  const std::string unit = result.m_serial.empty() ? result.m_run_id : result.m_serial;
  const std::string verdict = verdict_name(result.m_verdict);
  const int is_good = result_is_good(result.m_verdict) ? 1 : 0;
  const int is_complete = result.m_is_complete ? 1 : 0;
  const auto started = static_cast<long long>(result.m_started_ms);
  soci::statement insert =
      (sql->prepare << "INSERT INTO amt_units (run_id, unit, serial, plan, revision, station, phone, verdict, is_good,"
                       " is_complete, message, started_ms, duration_ms) VALUES (:run_id, :unit, :serial, :plan,"
                       " :revision, :station, :phone, :verdict, :is_good, :is_complete, :message, :started, :duration)"
                       " ON CONFLICT (run_id) DO NOTHING",
       soci::use(result.m_run_id), soci::use(unit), soci::use(result.m_serial), soci::use(result.m_plan),
       soci::use(result.m_revision), soci::use(result.m_station), soci::use(result.m_phone), soci::use(verdict),
       soci::use(is_good), soci::use(is_complete), soci::use(result.m_message), soci::use(started),
       soci::use(result.m_duration_ms));
  insert.execute(true);
  return insert.get_affected_rows() != 0;
}

void add_step(soci::session* sql, const std::string& run_id, const result_step_st& step, int position) {
  const std::string verdict = verdict_name(step.m_verdict);
  const int is_teardown = step.m_is_teardown ? 1 : 0;
  const int is_failure = result_is_failure(step.m_verdict) ? 1 : 0;
  const int is_marginal = step.m_is_marginal ? 1 : 0;
  nullable_st number(step.m_number);
  nullable_st low(step.m_low);
  nullable_st high(step.m_high);
  *sql << "INSERT INTO amt_steps (run_id, position, step_group, name, is_teardown, verdict, is_failure, value, number,"
          " unit, low, high, expected, is_marginal, message, duration_ms, attempts) VALUES (:run_id, :position, :group,"
          " :name, :is_teardown, :verdict, :is_failure, :value, :number, :unit, :low, :high, :expected, :is_marginal,"
          " :message, :duration, :attempts)",
      soci::use(run_id), soci::use(position), soci::use(step.m_group), soci::use(step.m_name), soci::use(is_teardown),
      soci::use(verdict), soci::use(is_failure), soci::use(step.m_value), soci::use(number.m_value, number.m_indicator),
      soci::use(step.m_unit), soci::use(low.m_value, low.m_indicator), soci::use(high.m_value, high.m_indicator),
      soci::use(step.m_expected), soci::use(is_marginal), soci::use(step.m_message), soci::use(step.m_duration_ms),
      soci::use(step.m_attempts);
}

// The library says no more than that writing failed, or that it cannot make one of its files.
bool is_disk_full(const store_address_st& address) {
  constexpr std::uintmax_t LEAST_ROOM = 262'144;
  std::error_code failed;
  const auto folder = std::filesystem::absolute(address.m_file, failed).parent_path();
  const auto space = std::filesystem::space(folder, failed);
  return !failed && space.available < LEAST_ROOM;
}

}  // namespace

std::string store_failure(const store_address_st& address, const std::exception& error) {
  std::string text = error.what();
  text.erase(std::find(text.begin(), text.end(), '\n'), text.end());
  const bool is_full = !address.m_is_server && is_disk_full(address);
  return fmt::format("{}: {}{}", address.m_shown, text, is_full ? " (the disk is full)" : "");
}

store_st::store_st() = default;
store_st::~store_st() = default;

std::string store_st::open(const std::string& address, store_mode_en mode) {
  close();
  auto session = std::make_unique<store_session_st>();
  std::string wrong = store_parse_address(address, &session->m_address);
  if (!wrong.empty()) return wrong;
  const store_address_st& where = session->m_address;
  std::error_code ignored;
  if (mode == store_mode_en::READ && !where.m_is_server && !std::filesystem::exists(where.m_file, ignored)) {
    return fmt::format("{}: there is no store", where.m_shown);
  }
  int version = 0;
  std::string failed = store_try(where, [&] {
    if (!where.m_is_server) std::filesystem::create_directories(std::filesystem::absolute(where.m_file).parent_path());
    session->m_sql.open(where.m_is_server ? *factory_postgresql() : *factory_sqlite3(), where.m_connection);
    if (!where.m_is_server && mode == store_mode_en::WRITE) set_modes(&session->m_sql);
    if (!has_tables(session.get())) {
      if (mode == store_mode_en::READ) throw soci::soci_error("there are no results in this database");
      make_tables(session.get());
    }
    session->m_sql << "SELECT id, version FROM amt_store", soci::into(session->m_id), soci::into(version);
  });
  if (!failed.empty()) return failed;
  if (version != STORE_VERSION) return fmt::format("{}: made by another version of this program", where.m_shown);
  m_session = std::move(session);
  return {};
}

void store_st::close() {
  m_session.reset();
}

const std::string& store_st::id() const {
  return m_session->m_id;
}

std::string store_st::add(const result_st& result, std::string_view document, bool* is_new) {
  return store_try(m_session->m_address, [&] {
    soci::session& sql = m_session->m_sql;
    soci::transaction transaction(sql);
    set_patience(m_session.get());
    *is_new = add_unit(&sql, result);
    if (*is_new) {
      int position = 0;
      for (const auto& step : result.m_steps) add_step(&sql, result.m_run_id, step, ++position);
      const std::string text(document);
      sql << "INSERT INTO amt_records (run_id, document) VALUES (:run_id, :document)", soci::use(result.m_run_id),
          soci::use(text);
    }
    transaction.commit();
  });
}
