// What is asked of a store.
#include <fmt/format.h>

#include <algorithm>

#include "station/store/session.h"
#include "station/store/store.h"

namespace {

constexpr int PAGE_SIZE = 500;  // units at a time: a server's whole answer would be held in memory

// A filter as a condition, with the values it binds. The values outlive the statement that uses them.
class condition_st {
 public:
  explicit condition_st(const store_filter_st& filter)
      : m_filter(filter), m_since(filter.m_since_ms), m_until(filter.m_until_ms) {}

  // The table's short name stands before each column.
  std::string text(const std::string& table) const {
    // A time that bounds nothing would still make the database go by the index of times.
    std::string text = "1 = 1";
    if (has_since()) text += fmt::format(" AND {}.started_ms >= :since", table);
    if (has_until()) text += fmt::format(" AND {}.started_ms < :until", table);
    if (!m_filter.m_serial.empty()) text += fmt::format(" AND {}.serial = :serial", table);
    if (!m_filter.m_plan.empty()) text += fmt::format(" AND {}.plan = :plan", table);
    std::string names;
    for (const auto verdict : m_filter.m_verdicts) {
      names += fmt::format("{}'{}'", names.empty() ? "" : ", ", verdict_name(verdict));
    }
    if (!names.empty()) text += fmt::format(" AND {}.verdict IN ({})", table, names);
    return text;
  }

  void bind(soci::statement* statement) const {
    if (has_since()) statement->exchange(soci::use(m_since, "since"));
    if (has_until()) statement->exchange(soci::use(m_until, "until"));
    if (!m_filter.m_serial.empty()) statement->exchange(soci::use(m_filter.m_serial, "serial"));
    if (!m_filter.m_plan.empty()) statement->exchange(soci::use(m_filter.m_plan, "plan"));
  }

 private:
  bool has_since() const { return m_filter.m_since_ms != store_filter_st().m_since_ms; }
  bool has_until() const { return m_filter.m_until_ms != store_filter_st().m_until_ms; }

  const store_filter_st& m_filter;
  long long m_since;
  long long m_until;
};

void start(soci::statement* statement, const std::string& text) {
  statement->alloc();
  statement->prepare(text);
  statement->define_and_bind();
}

verdict_en verdict_of(const std::string& name) {
  const auto verdict = verdict_from_name(name);
  if (!verdict) throw soci::soci_error("a verdict in the store is none: " + name);
  return *verdict;
}

// The steps of one run after another.
class steps_st {
 public:
  explicit steps_st(soci::session* sql) : m_statement(*sql) {
    using soci::into;
    m_statement.exchange(into(m_step.m_group));
    m_statement.exchange(into(m_step.m_name));
    m_statement.exchange(into(m_is_teardown));
    m_statement.exchange(into(m_verdict));
    m_statement.exchange(into(m_step.m_value));
    m_statement.exchange(into(m_number, m_has_number));
    m_statement.exchange(into(m_step.m_unit));
    m_statement.exchange(into(m_low, m_has_low));
    m_statement.exchange(into(m_high, m_has_high));
    m_statement.exchange(into(m_step.m_expected));
    m_statement.exchange(into(m_is_marginal));
    m_statement.exchange(into(m_step.m_message));
    m_statement.exchange(into(m_step.m_duration_ms));
    m_statement.exchange(into(m_step.m_attempts));
    m_statement.exchange(soci::use(m_run_id, "run_id"));
    start(&m_statement,
          "SELECT step_group, name, is_teardown, verdict, value, number, unit, low, high, expected, is_marginal,"
          " message, duration_ms, attempts FROM amt_steps WHERE run_id = :run_id ORDER BY position");
  }

  std::vector<result_step_st> read(const std::string& run_id) {
    std::vector<result_step_st> steps;
    m_run_id = run_id;
    m_statement.execute();
    while (m_statement.fetch()) {
      m_step.m_is_teardown = m_is_teardown != 0;
      m_step.m_verdict = verdict_of(m_verdict);
      m_step.m_number = optional(m_number, m_has_number);
      m_step.m_low = optional(m_low, m_has_low);
      m_step.m_high = optional(m_high, m_has_high);
      m_step.m_is_marginal = m_is_marginal != 0;
      steps.push_back(m_step);
    }
    return steps;
  }

