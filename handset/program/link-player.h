// One link of a capture, played on a terminal: says what was said then, after the pauses of then, and holds what it is
// sent against the capture. All on the loop's thread.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/script.h"
#include "capture/writer.h"
#include "handset/wire/event-loop.h"

namespace handset {

// The lines of a capture, those of one phone where it has several. Throws usage_error when that phone is not chosen,
// and error when the capture cannot be read as a whole: a phone that leaves something out would be another one.
std::vector<capture_numbered_st> load_capture(const std::string& path, const std::string& phone);

class link_player {
 public:
  struct options {
    bool is_fast = false;                                       // without the pauses
    std::function<void(const std::string& difference)> differ;  // with the name of the link
    std::function<void(std::string_view bytes)> say;
    std::function<bool()> is_heard;  // somebody has the other side open
  };

  link_player(event_loop& loop, capture_link_en link, capture_script_st script, options how);
  link_player(const link_player&) = delete;
  link_player& operator=(const link_player&) = delete;

  // Before start().
  void set_options(options how) { m_how = std::move(how); }
  void set_capture(capture_place_st place) { m_capture = std::move(place); }
  const capture_script_st& script() const { return m_script; }

  // What comes first in the capture waits for somebody who hears it.
  void start();
  void take(std::string_view bytes);

 private:
  void keep(const stream_item_st& item);
  void flush();
  void go_on();
  bool say_next();
  void say(const std::vector<std::uint8_t>& bytes);

  event_loop& m_loop;
  capture_link_en m_link;
  capture_script_st m_script;
  options m_how;
  capture_place_st m_capture;
  stream_splitter_st m_splitter;
  std::deque<capture_kept_st> m_requests;
  event_loop::clock::time_point m_latest;  // of the latest step; none yet
  std::optional<event_loop::timer_id> m_say_timer;
  std::optional<event_loop::timer_id> m_part_timer;
};

}  // namespace handset
