// A pseudo-terminal's master on an event loop: what comes in is handed on, what is to go out waits for room. The far
// side may close and open again, which the kernel does not report to a master. All on the loop's thread.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "handset/wire/event-loop.h"

namespace handset {

class tty_pump {
 public:
  static constexpr std::size_t MOST_UNSENT =
      std::size_t{64} * 1024;  // with so much to send, better take nothing more in

  tty_pump(event_loop& loop, std::function<void(std::string_view)> on_input)
      : m_loop(loop), m_on_input(std::move(on_input)) {}
  tty_pump(const tty_pump&) = delete;
  tty_pump& operator=(const tty_pump&) = delete;

  void on_hangup(std::function<void()> action) { m_on_hangup = std::move(action); }
  void on_sent(std::function<void()> action) { m_on_sent = std::move(action); }  // nothing is left to send

  void attach(int master);  // borrowed, non-blocking; stays open until detach()
  void detach();
  bool attached() const { return m_master >= 0; }
  bool hung_up() const;  // nobody has the other side open any more

  void send(std::string_view bytes);
  std::size_t unsent() const { return m_unsent.size(); }
  void hold_input(bool hold);

 private:
  void watch();
  void ready(short events);
  bool take_input();
  void write_unsent();
  void wait_reopened();

  event_loop& m_loop;
  std::function<void(std::string_view)> m_on_input;
  std::function<void()> m_on_hangup;
  std::function<void()> m_on_sent;
  int m_master = -1;
  bool m_hold = false;
  std::string m_unsent;
  std::optional<event_loop::timer_id> m_reopen_timer;
};

}  // namespace handset
