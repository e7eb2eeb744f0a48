#include "station/web/board.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "station/run/display.h"
#include "station/store/result.h"

namespace {

using object = nlohmann::ordered_json;

constexpr std::chrono::milliseconds BETWEEN_FRAMES{200};
constexpr std::size_t FRAMES_KEPT = 64;
constexpr std::size_t FAILURES_KEPT = 8;
constexpr std::size_t LONGEST_TEXT = 240;       // of what comes from outside; more does not fit a tile
constexpr std::size_t SERIALS_KEPT = 1U << 20;  // a shift has fewer units

// At most so many bytes; a letter of several bytes is not cut.
std::string cut(const std::string& text) {
  if (text.size() <= LONGEST_TEXT) return text;
  std::size_t end = LONGEST_TEXT;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "...";
}

// An event of a text/event-stream; the object's text has no line end.
web_frame event(const char* name, const object& data) {
  const std::string text = data.dump(-1, ' ', false, object::error_handler_t::replace);
  return std::make_shared<const std::string>(fmt::format("event: {}\ndata: {}\n\n", name, text));
}

}  // namespace

web_board_st::web_board_st(const web_about_st& about, const std::vector<std::string>& phones) : m_about(about) {
  for (const auto& name : phones) {
    m_tiles.push_back({});
    m_tiles.back().m_name = name;
  }
  m_thread = std::jthread([this] { render(); });
}

web_board_st::~web_board_st() {
  close();
}

void web_board_st::wait_for_phone(std::size_t phone) {
  const std::lock_guard lock(m_lock);
  m_tiles[phone].m_state = state_en::WAITING;  // the last verdict stays
  m_tiles[phone].m_is_changed = m_is_changed = true;
}

void web_board_st::begin_unit(std::size_t phone, std::size_t step_count) {
  const std::lock_guard lock(m_lock);
  tile_st fresh;
  fresh.m_name = m_tiles[phone].m_name;
  fresh.m_count = step_count;
  fresh.m_state = state_en::RUNNING;
  fresh.m_begin = clock::now();
  m_tiles[phone] = fresh;
  m_tiles[phone].m_is_changed = m_is_changed = true;
}

void web_board_st::begin_step(std::size_t phone, const record_st& record, const record_step_st& step,
                              std::size_t number) {
  const std::lock_guard lock(m_lock);
  tile_st& tile = m_tiles[phone];
  tile.m_serial = cut(record.m_serial);
  tile.m_step = cut(step.m_step.m_name);
  tile.m_number = number;
  tile.m_is_changed = m_is_changed = true;
}

void web_board_st::ask(std::size_t phone, const std::string& question) {
  const std::lock_guard lock(m_lock);
  m_tiles[phone].m_question = cut(question);
  m_tiles[phone].m_is_changed = m_is_changed = true;
}

void web_board_st::end_step(std::size_t phone, const record_st& record, const record_step_st& step) {
  const std::lock_guard lock(m_lock);
  tile_st& tile = m_tiles[phone];
  tile.m_serial = cut(record.m_serial);
  tile.m_is_changed = m_is_changed = true;
  if (result_is_good(step.m_verdict)) return;
  if (tile.m_failures.size() < FAILURES_KEPT) {
    tile.m_failures.push_back(cut(run_step_line(step)));
  } else {
    ++tile.m_hidden;
  }
}

void web_board_st::end_unit(std::size_t phone, const record_st& record) {
  const std::lock_guard lock(m_lock);
  tile_st& tile = m_tiles[phone];
  tile.m_serial = cut(record.m_serial);
  tile.m_verdict = record.verdict();
  tile.m_has_verdict = true;
  tile.m_state = state_en::DONE;
  tile.m_number = tile.m_count;
  tile.m_time = std::chrono::duration_cast<std::chrono::milliseconds>(record.m_duration);
  tile.m_is_changed = m_is_changed = true;
  const bool is_good = result_is_good(tile.m_verdict);
  const bool is_known = m_serials.contains(record.m_serial);
  ++m_runs;
  if (is_good) ++m_good;
  if (is_known) return;
  if (is_good) ++m_first_good;
  if (record.m_serial.empty() || m_serials.size() >= SERIALS_KEPT) {
    ++m_nameless;
  } else {
    m_serials.insert(record.m_serial);
  }
}

