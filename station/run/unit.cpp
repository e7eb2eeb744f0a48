#include "station/run/unit.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>

#include "station/plan/request.h"
#include "station/run/measure.h"

namespace {

using clock = std::chrono::steady_clock;

bool is_readable(int fd) {
  pollfd wanted{fd, POLLIN, 0};
  return fd >= 0 && ::poll(&wanted, 1, 0) > 0;
}

bool is_good(verdict_en verdict) {
  return verdict == verdict_en::PASS || verdict == verdict_en::SKIPPED;
}

verdict_en verdict_of(station_exit_en code) {
  switch (code) {
    case STATION_OK:
      return verdict_en::PASS;
    case STATION_NO_ANSWER:
      return verdict_en::TIMEOUT;
    case STATION_ERROR_ANSWER:
    case STATION_NO_VALUE:
    case STATION_NOT_AS_WRITTEN:
      return verdict_en::FAIL;
    case STATION_INTERRUPTED:
      return verdict_en::ABORTED;
    default:
      return verdict_en::ERROR;
  }
}

class unit_st {
 public:
  unit_st(const run_setting_st& setting, const run_unit_phone_st& unit, run_phone_st* phone,
          const run_watcher_st& watcher)
      : m_setting(setting), m_unit(unit), m_phone(*phone), m_watcher(watcher), m_stop_fd(setting.m_stop_fd) {}

  run_result_st run() {
    m_begin = clock::now();
    m_record = record_start(*m_setting.m_plan);
    m_record.m_station = m_setting.m_station;
    m_record.m_version = m_setting.m_version;
    m_record.m_phone = m_unit.m_name;
    m_record.m_pc_port = m_unit.m_pc;
    m_record.m_app_port = m_unit.m_app;
    set_serial(m_unit.m_serial);
    note_failure(m_file.create(m_setting.m_records, m_record));
    // A unit whose result could not be kept is not tested at all.
    if (m_failure.empty()) {
      run_groups();
      run_teardown();
    }
    m_record.m_is_complete = m_failure.empty() || m_is_begun;
    keep(true);
    return {std::move(m_record), m_is_begun ? m_file.path() : "", m_failure};
  }

 private:
  void run_groups() {
    m_is_begun = true;
    std::size_t at = 0;
    for (const auto& group : m_setting.m_plan->m_groups) {
      const std::span<record_step_st> steps(m_record.m_steps.data() + at, group.m_steps.size());
      at += group.m_steps.size();
      if (m_is_ended || is_stopped()) continue;
      run_group(group, steps);
    }
    m_record.m_is_aborted = m_record.m_is_aborted || (is_stopped() && has_not_run());
  }

  bool has_not_run() const {
    return std::ranges::any_of(m_record.m_steps, [](const auto& step) {
      return !step.m_is_teardown && step.m_verdict == verdict_en::NOT_RUN;
    });
  }

  bool is_stopped() const { return is_readable(m_stop_fd); }

  void run_group(const plan_group_st& group, std::span<record_step_st> steps) {
    if (group.m_skip_if && is_true(*group.m_skip_if)) {
      for (auto& step : steps) skip(&step, "the group is left out");
      return;
    }
    verdict_en worst = verdict_en::PASS;
    for (m_group_try = 1; m_group_try <= group.m_retries + 1; ++m_group_try) {
      if (m_group_try > 1) {
        for (auto& step : steps) {
          step.m_verdict = verdict_en::NOT_RUN;
          step.touch();
        }
      }
      const bool ends_plan = run_steps(steps);
      worst = verdict_en::PASS;
      for (const auto& step : steps) worst = verdict_worst(worst, step.m_verdict);
      if (is_good(worst) || is_stopped() || m_is_gone) {
        m_is_ended = m_is_ended || ends_plan;
        break;
      }
      if (m_group_try == group.m_retries + 1) m_is_ended = m_is_ended || ends_plan;
    }
    m_group_try = 1;
    if (!is_good(worst) && group.m_on_fail == plan_on_fail_en::END_PLAN) m_is_ended = true;
  }

