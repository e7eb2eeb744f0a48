#include "station/capture/bridge.h"

#include <poll.h>

#include <cerrno>

namespace {

using clock = std::chrono::steady_clock;

constexpr std::size_t MOST_UNSENT = std::size_t{64} * 1024;  // with so much to send, better take nothing more in
constexpr std::chrono::milliseconds LAST_WAIT{1000};

}  // namespace

capture_bridge_st::capture_bridge_st(station_link_st* station, station_link_st* phone, capture_place_st place)
    : m_ways{way_st{station, phone, capture_direction_en::SENT, {}},
             way_st{phone, station, capture_direction_en::RECEIVED, {}}},
      m_place(std::move(place)) {}

station_exit_en capture_bridge_st::read(way_st* way) {
  std::array<std::uint8_t, 4096> chunk{};
  std::size_t count = 0;
  const station_exit_en result = way->m_from->read_some(chunk, clock::now(), &count);
  if (result == STATION_NO_ANSWER) return STATION_OK;
  if (result != STATION_OK) {
    m_error = way->m_from->error();
    return result;
  }
  const auto bytes = std::span(chunk).first(count);
  m_place.write(way->m_direction, bytes);
  way->m_unsent.insert(way->m_unsent.end(), bytes.begin(), bytes.end());
  return write(way);
}

station_exit_en capture_bridge_st::write(way_st* way) {
  if (way->m_unsent.empty()) return STATION_OK;
  std::size_t count = 0;
  const station_exit_en result = way->m_to->write_some(way->m_unsent, &count);
  if (result != STATION_OK) m_error = way->m_to->error();
  way->m_unsent.erase(way->m_unsent.begin(), way->m_unsent.begin() + static_cast<std::ptrdiff_t>(count));
  return result;
}

// A port that hung up is read on: there may be bytes from before.
station_exit_en capture_bridge_st::carry(way_st* way, short from_events, short to_events) {
  constexpr short GONE = POLLHUP | POLLERR | POLLNVAL;
  if ((to_events & (POLLOUT | GONE)) != 0) {
    const station_exit_en written = write(way);
    if (written != STATION_OK) return written;
  }
  return (from_events & (POLLIN | GONE)) != 0 ? read(way) : STATION_OK;
}

// What was read must not be lost with the port that is still there, nor with the interrupt that ends the bridge.
void capture_bridge_st::finish() {
  for (auto& way : m_ways) {
    way.m_to->set_stop_fd(-1);
    way.m_to->write_all(way.m_unsent, clock::now() + LAST_WAIT);
  }
}

station_exit_en capture_bridge_st::run(int stop_fd) {
  const auto wish = [](const way_st& in, const way_st& out) {
    return static_cast<short>((in.m_unsent.size() < MOST_UNSENT ? POLLIN : 0) | (out.m_unsent.empty() ? 0 : POLLOUT));
  };
  auto& [sent, received] = m_ways;
  for (;;) {
    std::array<pollfd, 3> fds = {{{sent.m_from->fd(), wish(sent, received), 0},
                                  {sent.m_to->fd(), wish(received, sent), 0},
                                  {stop_fd, POLLIN, 0}}};
    if (::poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) return STATION_PORT_GONE;
    station_exit_en result = fds[2].revents != 0 ? STATION_INTERRUPTED : STATION_OK;
    if (result == STATION_OK) result = carry(&sent, fds[0].revents, fds[1].revents);
    if (result == STATION_OK) result = carry(&received, fds[1].revents, fds[0].revents);
    if (result == STATION_OK) continue;
    finish();
    return result;
  }
}
