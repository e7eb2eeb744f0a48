#include "handset/phone/station-tty.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "handset/wire/error.h"
#include "handset/wire/pty.h"

namespace handset {

station_tty::station_tty(event_loop& loop, std::filesystem::path name, std::function<void(std::string_view)> on_input)
    : m_name(std::move(name)), m_pump(loop, std::move(on_input)) {
  m_pump.on_hangup([this] { left(); });
  make();
}

void station_tty::make() {
  m_pump.detach();
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
  m_pump.attach(m_master.get());
}

// A station may take its terminal for itself (TIOCEXCL) and be killed. Then only root could open it again, so a new
// terminal takes its place.
void station_tty::left() {
  const pub_fd again(::open(m_slave.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!again && errno == EBUSY) make();
  if (m_on_left) m_on_left();
}

}  // namespace handset