  // Whether a step that did not pass ends the plan.
  bool run_steps(std::span<record_step_st> steps) {
    for (auto& step : steps) {
      if (is_stopped()) return false;
      run_step(&step);
      if (is_good(step.m_verdict)) continue;
      // The rest would only wait for a phone that is no longer there.
      if (m_is_gone) return true;
      if (step.m_step.m_on_fail == plan_on_fail_en::END_PLAN) return true;
      if (step.m_step.m_on_fail == plan_on_fail_en::END_GROUP) return false;
    }
    return false;
  }

  // It runs whatever happened before, and all of it, also after an interrupt; only a second one ends it.
  void run_teardown() {
    m_stop_fd = m_setting.m_kill_fd;
    m_is_gone = false;
    for (auto& step : m_record.m_steps) {
      if (!step.m_is_teardown) continue;
      if (is_stopped()) {
        m_record.m_is_aborted = true;
        break;
      }
      run_step(&step);
    }
  }

  void skip(record_step_st* step, const std::string& why) {
    step->m_verdict = verdict_en::SKIPPED;
    step->m_message = why;
    step->touch();
    keep(false);
    tell(m_watcher.m_on_end, *step);
  }

  void tell(const std::function<void(const record_st&, const record_step_st&, std::size_t)>& action,
            const record_step_st& step) {
    if (action) action(m_record, step, static_cast<std::size_t>(&step - m_record.m_steps.data()) + 1);
  }

  void run_step(record_step_st* step) {
    const plan_step_st& plan = step->m_step;
    if (plan.m_is_skipped || (plan.m_skip_if && is_true(*plan.m_skip_if))) {
      skip(step, plan.m_is_skipped ? "left out by the plan" : "its skip_if is true");
      return;
    }
    tell(m_watcher.m_on_begin, *step);
    verdict_en worst = verdict_en::PASS;
    for (unsigned repetition = 1; repetition <= plan.m_repeat && worst == verdict_en::PASS; ++repetition) {
      worst = repeat(step, repetition);
    }
    step->m_verdict = worst;
    const record_attempt_st& last = step->m_attempts.back();
    step->m_value = last.m_value;
    step->m_is_marginal = std::ranges::any_of(step->m_attempts, [&](const auto& attempt) {
      return attempt.m_is_marginal && attempt.m_group_try == m_group_try;
    });
    step->m_message = last.m_message;
    if (worst == verdict_en::ABORTED) m_record.m_is_aborted = true;
    step->touch();
    // Nobody is told of a step that a power cut could still take back.
    keep(false);
    tell(m_watcher.m_on_end, *step);
  }

  // One repetition with its tries; gives the last one's verdict.
  verdict_en repeat(record_step_st* step, unsigned repetition) {
    verdict_en verdict = verdict_en::NOT_RUN;
    for (unsigned number = 1; number <= step->m_step.m_retries + 1; ++number) {
      record_attempt_st attempt;
      attempt.m_repetition = repetition;
      attempt.m_try = number;
      attempt.m_group_try = m_group_try;
      attempt.m_started = std::chrono::system_clock::now();
      const auto begin = clock::now();
      try_step(step, &attempt);
      attempt.m_duration = std::chrono::duration_cast<record_duration>(clock::now() - begin);
      verdict = attempt.m_verdict;
      step->m_attempts.push_back(std::move(attempt));
      if (verdict == verdict_en::PASS || verdict == verdict_en::ABORTED) break;
    }
    return verdict;
  }

  void try_step(record_step_st* step, record_attempt_st* attempt) {
    const plan_step_st& plan = step->m_step;
    attempt->m_verdict = verdict_en::PASS;
    if (plan.m_pause_ms != 0 && !pause(plan.m_pause_ms)) return set(attempt, verdict_en::ABORTED, "interrupted");
    std::optional<std::string> raw;
    if (!expand_limits(step, attempt)) return;
    if (plan.m_action == plan_action_en::PAUSE) return;
    if (plan.m_action == plan_action_en::OPERATOR) {
      ask_operator(plan, attempt, &raw);
      if (plan.m_ask == plan_ask_en::MESSAGE || plan.m_ask == plan_ask_en::YES_NO) return;
    } else {
      ask_phone(plan, attempt, &raw);
    }
    if (attempt->m_verdict == verdict_en::PASS) measure(*step, raw, attempt);
  }

  static void set(record_attempt_st* attempt, verdict_en verdict, const std::string& message) {
    attempt->m_verdict = verdict;
    attempt->m_message = message;
  }

