#include "handset/program/replay.h"

#include <fmt/format.h>
#include <termios.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "handset/phone/station-tty.h"
#include "handset/program/control.h"
#include "handset/program/link-player.h"
#include "handset/sandbox/tree.h"
#include "handset/wire/signals.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds LOOK_AGAIN{20};  // for the end, when the station has gone

// One link of the capture on a terminal of its own.
class played_link {
 public:
  played_link(event_loop& loop, const fs::path& name, capture_link_en link, capture_script_st script,
              link_player::options how)
      : m_link(link),
        m_player(loop, link, std::move(script), with_terminal(std::move(how))),
        m_tty(loop, name, [this](std::string_view bytes) { m_player.take(bytes); }) {
    mark_line();
    m_player.start();
  }

  void set_capture(capture_writer_st* writer) { m_player.set_capture({writer, m_link}); }
  const capture_script_st& script() const { return m_player.script(); }
  // Everything was said, and the station has gone.
  bool is_done() { return script().is_over() && m_tty.pump().unsent() == 0 && !m_tty.has_station(); }

 private:
  link_player::options with_terminal(link_player::options how) {
    how.say = [this](std::string_view bytes) { m_tty.pump().send(bytes); };
    how.is_heard = [this] { return m_tty.has_station(); };
    return how;
  }

  // amt-station keeps on a line what a phone may still owe there (docs/output.md), and brings a line that it does not
  // know into step. It did not, if the capture begins with other requests: this line then is one that it knows.
  void mark_line() const {
    static const std::vector<std::string> STEPS = {"AT^DAMT1=2", "AT^DSVER"};
    constexpr cc_t NOTHING_OWED = 0xD0;
    if (m_link == capture_link_en::PC && script().first_requests(STEPS.size()) == STEPS) return;
    termios line{};
    if (tcgetattr(m_tty.master(), &line) != 0) return;
    line.c_cc[VDISCARD] = NOTHING_OWED;
    tcsetattr(m_tty.master(), TCSANOW, &line);
  }

  capture_link_en m_link;
  link_player m_player;
  station_tty m_tty;
};

class replay_run {
 public:
  explicit replay_run(const run_command& command)
      : m_command(command), m_signals(m_loop, [this](int) { m_loop.stop(); }) {
    if (capture_is_same_file(command.replay, command.capture))
      throw usage_error(command.replay + ": the capture that is played would grow by its replay");
    if (!command.capture.empty()) {
      const std::string wrong = m_capture.open(command.capture);
      if (!wrong.empty()) throw error(wrong);
    }
    const auto entries = load_capture(command.replay, command.replay_phone);
    add(entries, capture_link_en::PC, "ttyPC", "PC tty:  ");
    add(entries, capture_link_en::APP, "ttyAPP", "APP tty: ");
    if (m_links.empty()) throw usage_error(command.replay + " has neither the link pc nor app");
  }

  int run() {
    fmt::print("{}Ctrl-C ends the replay of {}.\n", m_announcement, m_command.replay);
    std::fflush(stdout);
    look_for_end();
    m_loop.run();
    return finish();
  }

 private:
  void add(const std::vector<capture_numbered_st>& entries, capture_link_en link, const char* name, const char* title) {
    capture_script_st script(entries, link);
    if (script.is_empty()) return;
    const fs::path path = m_tree.folder() / name;
    m_announcement += fmt::format("{}{}\n", title, path.string());
    link_player::options how;
    how.is_fast = m_command.is_fast;
    how.differ = [this](const std::string& text) { differ(text); };
    m_links.push_back(std::make_unique<played_link>(m_loop, path, link, std::move(script), std::move(how)));
    if (m_capture.is_open()) m_links.back()->set_capture(&m_capture);
  }

  void differ(const std::string& text) {
    if (m_command.is_loose || m_differences++ != 0) return;
    fmt::print("replay: the first difference is on the {}\n", text);
    std::fflush(stdout);
  }

  void look_for_end() {
    bool is_done = true;
    for (const auto& link : m_links) is_done = is_done && link->is_done();
    if (is_done) return m_loop.stop();
    m_loop.after(LOOK_AGAIN, [this] { look_for_end(); });
  }

  int finish() const {
    std::size_t steps = 0;
    std::size_t done = 0;
    for (const auto& link : m_links) {
      steps += link->script().steps();
      done += link->script().steps_done();
    }
    const std::string lost = m_capture.failure();
    if (!lost.empty()) fmt::print(stderr, "handset: {}\n", lost);
    fmt::print("replay: {} of {} steps of the capture were played, {} differences\n", done, steps, m_differences);
    std::fflush(stdout);
    const bool is_whole = m_differences == 0 && done == steps;
    return is_whole || m_command.is_loose ? STATUS_DONE : STATUS_FAILED;
  }

  const run_command& m_command;
  event_loop m_loop;
  end_signals m_signals;
  capture_writer_st m_capture;
  phone_tree m_tree;
  std::string m_announcement;
  std::vector<std::unique_ptr<played_link>> m_links;
  std::size_t m_differences = 0;
};

}  // namespace

int replay(const run_command& command) {
  return replay_run(command).run();
}

}  // namespace handset
