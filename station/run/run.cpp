#include "station/run/run.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <ostream>
#include <thread>

#include "station/run/display.h"
#include "station/store/sender.h"

namespace {

constexpr int TICK_MS = 250;  // how often running times are brought up to date

// A descriptor that becomes and stays readable when it is set.
class flag_st {
 public:
  flag_st() : m_fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~flag_st() { ::close(m_fd); }
  flag_st(const flag_st&) = delete;
  flag_st& operator=(const flag_st&) = delete;

  int fd() const { return m_fd; }
  void set() const {
    const std::uint64_t one = 1;
    // A full counter is set, too.
    [[maybe_unused]] const ssize_t written = ::write(m_fd, &one, sizeof(one));
  }

 private:
  int m_fd;
};

class run_st {
 public:
  run_st(const run_options_st& options, const run_io_st& io)
      : m_options(options),
        m_io(io),
        m_display(io.m_out, {io.m_terminal_fd >= 0, io.m_color, io.m_terminal_fd}, names(options)) {}

  // Returns what is wrong with the options; empty: nothing.
  std::string prepare() {
    if (!m_options.m_work_order.empty()) {
      std::string wrong = m_order.read(m_options.m_work_order);
      if (!wrong.empty()) return wrong;
    }
    std::string wrong = run_check_given(*m_options.m_plan, m_options.m_variables, m_order);
    return wrong.empty() && !m_options.m_capture.empty() ? m_capture.open(m_options.m_capture) : wrong;
  }

  int run() {
    m_display.print(fmt::format("records: {}", m_options.m_records));
    m_setting.m_plan = m_options.m_plan;
    m_setting.m_given = &m_options.m_variables;
    m_setting.m_order = &m_order;
    m_setting.m_operator = &m_operator;
    m_setting.m_records = m_options.m_records;
    m_setting.m_station = m_options.m_station;
    m_setting.m_version = m_options.m_version;
    m_setting.m_stop_fd = m_stop.fd();
    m_setting.m_kill_fd = m_kill.fd();
    m_running = m_options.m_phones.size();
    if (!m_options.m_db.empty()) {
      m_sender.emplace(m_options.m_db, m_options.m_records, [this](const std::string& line) { m_display.print(line); });
    }
    {
      std::vector<std::jthread> threads;
      for (std::size_t n = 0; n < m_options.m_phones.size(); ++n) threads.emplace_back([this, n] { serve(n); });
      watch();
    }
    if (m_sender) m_sender->finish();
    const std::string lost = m_capture.failure();
    if (!lost.empty()) *m_io.m_err << "amt-station: " << lost << std::endl;
    return exit_code();
  }

 private:
  static std::vector<std::string> names(const run_options_st& options) {
    std::vector<std::string> all;
    for (const auto& phone : options.m_phones) all.push_back(phone.m_name);
    return all;
  }

  // Waits for the threads, and for the wishes to end that come meanwhile.
  void watch() {
    int stop_fd = m_io.m_stop_fd;
    while (m_running.load() != 0) {
      std::array<pollfd, 2> fds = {{{stop_fd, POLLIN, 0}, {m_done.fd(), POLLIN, 0}}};
      ::poll(fds.data(), fds.size(), m_io.m_terminal_fd >= 0 ? TICK_MS : -1);
      if (fds[0].revents != 0) {
        std::array<char, 128> wish{};  // one signal, or a whole counter
        if (::read(stop_fd, wish.data(), wish.size()) <= 0) stop_fd = -1;
        if (m_is_stopped) m_kill.set();
        if (!m_is_stopped) m_display.print("ending the run; the teardown comes first");
        m_is_stopped = true;
        m_stop.set();
      }
      m_display.tick();
    }
  }