  // An interrupt while the operator was asked leaves a variable without a value, too.
  void set_error(record_attempt_st* attempt, const std::string& message) const {
    set(attempt, is_stopped() ? verdict_en::ABORTED : verdict_en::ERROR, is_stopped() ? "interrupted" : message);
  }

  bool pause(unsigned milliseconds) const {
    pollfd stop{m_stop_fd, POLLIN, 0};
    return ::poll(&stop, 1, static_cast<int>(milliseconds)) <= 0;
  }

  plan_lookup lookup() {
    return [this](const std::string& name) { return m_values.find(name); };
  }

  bool expand_limits(record_step_st* step, record_attempt_st* attempt) {
    std::string wrong;
    const auto expand = [&](std::string* text) {
      auto expanded = wrong.empty() ? plan_expand(*text, lookup(), &wrong) : std::nullopt;
      if (expanded) *text = std::move(*expanded);
    };
    step->m_limits = step->m_step.m_limits;
    if (step->m_limits.m_equals) expand(&*step->m_limits.m_equals);
    if (step->m_limits.m_one_of) std::ranges::for_each(*step->m_limits.m_one_of, [&](auto& text) { expand(&text); });
    if (!wrong.empty()) set_error(attempt, wrong);
    return wrong.empty();
  }

  void ask_phone(const plan_step_st& step, record_attempt_st* attempt, std::optional<std::string>* raw) {
    plan_request_st request;
    const std::string wrong = plan_make_request(step, lookup(), &request);
    if (!wrong.empty()) return set_error(attempt, wrong);
    const run_answer_st answer = m_phone.exchange(step, request, m_stop_fd);
    attempt->m_exchange = record_exchange(answer.m_exchange);
    set(attempt, verdict_of(answer.m_code), answer.m_message);
    m_is_gone = answer.m_code == STATION_PORT_GONE || answer.m_code == STATION_NO_PORT;
    *raw = answer.m_value;
  }

  // Where a serial number was given with the run, the operator need not give it again.
  bool is_given(const plan_step_st& step) const { return step.m_is_serial && !m_unit.m_serial.empty(); }

  void ask_operator(const plan_step_st& step, record_attempt_st* attempt, std::optional<std::string>* raw) {
    std::string wrong;
    const auto prompt = plan_expand(step.m_prompt, lookup(), &wrong);
    if (!prompt) return set_error(attempt, wrong);
    if (is_given(step)) {
      *raw = m_unit.m_serial;
      attempt->m_message = "given with the run";
      return;
    }
    const auto deadline =
        step.m_timeout_ms == 0 ? clock::time_point::max() : clock::now() + std::chrono::milliseconds(step.m_timeout_ms);
    std::string line;
    static constexpr const char* HINTS[] = {" [Enter]", " [y/n]", "", ""};
    const std::string question = *prompt + HINTS[static_cast<std::size_t>(step.m_ask)];
    const run_reply_en reply = ask(
        question, deadline, [&step](const std::string& text) { return is_answer(step, text); }, &line);
    judge_reply(step, reply, line, attempt);
    *raw = line;
  }

  // Who looks on sees the question while it is its turn: before and after that the answer would be another's.
  run_reply_en ask(const std::string& question, clock::time_point deadline,
                   std::function<bool(const std::string&)> is_answer, std::string* line) {
    const auto tell = [&](bool is_asked) {
      if (m_watcher.m_on_question) m_watcher.m_on_question(is_asked ? question : "");
    };
    return m_setting.m_operator->ask({fmt::format("{}: {}", m_unit.m_name, question), std::move(is_answer), tell},
                                     deadline, m_stop_fd, line);
  }

  static bool is_answer(const plan_step_st& step, const std::string& line) {
    if (step.m_ask == plan_ask_en::MESSAGE) return true;
    if (step.m_ask != plan_ask_en::YES_NO) return !line.empty() && !plan_has_control_character(line);
    return is_yes(line) || line == "n" || line == "N" || line == "no" || line == "No";
  }
  static bool is_yes(const std::string& line) { return line == "y" || line == "Y" || line == "yes" || line == "Yes"; }

