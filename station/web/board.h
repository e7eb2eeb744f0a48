// Room `web`: the operator's page. It follows a run and shows it to browsers; nothing comes back from there.
//
// The board: what each phone's tile shows, and the counts of the shift. The run's threads write to it; one thread of
// its own turns the changes into frames, a few times a second, so that however many watch, the run waits for none of
// them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include "station/run/events.h"

struct web_about_st {
  std::string m_plan;
  std::string m_revision;
  std::string m_station;
};

// A frame: one event for the page, as the browser reads it.
using web_frame = std::shared_ptr<const std::string>;

class web_board_st : public run_events_st {
 public:
  web_board_st(const web_about_st& about, const std::vector<std::string>& phones);
  ~web_board_st() override;

  void wait_for_phone(std::size_t phone) override;
  void begin_unit(std::size_t phone, std::size_t step_count) override;
  void begin_step(std::size_t phone, const record_st& record, const record_step_st& step, std::size_t number) override;
  void ask(std::size_t phone, const std::string& question) override;
  void end_step(std::size_t phone, const record_st& record, const record_step_st& step) override;
  void end_unit(std::size_t phone, const record_st& record) override;

  // The run is over; the page keeps what it shows.
  void end_run();
  // Nothing is shown any more: whoever waits for a frame gets none.
  void close();

  // What a page needs at first: everything. *next: where its next frame stands.
  web_frame whole(std::uint64_t* next);
  // The next frame; waits for it as long as said, then gives an empty one that shows that the station is there. Null:
  // the board is closed. A watcher that is too slow gets everything anew.
  web_frame next(std::uint64_t* next, std::chrono::milliseconds wait);

 private:
  using clock = std::chrono::steady_clock;

  enum class state_en { IDLE, WAITING, RUNNING, DONE };

  struct tile_st {
    std::string m_name;
    std::string m_serial;
    std::string m_step;
    std::string m_question;  // to the operator; empty: none
    std::size_t m_number = 0;
    std::size_t m_count = 0;
    state_en m_state = state_en::IDLE;
    bool m_has_verdict = false;
    verdict_en m_verdict = verdict_en::NOT_RUN;
    clock::time_point m_begin;
    std::chrono::milliseconds m_time{};
    std::vector<std::string> m_failures;
    std::size_t m_hidden = 0;  // failures that are not kept
    bool m_is_changed = false;
  };

  void render();
  web_frame frame(bool is_whole) const;
  web_frame whole_now(std::uint64_t* next);
  nlohmann::ordered_json tile_object(const tile_st& tile) const;
  nlohmann::ordered_json counts_object() const;

  const web_about_st m_about;
  const std::chrono::system_clock::time_point m_started = std::chrono::system_clock::now();
  std::mutex m_lock;
  std::condition_variable m_is_new;
  std::vector<tile_st> m_tiles;
  std::unordered_set<std::string> m_serials;  // of the units that were here
  std::size_t m_nameless = 0;                 // units without a serial number
  std::size_t m_first_good = 0;
  std::size_t m_runs = 0;
  std::size_t m_good = 0;
  bool m_is_over = false;
  bool m_is_changed = false;
  bool m_is_closed = false;
  std::deque<web_frame> m_frames;
  std::uint64_t m_first = 1;  // the number of the first of them
  web_frame m_whole;          // the last one with everything, with its time and what follows it
  clock::time_point m_whole_time;
  std::uint64_t m_whole_next = 0;
  std::jthread m_thread;
};
