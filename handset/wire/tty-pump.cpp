#include "handset/wire/tty-pump.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace handset {

namespace {

constexpr std::chrono::milliseconds REOPEN_CHECK{10};

}  // namespace

void tty_pump::attach(int master) {
  detach();
  m_master = master;
  watch();
}

void tty_pump::detach() {
  if (m_master >= 0) m_loop.forget(m_master);
  if (m_reopen_timer) m_loop.cancel(*m_reopen_timer);
  m_reopen_timer.reset();
  m_master = -1;
  m_unsent.clear();
}

bool tty_pump::hung_up() const {
  pollfd item{m_master, POLLIN, 0};
  return ::poll(&item, 1, 0) > 0 && item.revents == POLLHUP;  // with POLLIN there is still something to read
}

void tty_pump::watch() {
  if (m_master < 0 || m_reopen_timer) return;
  const int in = m_hold ? 0 : POLLIN;
  const int out = m_unsent.empty() ? 0 : POLLOUT;
  // Even a watch for no event reports a hang-up, again and again: so the master is not watched at all.
  if ((in | out) == 0) return m_loop.forget(m_master);
  m_loop.watch(m_master, static_cast<short>(in | out), [this](short events) { ready(events); });
}

void tty_pump::ready(short events) {
  if ((events & POLLOUT) != 0) write_unsent();
  if (m_master < 0 || (events & (POLLIN | POLLHUP)) == 0 || (m_hold && (events & POLLHUP) == 0)) return;
  if (take_input() || m_master < 0) return;
  m_loop.forget(m_master);
  wait_reopened();
  if (m_on_hangup) m_on_hangup();
}

// Polling a hung-up master returns at once, and no event reports that its other side was opened again: so a timer
// checks now and then.
void tty_pump::wait_reopened() {
  m_reopen_timer = m_loop.after(REOPEN_CHECK, [this] {
    m_reopen_timer.reset();
    if (hung_up())
      wait_reopened();
    else
      watch();
  });
}

// False when the other side is closed.
bool tty_pump::take_input() {
  std::array<char, 4096> buffer;
  const auto count = ::read(m_master, buffer.data(), buffer.size());
  if (count <= 0) return count < 0 && (errno == EAGAIN || errno == EINTR);
  m_on_input({buffer.data(), static_cast<std::size_t>(count)});
  return true;
}

void tty_pump::send(std::string_view bytes) {
  if (m_master < 0) return;
  m_unsent += bytes;
  write_unsent();
}

void tty_pump::write_unsent() {
  const bool waiting = !m_unsent.empty();
  if (waiting) {
    const auto count = ::write(m_master, m_unsent.data(), m_unsent.size());
    if (count > 0) m_unsent.erase(0, static_cast<std::size_t>(count));
  }
  watch();
  if (waiting && m_unsent.empty() && m_on_sent) m_on_sent();
}

void tty_pump::hold_input(bool hold) {
  if (m_hold == hold) return;
  m_hold = hold;
  watch();
}

}  // namespace handset