  static void judge_reply(const plan_step_st& step, run_reply_en reply, const std::string& line,
                          record_attempt_st* attempt) {
    switch (reply) {
      case run_reply_en::ANSWERED:
        if (step.m_ask != plan_ask_en::YES_NO) return;
        attempt->m_value = record_value_st{is_yes(line) ? "yes" : "no", {}, line};
        if (!is_yes(line)) set(attempt, verdict_en::FAIL, "the operator answered no");
        return;
      case run_reply_en::NO_INPUT:
        return set(attempt, verdict_en::ERROR, "standard input has ended: no operator can answer");
      case run_reply_en::TOO_LATE:
        return set(attempt, verdict_en::TIMEOUT, "the operator did not answer in the time given");
      case run_reply_en::INTERRUPTED:
        return set(attempt, verdict_en::ABORTED, "interrupted");
    }
  }

  void measure(const record_step_st& step, const std::optional<std::string>& raw, record_attempt_st* attempt) {
    const plan_step_st& plan = step.m_step;
    const run_measured_st measured = run_measure(plan, step.m_limits, raw);
    attempt->m_verdict = measured.m_verdict;
    attempt->m_value = measured.m_value;
    attempt->m_is_marginal = measured.m_is_marginal;
    if (!measured.m_message.empty()) attempt->m_message = measured.m_message;
    if (measured.m_verdict != verdict_en::PASS || !measured.m_value) return;
    const std::string& text = measured.m_value->m_text;
    if (plan.m_is_serial) take_serial(text, attempt);
    if (!plan.m_save.empty()) m_values.save(plan.m_save, text, plan.m_name);
  }

  void take_serial(const std::string& serial, record_attempt_st* attempt) {
    const bool is_other = !m_unit.m_serial.empty() && serial != m_unit.m_serial;
    if (is_other) {
      set(attempt, verdict_en::FAIL, fmt::format("the unit is {}, not {}", serial, m_unit.m_serial));
    } else if (serial.empty()) {
      set(attempt, verdict_en::FAIL, "the serial number is empty");
    } else {
      set_serial(serial);
    }
  }

  void set_serial(const std::string& serial) {
    m_record.m_serial = serial;
    m_values.set_serial(serial);
  }

  bool is_true(const plan_condition_st& condition) {
    std::string value;
    if (condition.m_step.empty()) {
      value = m_values.find(condition.m_variable).value_or("");
    } else {
      const auto row = std::ranges::find_if(m_record.m_steps,
                                            [&](const auto& step) { return step.m_step.m_name == condition.m_step; });
      if (row != m_record.m_steps.end()) value = verdict_name(row->m_verdict);
    }
    const bool is_named = std::ranges::find(condition.m_values, value) != condition.m_values.end();
    return is_named != condition.m_is_negated;
  }

  void note_failure(const std::string& failure) {
    const bool is_change = failure.empty() != m_failure.empty();
    m_failure = failure;
    if (is_change && m_watcher.m_on_record) m_watcher.m_on_record(failure);
  }

  // After a failure the test goes on, and each later write tries again.
  void keep(bool is_last) {
    m_record.m_duration = std::chrono::duration_cast<record_duration>(clock::now() - m_begin);
    m_record.m_variables = m_values.known();
    if (!m_is_begun && is_last) return;
    note_failure(m_file.replace(m_record));
  }

  std::optional<std::string> ask_value(const std::string& question) {
    std::string line;
    const auto any = [](const std::string&) { return true; };
    const run_reply_en reply = ask(question, clock::time_point::max(), any, &line);
    return reply == run_reply_en::ANSWERED ? std::optional(line) : std::nullopt;
  }

  const run_setting_st& m_setting;
  const run_unit_phone_st& m_unit;
  run_phone_st& m_phone;
  const run_watcher_st& m_watcher;
  run_values_st m_values{m_setting.m_plan, m_setting.m_given, m_setting.m_order,
                         [this](const std::string& question) { return ask_value(question); }};
  record_st m_record;
  record_file_st m_file;
  std::string m_failure;
  clock::time_point m_begin;
  unsigned m_group_try = 1;
  int m_stop_fd;
  bool m_is_begun = false;
  bool m_is_ended = false;  // by a step or group that did not pass
  bool m_is_gone = false;   // the phone went away
};

}  // namespace

run_result_st run_unit(const run_setting_st& setting, const run_unit_phone_st& unit, run_phone_st* phone,
                       const run_watcher_st& watcher) {
  return unit_st(setting, unit, phone, watcher).run();
}
