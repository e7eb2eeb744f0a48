// A cable of `handset run`: a pseudo-terminal for a station on the host, and a relay between it and one of the phone's
// ttys. While no station has it open, what the phone sends is lost, as on a cable that leads nowhere.
#pragma once

#include <filesystem>
#include <functional>
#include <utility>

#include "capture/writer.h"
#include "handset/phone/station-tty.h"
#include "handset/wire/event-loop.h"
#include "handset/wire/tty-end.h"
#include "handset/wire/tty-pump.h"

namespace handset {

class cable {
 public:
  // name: the link by which a station finds the terminal.
  cable(event_loop& loop, std::filesystem::path name);

  // Relays to this end of the phone's tty until disconnect(). Borrowed.
  void connect(const tty_end& phone_end);
  void disconnect();
  // Bytes of a station wait until the phone's end is connected; otherwise, while it is not, they are lost.
  void hold_station(bool hold = true) { m_outside.pump().hold_input(hold); }
  // Everything that a station and the phone send is kept there, also what finds nobody at the other end.
  void set_capture(capture_place_st place) { m_capture = std::move(place); }
  bool has_station() const { return m_outside.has_station(); }

  // Called when a station has closed its terminal, and when the phone's side was closed. No station is there at the
  // start: this too counts as having left, unless the input is held.
  void on_station_left(std::function<void()> action) { m_outside.on_left(std::move(action)); }
  void on_phone_left(std::function<void()> action) { m_inside.on_hangup(std::move(action)); }

 private:
  static void carry(tty_pump& from, tty_pump& to, std::string_view bytes);

  capture_place_st m_capture;
  station_tty m_outside;
  tty_pump m_inside;
};

}  // namespace handset