  void serve(std::size_t n) {
    const run_unit_phone_st& unit = m_options.m_phones[n];
    const unsigned baud = m_options.m_baud != 0 ? m_options.m_baud : m_options.m_plan->m_baud;
    run_phone_st phone(unit.m_pc, unit.m_app, baud);
    if (m_capture.is_open()) phone.set_capture(&m_capture, unit.m_name);
    if (!m_options.m_is_loop) {
      run_one(n, unit, &phone);
    } else {
      loop(n, unit, &phone);
    }
    if (--m_running == 0) m_done.set();
  }

  void loop(std::size_t n, const run_unit_phone_st& unit, run_phone_st* phone) {
    for (;;) {
      m_display.wait_for_phone(n);
      if (m_options.m_events != nullptr) m_options.m_events->wait_for_phone(n);
      if (!phone->wait_there(m_stop.fd())) return;
      run_one(n, unit, phone);
      if (!phone->wait_gone(m_stop.fd())) return;
    }
  }

  void run_one(std::size_t n, const run_unit_phone_st& unit, run_phone_st* phone) {
    const plan_st& plan = *m_options.m_plan;
    std::size_t count = plan.m_teardown.size();
    for (const auto& group : plan.m_groups) count += group.m_steps.size();
    run_events_st* events = m_options.m_events;
    m_display.begin_unit(n, count);
    if (events != nullptr) events->begin_unit(n, count);
    run_watcher_st watcher;
    watcher.m_on_begin = [&](const auto& record, const auto& step, std::size_t number) {
      m_display.begin_step(n, record, step, number);
      if (events != nullptr) events->begin_step(n, record, step, number);
    };
    watcher.m_on_end = [&](const auto& record, const auto& step, std::size_t number) {
      m_display.end_step(n, record, step, number);
      if (events != nullptr) events->end_step(n, record, step);
    };
    watcher.m_on_question = [&](const std::string& question) {
      if (events != nullptr) events->ask(n, question);
    };
    watcher.m_on_record = [&](const std::string& failure) {
      m_display.print(failure.empty() ? unit.m_name + ": the record can be written again"
                                      : fmt::format("{}: the record could not be written: {}", unit.m_name, failure));
    };
    const run_result_st result = run_unit(m_setting, unit, phone, watcher);
    m_display.end_unit(n, result.m_record, result.m_path);
    if (events != nullptr) events->end_unit(n, result.m_record);
    if (m_sender) m_sender->wake();
    const std::lock_guard lock(m_lock);
    m_worst = verdict_worst(m_worst, result.m_record.verdict());
    m_has_lost_record = m_has_lost_record || !result.m_record_failure.empty();
  }

  int exit_code() const {
    const run_exit_en code = run_exit_of(m_worst);
    return m_has_lost_record && code != RUN_ABORTED ? RUN_NO_RECORD : code;
  }

  const run_options_st& m_options;
  const run_io_st& m_io;
  run_display_st m_display;
  run_operator_st m_operator{m_io.m_input_fd, [this](const std::string& text) { m_display.question(text); },
                             [this](const std::function<void()>& action) { m_display.quietly(action); }};
  run_work_order_st m_order;
  capture_writer_st m_capture;
  run_setting_st m_setting;
  std::optional<store_sender_st> m_sender;
  flag_st m_stop;
  flag_st m_kill;
  flag_st m_done;
  std::atomic<std::size_t> m_running = 0;
  std::mutex m_lock;
  verdict_en m_worst = verdict_en::PASS;
  bool m_has_lost_record = false;
  bool m_is_stopped = false;
};

}  // namespace

run_exit_en run_exit_of(verdict_en verdict) {
  static constexpr std::array<run_exit_en, VERDICT_COUNT> CODES = {RUN_PASS,    RUN_PASS,  RUN_NOT_RUN, RUN_FAIL,
                                                                   RUN_TIMEOUT, RUN_ERROR, RUN_ABORTED};
  return CODES.at(static_cast<std::size_t>(verdict));
}

int run_plan(const run_options_st& options, const run_io_st& io) {
  run_st run(options, io);
  const std::string wrong = run.prepare();
  if (wrong.empty()) return run.run();
  *io.m_err << "amt-station: " << wrong << std::endl;
  return RUN_USAGE;
}
