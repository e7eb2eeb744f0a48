#include "handset/modem.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <optional>
#include <utility>

#include "handset/event-loop.h"
#include "handset/modem-brain.h"

namespace handset {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t MOST_UNSENT = 64 * 1024;  // with so much to send, nothing more is taken in
constexpr milliseconds REOPEN_CHECK{10};        // nothing tells a master that its slave was opened again

struct timed_bytes {
  milliseconds pause;  // after what went before
  std::string bytes;
};

}  // namespace

// Lives on the loop's thread.
struct modem::inside {
  explicit inside(event_loop& the_loop) : loop(the_loop) {}

  void attach(unique_fd new_master);
  void detach();
  void watch();
  void ready(short events);
  void check_reopened();
  bool take_input();
  void understand(std::string_view bytes);
  void send(std::string bytes, milliseconds delay);
  void send_next();
  void write_unsent();
  void rearm(std::optional<event_loop::timer_id>& timer, milliseconds delay, void (inside::*action)());
  void stop(std::optional<event_loop::timer_id>& timer);
  void drop_partial() { brain.drop_partial(); }

  event_loop& loop;
  unique_fd master;
  modem_brain brain;
  modem_switches switches;
  text_log received;
  std::deque<timed_bytes> timed;  // what waits for its time
  std::string unsent;             // what waits for room in the pseudo-terminal
  std::optional<event_loop::timer_id> send_timer;
  std::optional<event_loop::timer_id> patience_timer;
  std::optional<event_loop::timer_id> reopen_timer;
};

void modem::inside::rearm(std::optional<event_loop::timer_id>& timer, milliseconds delay, void (inside::*action)()) {
  stop(timer);
  timer = loop.after(delay, [this, &timer, action] {
    timer.reset();
    (this->*action)();
  });
}

void modem::inside::stop(std::optional<event_loop::timer_id>& timer) {
  if (timer) loop.cancel(*timer);
  timer.reset();
}

void modem::inside::attach(unique_fd new_master) {
  detach();
  master = std::move(new_master);
  watch();
}

void modem::inside::detach() {
  if (!master) return;
  loop.forget(master.get());
  master.reset();
  stop(send_timer);
  stop(patience_timer);
  stop(reopen_timer);
  timed.clear();
  unsent.clear();
  brain.drop_partial();
}

void modem::inside::watch() {
  if (!master || reopen_timer) return;
  const int in = unsent.size() < MOST_UNSENT ? POLLIN : 0;
  const int out = unsent.empty() ? 0 : POLLOUT;
  loop.watch(master.get(), static_cast<short>(in | out), [this](short events) { ready(events); });
}

void modem::inside::ready(short events) {
  if ((events & POLLOUT) != 0) write_unsent();
  if ((events & (POLLIN | POLLHUP)) != 0 && !take_input()) {
    // The service closed its side; polling a hung-up master returns at once, for ever.
    loop.forget(master.get());
    rearm(reopen_timer, REOPEN_CHECK, &inside::check_reopened);
  }
}

void modem::inside::check_reopened() {
  pollfd item{master.get(), POLLIN, 0};
  if (::poll(&item, 1, 0) > 0 && item.revents == POLLHUP) {
    return rearm(reopen_timer, REOPEN_CHECK, &inside::check_reopened);
  }
  watch();
}

// False when the other side is closed.
bool modem::inside::take_input() {
  std::array<char, 4096> buffer;
  const auto count = ::read(master.get(), buffer.data(), buffer.size());
  if (count <= 0) return count < 0 && (errno == EAGAIN || errno == EINTR);
  const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
  received.append(bytes);
  if (!switches.silent) understand(bytes);
  return true;
}

void modem::inside::understand(std::string_view bytes) {
  if (switches.echo) return send(std::string(bytes), switches.delay);
  for (auto& answer : brain.receive(bytes, switches.refuse)) send(std::move(answer), switches.delay);
  stop(patience_timer);
  if (brain.has_partial()) rearm(patience_timer, switches.patience, &inside::drop_partial);
}

// Cuts what is to be sent as the switches ask and puts it behind what already waits.
void modem::inside::send(std::string bytes, milliseconds delay) {
  const std::size_t piece = switches.split == 0 ? bytes.size() : switches.split;
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    timed.push_back({at == 0 ? delay : switches.gap, bytes.substr(at, piece)});
  }
  if (!send_timer) send_next();
}

void modem::inside::send_next() {
  // What has no pause goes at once; the first that has one waits for its timer, which comes here again.
  while (!timed.empty()) {
    if (const auto pause = std::exchange(timed.front().pause, milliseconds{0}); pause > milliseconds{0}) {
      rearm(send_timer, pause, &inside::send_next);
      break;
    }
    unsent += timed.front().bytes;
    timed.pop_front();
  }
  write_unsent();
}

void modem::inside::write_unsent() {
  if (!unsent.empty()) {
    const auto count = ::write(master.get(), unsent.data(), unsent.size());
    if (count > 0) unsent.erase(0, static_cast<std::size_t>(count));
  }
  watch();
}

modem::modem(event_loop& loop) : m_inside(std::make_unique<inside>(loop)) {}
modem::~modem() = default;

modem_state modem::state() const {
  return m_inside->loop.ask([this] { return m_inside->brain.state; });
}

void modem::change_state(const std::function<void(modem_state&)>& change) {
  m_inside->loop.call([&] { change(m_inside->brain.state); });
}

modem_switches modem::switches() const {
  return m_inside->loop.ask([this] { return m_inside->switches; });
}

void modem::change_switches(const std::function<void(modem_switches&)>& change) {
  m_inside->loop.call([&] { change(m_inside->switches); });
}

const text_log& modem::received() const {
  return m_inside->received;
}

void modem::say(std::string_view bytes) {
  m_inside->loop.call([&] {
    if (!m_inside->master) return;
    if (m_inside->switches.split != 0) return m_inside->send(std::string(bytes), milliseconds{0});
    m_inside->unsent += bytes;  // not behind answers that are being delayed
    m_inside->write_unsent();
  });
}

void modem::hang_up() {
  m_inside->loop.call([this] { m_inside->detach(); });
}

void modem::attach(unique_fd master) {
  m_inside->loop.call([&] { m_inside->attach(std::move(master)); });
}

bool modem::attached() const {
  return m_inside->loop.ask([this] { return static_cast<bool>(m_inside->master); });
}

}  // namespace handset
