// A terminal on the host that a station or a test application opens: a pseudo-terminal, and the link by which it is
// found. The link stays; its target may change.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "handset/wire/event-loop.h"
#include "handset/wire/tty-pump.h"
#include "pub/util/fd.h"

namespace handset {

class station_tty {
 public:
  station_tty(event_loop& loop, std::filesystem::path name, std::function<void(std::string_view)> on_input);
  station_tty(const station_tty&) = delete;
  station_tty& operator=(const station_tty&) = delete;

  bool has_station() const { return !m_pump.hung_up(); }
  // Called when a station has closed its terminal. No station is there at the start: this too counts as having left,
  // unless the input is held.
  void on_left(std::function<void()> action) { m_on_left = std::move(action); }
  // Sending and holding back.
  tty_pump& pump() { return m_pump; }
  int master() const { return m_master.get(); }

 private:
  void make();
  void left();

  std::filesystem::path m_name;
  pub_fd m_master;
  std::string m_slave;
  tty_pump m_pump;
  std::function<void()> m_on_left;
};

}  // namespace handset
