// A cable of `handset run`: a pseudo-terminal for a station on the host, and a relay between it and one of the phone's
// ttys. While no station has it open, what the phone sends is lost, as on a cable that leads nowhere.
#pragma once

#include <filesystem>
#include <functional>
#include <utility>

#include "handset/wire/event-loop.h"
#include "handset/wire/tty-end.h"
#include "handset/wire/tty-pump.h"

namespace handset {

class cable {
 public:
  // name: the link by which a station finds the terminal. The link stays; its target may change.
  cable(event_loop& loop, std::filesystem::path name);

  // Relays to this end of the phone's tty until disconnect(). Borrowed.
  void connect(const tty_end& phone_end);
  void disconnect();
  // Bytes of a station wait until the phone's end is connected; otherwise, while it is not, they are lost.
  void hold_station(bool hold = true) { m_outside.hold_input(hold); }
  bool has_station() const { return !m_outside.hung_up(); }

  // Called when a station has closed its terminal, and when the phone's side was closed. No station is there at the
  // start: this too counts as having left, unless the input is held.
  void on_station_left(std::function<void()> action) { m_on_station_left = std::move(action); }
  void on_phone_left(std::function<void()> action) { m_inside.on_hangup(std::move(action)); }

 private:
  void make_outside();
  void station_left();
  static void carry(tty_pump& from, tty_pump& to, std::string_view bytes);

  std::filesystem::path m_name;
  pub_fd m_master;
  std::string m_slave;
  tty_pump m_outside;
  tty_pump m_inside;
  std::function<void()> m_on_station_left;
};

}  // namespace handset