 private:
  static std::optional<double> optional(double value, soci::indicator indicator) {
    return indicator == soci::i_ok ? std::optional(value) : std::nullopt;
  }

  soci::statement m_statement;
  std::string m_run_id;
  result_step_st m_step;
  std::string m_verdict;
  int m_is_teardown = 0;
  int m_is_marginal = 0;
  double m_number = 0;
  double m_low = 0;
  double m_high = 0;
  soci::indicator m_has_number = soci::i_null;
  soci::indicator m_has_low = soci::i_null;
  soci::indicator m_has_high = soci::i_null;
};

// The place in the order of units after which a page begins.
struct place_st {
  long long m_started_ms = std::numeric_limits<long long>::min();
  std::string m_run_id;
};

std::vector<result_st> read_page(soci::session* sql, const condition_st& condition, const place_st& after) {
  std::vector<result_st> page;
  result_st unit;
  std::string verdict;
  int is_complete = 0;
  long long started = 0;
  soci::statement statement(*sql);
  for (auto* text : {&unit.m_run_id, &unit.m_serial, &unit.m_plan, &unit.m_revision, &unit.m_station, &unit.m_phone,
                     &verdict, &unit.m_message}) {
    statement.exchange(soci::into(*text));
  }
  statement.exchange(soci::into(is_complete));
  statement.exchange(soci::into(started));
  statement.exchange(soci::into(unit.m_duration_ms));
  condition.bind(&statement);
  statement.exchange(soci::use(after.m_started_ms, "after_ms"));
  statement.exchange(soci::use(after.m_run_id, "after_id"));
  start(&statement,
        fmt::format("SELECT u.run_id, u.serial, u.plan, u.revision, u.station, u.phone, u.verdict, u.message,"
                    " u.is_complete, u.started_ms, u.duration_ms FROM amt_units u WHERE {}"
                    " AND (u.started_ms, u.run_id) > (:after_ms, :after_id)"
                    " ORDER BY u.started_ms, u.run_id LIMIT {}",
                    condition.text("u"), PAGE_SIZE));
  statement.execute();
  while (statement.fetch()) {
    unit.m_verdict = verdict_of(verdict);
    unit.m_is_complete = is_complete != 0;
    unit.m_started_ms = started;
    page.push_back(unit);
  }
  return page;
}

// The place before the newest `count` units.
place_st place_before_last(soci::session* sql, const condition_st& condition, std::size_t count) {
  place_st place;
  soci::statement statement(*sql);
  statement.exchange(soci::into(place.m_started_ms));
  statement.exchange(soci::into(place.m_run_id));
  condition.bind(&statement);
  start(&statement, fmt::format("SELECT u.started_ms, u.run_id FROM amt_units u WHERE {}"
                                " ORDER BY u.started_ms DESC, u.run_id DESC LIMIT 1 OFFSET {}",
                                condition.text("u"), count));
  return statement.execute(true) ? place : place_st{};
}

store_yield_st* plan_of(std::vector<store_yield_st>* plans, const std::string& name) {
  const auto plan = std::ranges::find(*plans, name, &store_yield_st::m_plan);
  if (plan != plans->end()) return &*plan;
  plans->emplace_back().m_plan = name;
  return &plans->back();
}

void count_runs(soci::session* sql, const condition_st& condition, std::vector<store_yield_st>* plans) {
  std::string plan;
  std::string verdict;
  long long count = 0;
  soci::statement statement(*sql);
  statement.exchange(soci::into(plan));
  statement.exchange(soci::into(verdict));
  statement.exchange(soci::into(count));
  condition.bind(&statement);
  start(&statement,
        fmt::format("SELECT u.plan, u.verdict, COUNT(*) FROM amt_units u WHERE {} GROUP BY u.plan, u.verdict",
                    condition.text("u")));
  statement.execute();
  while (statement.fetch()) {
    store_yield_st* counted = plan_of(plans, plan);
    counted->m_runs += count;
    counted->m_verdicts.at(static_cast<std::size_t>(verdict_of(verdict))) += count;
  }
  std::ranges::sort(*plans, {}, &store_yield_st::m_plan);
}

// A time and what came of it are one number here, so that the smallest is the first run with its verdict. One plan at a
// time is answered from an index alone, without sorting.
void count_units(soci::session* sql, const store_filter_st& filter, store_yield_st* plan) {
  store_filter_st of_plan = filter;
  of_plan.m_plan = plan->m_plan;
  const condition_st condition(of_plan);
  long long units = 0;
  long long at_first = 0;
  long long at_last = 0;
  soci::statement statement(*sql);
  for (auto* number : {&units, &at_first, &at_last}) statement.exchange(soci::into(*number));
  condition.bind(&statement);
  start(&statement, fmt::format("SELECT COUNT(*), SUM(first_run & 1), SUM(last_run & 1) FROM"
                                " (SELECT MIN(u.started_ms * 2 + u.is_good) AS first_run,"
                                " MAX(u.started_ms * 2 + u.is_good) AS last_run"
                                " FROM amt_units u WHERE {} GROUP BY u.unit) AS units",
                                condition.text("u")));
  statement.execute(true);
  plan->m_units = units;
  plan->m_good_at_first = at_first;
  plan->m_good_at_last = at_last;
}

void count_failing(soci::session* sql, const condition_st& condition, std::vector<store_yield_st>* plans) {
  std::string plan;
  std::string step;
  long long count = 0;
  soci::statement statement(*sql);
  statement.exchange(soci::into(plan));
  statement.exchange(soci::into(step));
  statement.exchange(soci::into(count));
  condition.bind(&statement);
  start(&statement, fmt::format("SELECT u.plan, s.name, COUNT(*) FROM amt_steps s JOIN amt_units u"
                                " ON u.run_id = s.run_id WHERE s.is_failure = 1 AND {}"
                                " GROUP BY u.plan, s.name ORDER BY COUNT(*) DESC, s.name",
                                condition.text("u")));
  statement.execute();
  while (statement.fetch()) plan_of(plans, plan)->m_failing.push_back({step, count});
}

}  // namespace

