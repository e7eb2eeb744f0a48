#include "station/program/run.h"

#include <poll.h>

#include <algorithm>

#include "capture/items.h"
#include "station/program/capture-options.h"
#include "station/wire/step.h"
#include "station/words/explain.h"
#include "station/words/words.h"

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds MONITOR_PART_WAIT{1000};
constexpr std::chrono::milliseconds PROBE_WAIT{1000};  // a phone that starts loses what comes too early
constexpr int LOOK_AGAIN_MS = 200;

station_time deadline_of(unsigned timeout_ms) {
  return timeout_ms == 0 ? station_time::max() : clock::now() + std::chrono::milliseconds(timeout_ms);
}

// False when the run is to end instead.
bool pause(int stop_fd) {
  pollfd stop{stop_fd, POLLIN, 0};
  return ::poll(&stop, 1, LOOK_AGAIN_MS) == 0;
}

}  // namespace

station_run_st::station_run_st(const station_options_st& options, const station_io_st& io)
    : m_options(options),
      m_io(io),
      m_current(&options),
      m_session(
          &m_link, [this](const station_entry_st& entry) { show(entry); }, form()) {
  m_link.set_stop_fd(io.m_stop_fd);
}

// One who listens sees what `decode` shows.
void station_run_st::show(station_entry_st entry) {
  const bool is_listening = m_current->m_word != nullptr && !m_current->m_word->is_sending();
  const station_time now = clock::now();
  station_detail_st detail{"", capture_link_name(link())};
  if (m_shown_at) detail.m_since = now - *m_shown_at;
  m_shown_at = now;
  if (is_listening) entry.m_detail = &detail;
  station_report_st report(m_io, *m_current);
  report.show(entry);
  if (report.is_broken() && is_listening) m_session.stop();
}

capture_link_en station_run_st::link() const {
  return m_options.is_app() ? capture_link_en::APP : capture_link_en::PC;
}

stream_form_en station_run_st::form() const {
  return capture_form(link());
}

std::string station_run_st::open_capture() {
  if (m_options.m_capture.empty()) return {};
  m_link.set_capture({&m_capture, link()});
  return m_capture.open(m_options.m_capture);
}

int station_run_st::finish_capture(int status) const {
  return capture_finish_capture(m_io, m_capture, status);
}

station_exit_en station_run_st::open() {
  return m_link.open(m_options.path(), m_options.m_baud);
}

int station_run_st::fail(station_exit_en code) {
  station_outcome_st outcome;
  outcome.m_exit = code;
  outcome.m_message = m_link.error();
  return station_report_st(m_io, *m_current).finish(m_current->m_name, outcome);
}

int station_run_st::run(const station_options_st& options) {
  m_current = &options;
  station_report_st report(m_io, options);
  if (!options.m_word->is_sending()) return report.finish(options.m_name, listen(options));
  station_exchange_st exchange(&m_link, &m_session, form());
  return report.finish(options.m_name, exchange.run(*options.m_word, options.m_arguments, options.wishes()));
}

// The end of the given time and an interrupt are good ends; only a count that was not reached is a failure.
station_outcome_st station_run_st::listen(const station_options_st& options) {
  station_judge_st judge(options.m_expect == 0 ? station_rule_st{}
                                               : station_rule_st{station_wait_en::COUNT, {}, options.m_expect});
  const station_time deadline = deadline_of(options.m_timeout_ms.value_or(0));
  station_outcome_st outcome;
  const station_exit_en result = m_session.receive(&judge, deadline, MONITOR_PART_WAIT);
  const bool is_end = result == STATION_INTERRUPTED || result == STATION_NO_ANSWER || result == STATION_DAMAGED;
  if (options.m_expect == 0 && is_end) return outcome;
  outcome.m_exit = result;
  outcome.m_message = result == STATION_PORT_GONE ? m_link.error() : station_exit_meaning(result);
  return outcome;
}

station_exit_en station_run_st::look_for_phone(station_time deadline) {
  const station_exit_en opened = open();
  if (opened != STATION_OK) return opened;
  while (clock::now() < deadline) {
    const station_exit_en result = station_probe(&m_session, form(), std::min(deadline, clock::now() + PROBE_WAIT));
    if (result != STATION_NO_ANSWER && result != STATION_NO_VALUE) return result;
  }
  return STATION_NO_ANSWER;
}

int station_run_st::wait_for_phone() {
  const station_time deadline = deadline_of(m_options.m_timeout_ms.value_or(STATION_DEFAULT_PHONE_WAIT_MS));
  station_exit_en result = look_for_phone(deadline);
  while (result == STATION_NO_PORT || result == STATION_PORT_GONE) {
    if (clock::now() >= deadline) break;
    if (!pause(m_io.m_stop_fd)) {
      result = STATION_INTERRUPTED;
      break;
    }
    result = look_for_phone(deadline);
  }
  station_outcome_st outcome;
  outcome.m_exit = result;
  if (result == STATION_NO_PORT || result == STATION_PORT_IN_USE) outcome.m_message = m_link.error();
  if (result != STATION_OK && outcome.m_message.empty()) outcome.m_message = station_exit_meaning(result);
  return station_report_st(m_io, m_options).finish(m_options.m_name, outcome);
}

int station_print_explanation(const station_options_st& options, const station_io_st& io) {
  station_report_st report(io, options);
  station_outcome_st outcome;
  const station_word_st* word = station_find_word(options.m_name);
  if (word == nullptr) {
    outcome.m_exit = STATION_USAGE;
    outcome.m_message = station_explain_unknown(options.m_name);
  } else if (options.m_json) {
    outcome.m_value = station_explain(*word);
  } else {
    report.print(station_explain(*word));
  }
  return report.finish(options.m_name, outcome);
}
