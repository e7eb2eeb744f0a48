#include "handset/phone/cable.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "handset/wire/error.h"
#include "handset/wire/pty.h"

namespace handset {

cable::cable(event_loop& loop, std::filesystem::path name)
    : m_name(std::move(name)),
      m_outside(loop, [this](auto bytes) { carry(m_outside, m_inside, bytes); }),
      m_inside(loop, [this](auto bytes) {
        if (!m_outside.hung_up()) carry(m_inside, m_outside, bytes);
      }) {
  m_outside.on_sent([this] { m_inside.hold_input(false); });
  m_inside.on_sent([this] { m_outside.hold_input(false); });
  m_outside.on_hangup([this] { station_left(); });
  make_outside();
}

void cable::carry(tty_pump& from, tty_pump& to, std::string_view bytes) {
  to.send(bytes);
  from.hold_input(to.unsent() >= tty_pump::MOST_UNSENT);
}

void cable::make_outside() {
  m_outside.detach();
  auto made = open_pty(pty_line::raw);
  if (!made) throw error("cannot make a pseudo-terminal");
  m_master = std::move(made->master);
  m_slave = std::move(made->slave);
  // After one open and close the master reads as hung up until a station opens the terminal: this shows that no
  // station is there.
  pub_fd once(::open(m_slave.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  once.reset();
  const std::filesystem::path aside = m_name.string() + ".new";
  std::filesystem::create_symlink(m_slave, aside);
  std::filesystem::rename(aside, m_name);
  m_outside.attach(m_master.get());
}

// A station may take its terminal for itself (TIOCEXCL) and be killed. Then only root could open it again, so a new
// terminal takes its place.
void cable::station_left() {
  const pub_fd again(::open(m_slave.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!again && errno == EBUSY) make_outside();
  if (m_on_station_left) m_on_station_left();
}

void cable::connect(const tty_end& phone_end) {
  m_inside.attach(phone_end.fd());
  m_outside.hold_input(false);
}

void cable::disconnect() {
  m_inside.detach();
}

}  // namespace handset
