#include "station/run/display.h"

#include <fmt/color.h>
#include <fmt/format.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <ostream>

#include "station/run/measure.h"
#include "station/wire/render.h"

namespace {

constexpr std::size_t BAR_WIDTH = 20;
constexpr std::size_t DEFAULT_WIDTH = 80;
constexpr std::size_t DEFAULT_HEIGHT = 24;

struct size_st {
  std::size_t m_width = DEFAULT_WIDTH;
  std::size_t m_height = DEFAULT_HEIGHT;
};

size_st size_of(int terminal) {
  winsize size{};
  if (::ioctl(terminal, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
  return {size.ws_col, size.ws_row};
}

// Names and serial numbers come from outside, and a terminal would act on their control characters. Other letters than
// those of English stay.
std::string harmless(const std::string& text) {
  std::string clean = text;
  const auto is_control = [](char one) { return static_cast<unsigned char>(one) < 0x20 || one == 0x7F; };
  std::ranges::replace_if(clean, is_control, '?');
  return clean;
}

// At most so many columns; a letter of several bytes is not cut.
std::string cut(const std::string& text, std::size_t width) {
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool is_start = (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
    if (is_start && ++columns > width) return text.substr(0, at);
  }
  return text;
}

std::string time_text(std::chrono::milliseconds time) {
  return fmt::format("{:.1f} s", static_cast<double>(time.count()) / 1000.0);
}

std::string bar(std::size_t done, std::size_t count) {
  const std::size_t filled = count == 0 ? 0 : std::min(done * BAR_WIDTH / count, BAR_WIDTH);
  return fmt::format("[{}{}]", std::string(filled, '='), std::string(BAR_WIDTH - filled, ' '));
}

}  // namespace

std::string run_step_line(const record_step_st& step) {
  const std::string& unit = step.m_step.m_unit;
  std::string text = fmt::format("{}: {}", harmless(step.m_step.m_name), verdict_name(step.m_verdict));
  if (step.m_verdict != verdict_en::PASS) {
    return step.m_message.empty() ? text : fmt::format("{}: {}", text, harmless(step.m_message));
  }
  const std::string limits = run_limits_text(step.m_limits, unit);
  if (step.m_value) text += " " + run_value_text(*step.m_value, unit);
  if (!limits.empty()) text += fmt::format(" ({})", harmless(limits));
  if (step.m_is_marginal) text += ", marginal";
  return text;
}

run_display_st::run_display_st(std::ostream* out, run_display_style_st style, const std::vector<std::string>& phones)
    : m_out(*out), m_style(style) {
  for (const auto& name : phones) {
    m_rows.push_back({});
    m_rows.back().m_name = name;
    m_name_width = std::max(m_name_width, name.size());
  }
}

std::string run_display_st::colored(verdict_en verdict, const std::string& text) const {
  if (!m_style.m_color) return text;
  const bool is_good = verdict == verdict_en::PASS;
  const bool is_open = verdict == verdict_en::SKIPPED || verdict == verdict_en::NOT_RUN;
  const auto color = is_good   ? fmt::terminal_color::green
                     : is_open ? fmt::terminal_color::yellow
                               : fmt::terminal_color::red;
  return fmt::format(fmt::fg(color) | fmt::emphasis::bold, "{}", text);
}

void run_display_st::wait_for_phone(std::size_t phone) {
  const std::lock_guard lock(m_lock);
  m_rows[phone].m_is_waiting = true;
  if (!m_style.m_is_terminal) say(fmt::format("{}: waiting for the next phone", m_rows[phone].m_name));
  draw();
}

void run_display_st::begin_unit(std::size_t phone, std::size_t step_count) {
  const std::lock_guard lock(m_lock);
  row_st fresh;
  fresh.m_name = m_rows[phone].m_name;
  fresh.m_count = step_count;
  fresh.m_begin = clock::now();
  fresh.m_is_running = true;
  m_rows[phone] = fresh;
  draw();
}

void run_display_st::begin_step(std::size_t phone, const record_st& record, const record_step_st& step,
                                std::size_t number) {
  const std::lock_guard lock(m_lock);
  row_st& row = m_rows[phone];
  row.m_serial = record.m_serial;
  row.m_step = step.m_step.m_name;
  row.m_number = number;
  draw();
}

void run_display_st::end_step(std::size_t phone, const record_st& record, const record_step_st& step,
                              std::size_t number) {
  const std::lock_guard lock(m_lock);
  row_st& row = m_rows[phone];
  row.m_serial = record.m_serial;
  const bool is_bad = step.m_verdict != verdict_en::PASS && step.m_verdict != verdict_en::SKIPPED;
  const std::string line = run_step_line(step);
  if (is_bad) row.m_failures.push_back(line);
  if (!m_style.m_is_terminal) say(fmt::format("{}: {}/{} {}", row.m_name, number, row.m_count, line));
  draw();
}

void run_display_st::end_unit(std::size_t phone, const record_st& record, const std::string& path) {
  const std::lock_guard lock(m_lock);
  row_st& row = m_rows[phone];
  row.m_serial = record.m_serial;
  row.m_verdict = record.verdict();
  row.m_has_verdict = true;
  row.m_is_running = false;
  row.m_number = row.m_count;
  row.m_time = std::chrono::duration_cast<std::chrono::milliseconds>(record.m_duration);
  if (!m_style.m_is_terminal) {
    say(fmt::format(
        "{}: {}: {} in {}{}", row.m_name, harmless(row.m_serial.empty() ? "no serial number" : row.m_serial),
        colored(row.m_verdict, verdict_name(row.m_verdict)), time_text(row.m_time), path.empty() ? "" : "; " + path));
  }
  draw();
}

void run_display_st::print(const std::string& line) {
  const std::lock_guard lock(m_lock);
  say(line);
  draw();
}

void run_display_st::quietly(const std::function<void()>& action) {
  {
    const std::lock_guard lock(m_lock);
    erase();
    m_is_quiet = true;
  }
  action();
  const std::lock_guard lock(m_lock);
  m_is_quiet = false;
  for (const auto& line : m_later) m_out << line << "\n";
  m_later.clear();
  draw();
  m_out.flush();
}

void run_display_st::question(const std::string& text) {
  const std::lock_guard lock(m_lock);
  m_out << harmless(text) << (m_style.m_is_terminal ? " " : "\n") << std::flush;
}

void run_display_st::tick() {
  const std::lock_guard lock(m_lock);
  draw();
}

void run_display_st::say(const std::string& line) {
  if (m_is_quiet) {
    m_later.push_back(line);
    return;
  }
  erase();
  m_out << line << "\n" << std::flush;
}

void run_display_st::erase() {
  if (m_drawn != 0) m_out << fmt::format("\x1b[{}A\x1b[J", m_drawn);
  m_drawn = 0;
}

void run_display_st::draw() {
  if (!m_style.m_is_terminal || m_is_quiet) return;
  const size_st size = size_of(m_style.m_terminal_fd);
  const auto all = lines(size.m_width, size.m_height);
  erase();
  for (const auto& line : all) m_out << line << "\n";
  m_out.flush();
  m_drawn = all.size();
}

// All phones first, so that each keeps its place; then what failed, as far as there is room.
std::vector<std::string> run_display_st::lines(std::size_t width, std::size_t height) const {
  std::vector<std::string> all;
  for (const auto& row : m_rows) all.push_back(row_line(row, width));
  for (const auto& row : m_rows) {
    for (const auto& failure : row.m_failures) all.push_back(cut(fmt::format("  {}: {}", row.m_name, failure), width));
  }
  const std::size_t room = std::max<std::size_t>(height, 3) - 1;  // the cursor stands below
  if (all.size() <= room) return all;
  const std::size_t hidden = all.size() - room + 1;
  all.resize(room - 1);
  all.push_back(cut(fmt::format("  and {} lines more, for which the terminal is too small", hidden), width));
  return all;
}

std::string run_display_st::row_line(const row_st& row, std::size_t width) const {
  const std::string head = fmt::format("{:<{}}  {:<16}  ", row.m_name, m_name_width, cut(harmless(row.m_serial), 16));
  if (row.m_has_verdict) {
    const std::string tail =
        fmt::format("  {}{}", time_text(row.m_time), row.m_is_waiting ? "  waiting for the next phone" : "");
    const std::string name = verdict_name(row.m_verdict);
    std::string plain = cut(head + name + tail, width);
    if (plain.size() < head.size() + name.size()) return plain;
    return head + colored(row.m_verdict, name) + plain.substr(head.size() + name.size());
  }
  if (!row.m_is_running) return cut(head + (row.m_is_waiting ? "waiting for a phone" : ""), width);
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - row.m_begin);
  const std::size_t done = row.m_number == 0 ? 0 : row.m_number - 1;
  return cut(fmt::format("{}{} {}/{}  {}  {}", head, bar(done, row.m_count), row.m_number, row.m_count, time_text(time),
                         harmless(row.m_step)),
             width);
}