void web_board_st::end_run() {
  const std::lock_guard lock(m_lock);
  m_is_over = m_is_changed = true;
}

void web_board_st::close() {
  {
    const std::lock_guard lock(m_lock);
    m_is_closed = true;
  }
  m_is_new.notify_all();
}

// Turns what has changed into a frame.
void web_board_st::render() {
  std::unique_lock lock(m_lock);
  while (!m_is_closed) {
    m_is_new.wait_for(lock, BETWEEN_FRAMES, [this] { return m_is_closed; });
    if (m_is_closed || !m_is_changed) continue;
    m_frames.push_back(frame(false));
    if (m_frames.size() > FRAMES_KEPT) {
      m_frames.pop_front();
      ++m_first;
    }
    for (auto& tile : m_tiles) tile.m_is_changed = false;
    m_is_changed = false;
    lock.unlock();
    m_is_new.notify_all();
    lock.lock();
  }
}

web_frame web_board_st::frame(bool is_whole) const {
  object tiles = object::object();
  for (std::size_t n = 0; n < m_tiles.size(); ++n) {
    if (is_whole || m_tiles[n].m_is_changed) tiles[std::to_string(n)] = tile_object(m_tiles[n]);
  }
  object all;
  if (is_whole) {
    all["plan"] = cut(m_about.m_plan);
    all["revision"] = cut(m_about.m_revision);
    all["station"] = cut(m_about.m_station);
    all["since"] = record_time_text(m_started);
    all["phones"] = m_tiles.size();
  }
  all["over"] = m_is_over;
  all["counts"] = counts_object();
  all["tiles"] = tiles;
  return event(is_whole ? "whole" : "change", all);
}

nlohmann::ordered_json web_board_st::tile_object(const tile_st& tile) const {
  static constexpr const char* STATES[] = {"idle", "waiting", "running", "done"};
  const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - tile.m_begin);
  object all;
  all["name"] = tile.m_name;
  all["state"] = STATES[static_cast<std::size_t>(tile.m_state)];
  all["serial"] = tile.m_serial;
  all["step"] = tile.m_step;
  all["question"] = tile.m_question;
  all["number"] = tile.m_number;
  all["count"] = tile.m_count;
  all["time_ms"] = tile.m_state == state_en::RUNNING ? since.count() : tile.m_time.count();
  all["verdict"] = tile.m_has_verdict ? verdict_name(tile.m_verdict) : "";
  all["failures"] = tile.m_failures;
  all["hidden"] = tile.m_hidden;
  return all;
}

nlohmann::ordered_json web_board_st::counts_object() const {
  object all;
  all["runs"] = m_runs;
  all["good"] = m_good;
  all["bad"] = m_runs - m_good;
  all["units"] = m_serials.size() + m_nameless;
  all["first_good"] = m_first_good;
  return all;
}

web_frame web_board_st::whole_now(std::uint64_t* next) {
  if (!m_whole || clock::now() - m_whole_time > BETWEEN_FRAMES) {
    m_whole = frame(true);
    m_whole_time = clock::now();
    m_whole_next = m_first + m_frames.size();
  }
  *next = m_whole_next;
  return m_whole;
}

web_frame web_board_st::whole(std::uint64_t* next) {
  const std::lock_guard lock(m_lock);
  return whole_now(next);
}

web_frame web_board_st::next(std::uint64_t* next, std::chrono::milliseconds wait) {
  std::unique_lock lock(m_lock);
  m_is_new.wait_for(lock, wait, [&] { return m_is_closed || *next < m_first + m_frames.size(); });
  if (m_is_closed) return nullptr;
  if (*next >= m_first + m_frames.size()) return event("here", object::object());
  if (*next < m_first) return whole_now(next);
  return m_frames[(*next)++ - m_first];
}
