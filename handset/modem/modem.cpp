#include "handset/modem/modem.h"

#include <deque>
#include <optional>
#include <utility>

#include "handset/modem/brain.h"
#include "handset/wire/event-loop.h"
#include "handset/wire/tty-pump.h"

namespace handset {

namespace {

using std::chrono::milliseconds;

struct timed_bytes {
  milliseconds pause;  // after the bytes before these
  std::string bytes;
};

// One of the modem's links. Lives on the loop's thread.
struct link_side {
  link_side(event_loop& the_loop, modem_state& state, modem_switches& the_switches)
      : loop(the_loop), link(the_loop, [this](auto bytes) { receive(bytes); }), brain(state), switches(the_switches) {
    link.on_sent([this] { link.hold_input(false); });
  }

  void attach(pub_fd new_master);
  void detach();
  void receive(std::string_view bytes);
  void understand(std::string_view bytes);
  void say(std::string_view bytes);
  void send(std::string_view bytes, milliseconds delay);
  void send_next();
  void write(std::string_view bytes);
  void rearm(std::optional<event_loop::timer_id>& timer, milliseconds delay, void (link_side::*action)());
  void stop(std::optional<event_loop::timer_id>& timer);
  void lose_patience();

  event_loop& loop;
  pub_fd master;
  tty_pump link;
  modem_brain brain;
  modem_switches& switches;
  text_log received;
  capture_place_st capture;
  std::deque<timed_bytes> timed;  // what waits for its time
  std::optional<event_loop::timer_id> send_timer;
  std::optional<event_loop::timer_id> patience_timer;
};

void link_side::rearm(std::optional<event_loop::timer_id>& timer, milliseconds delay, void (link_side::*action)()) {
  stop(timer);
  timer = loop.after(delay, [this, &timer, action] {
    timer.reset();
    (this->*action)();
  });
}

void link_side::stop(std::optional<event_loop::timer_id>& timer) {
  if (timer) loop.cancel(*timer);
  timer.reset();
}

void link_side::attach(pub_fd new_master) {
  detach();
  master = std::move(new_master);
  link.attach(master.get());
}

void link_side::detach() {
  link.detach();
  master.reset();
  stop(send_timer);
  stop(patience_timer);
  timed.clear();
  brain.drop_partial();
}

void link_side::receive(std::string_view bytes) {
  received.append(bytes);
  capture.write(capture_direction_en::SENT, capture_bytes(bytes));
  if (!switches.silent) understand(bytes);
}

void link_side::understand(std::string_view bytes) {
  if (switches.echo) return send(bytes, switches.delay);
  for (const auto& answer : brain.receive(bytes, switches)) send(answer, switches.delay);
  stop(patience_timer);
  if (brain.has_partial()) rearm(patience_timer, switches.patience, &link_side::lose_patience);
}

void link_side::lose_patience() {
  for (const auto& answer : brain.finish(switches)) send(answer, switches.delay);
}

void link_side::say(std::string_view bytes) {
  if (switches.split != 0) return send(bytes, milliseconds{0});
  write(bytes);  // does not wait for delayed answers
}

// Cuts the bytes as the switches ask and adds the pieces to the end of the queue.
void link_side::send(std::string_view bytes, milliseconds delay) {
  const std::size_t piece = switches.split == 0 ? bytes.size() : switches.split;
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    timed.push_back({at == 0 ? delay : switches.gap, std::string(bytes.substr(at, piece))});
  }
  if (!send_timer) send_next();
}

// Pieces without a pause go at once; the first with a pause waits for its timer, which calls this again.
void link_side::send_next() {
  while (!timed.empty()) {
    if (const auto pause = std::exchange(timed.front().pause, milliseconds{0}); pause > milliseconds{0}) {
      return rearm(send_timer, pause, &link_side::send_next);
    }
    write(timed.front().bytes);
    timed.pop_front();
  }
}

void link_side::write(std::string_view bytes) {
  if (link.attached()) capture.write(capture_direction_en::RECEIVED, capture_bytes(bytes));
  link.send(bytes);
  link.hold_input(link.unsent() >= tty_pump::MOST_UNSENT);
}

}  // namespace

struct modem::inside {
  explicit inside(event_loop& the_loop) : loop(the_loop) {}
  link_side& side(modem_link link) { return link == modem_link::data ? data : at; }

  event_loop& loop;
  modem_state state;
  modem_switches switches;
  link_side data{loop, state, switches};
  link_side at{loop, state, switches};
};

modem::modem(event_loop& loop) : m_inside(std::make_unique<inside>(loop)) {}
modem::~modem() = default;

modem_state modem::state() const {
  return m_inside->loop.ask([this] { return m_inside->state; });
}

void modem::change_state(const std::function<void(modem_state&)>& change) {
  m_inside->loop.call([&] { change(m_inside->state); });
}

modem_switches modem::switches() const {
  return m_inside->loop.ask([this] { return m_inside->switches; });
}

void modem::change_switches(const std::function<void(modem_switches&)>& change) {
  m_inside->loop.call([&] { change(m_inside->switches); });
}

void modem::change(const std::function<void(modem_switches&, modem_state&)>& change) {
  m_inside->loop.call([&] { change(m_inside->switches, m_inside->state); });
}

const text_log& modem::received(modem_link link) const {
  return m_inside->side(link).received;
}

void modem::say(std::string_view bytes, modem_link link) {
  m_inside->loop.call([&] { m_inside->side(link).say(bytes); });
}

void modem::set_capture(capture_writer_st* writer, const std::string& phone) {
  m_inside->loop.call([&] {
    m_inside->data.capture = {writer, capture_link_en::MODEM, phone};
    m_inside->at.capture = {writer, capture_link_en::AT, phone};
  });
}

void modem::hang_up(modem_link link) {
  m_inside->loop.call([&] { m_inside->side(link).detach(); });
}

void modem::attach(pub_fd master, modem_link link) {
  m_inside->loop.call([&] { m_inside->side(link).attach(std::move(master)); });
}

bool modem::attached(modem_link link) const {
  return m_inside->loop.ask([&] { return static_cast<bool>(m_inside->side(link).master); });
}

}  // namespace handset