std::string store_st::visit(const store_filter_st& filter, bool with_steps, std::size_t from_last,
                            const std::function<bool(const result_st&)>& visitor) {
  return store_try(m_session->m_address, [&] {
    soci::session& sql = m_session->m_sql;
    const condition_st condition(filter);
    steps_st steps(&sql);
    place_st after;
    if (from_last != 0) after = place_before_last(&sql, condition, from_last);
    for (;;) {
      std::vector<result_st> page = read_page(&sql, condition, after);
      for (auto& unit : page) {
        if (with_steps) unit.m_steps = steps.read(unit.m_run_id);
        if (!visitor(unit)) return;
      }
      if (page.size() < PAGE_SIZE) return;
      after = {page.back().m_started_ms, page.back().m_run_id};
    }
  });
}

std::string store_st::find(std::string_view beginning, std::vector<std::string>* run_ids) {
  run_ids->clear();
  const auto is_of_an_id = [](char one) {
    return one == '-' || (one >= '0' && one <= '9') || (one >= 'a' && one <= 'f');
  };
  if (!std::ranges::all_of(beginning, is_of_an_id)) return {};
  return store_try(m_session->m_address, [&] {
    const std::string pattern = std::string(beginning) + '%';
    const soci::rowset<std::string> found =
        (m_session->m_sql.prepare << "SELECT run_id FROM amt_units WHERE run_id LIKE :pattern ORDER BY run_id LIMIT 3",
         soci::use(pattern));
    run_ids->assign(found.begin(), found.end());
  });
}

std::string store_st::document(const std::string& run_id, std::string* text) {
  text->clear();
  return store_try(m_session->m_address, [&] {
    m_session->m_sql << "SELECT document FROM amt_records WHERE run_id = :run_id", soci::use(run_id), soci::into(*text);
  });
}

std::string store_st::yield(const store_filter_st& filter, std::vector<store_yield_st>* plans) {
  plans->clear();
  return store_try(m_session->m_address, [&] {
    soci::session& sql = m_session->m_sql;
    const condition_st condition(filter);
    // One picture of the store for all three.
    soci::transaction transaction(sql);
    if (m_session->m_address.m_is_server) sql << "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ";
    count_runs(&sql, condition, plans);
    for (auto& plan : *plans) count_units(&sql, filter, &plan);
    count_failing(&sql, condition, plans);
  });
}
