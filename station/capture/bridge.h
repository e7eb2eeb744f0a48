// Two ports joined to one line: what comes in at one goes out at the other, byte for byte, and is kept in a capture.
#pragma once

#include <array>
#include <vector>

#include "capture/writer.h"
#include "station/wire/link.h"

class capture_bridge_st {
 public:
  // The station's port and the phone's, open and borrowed. What the station sends is `sent`.
  capture_bridge_st(station_link_st* station, station_link_st* phone, capture_place_st place);

  // Until a port goes away, which is STATION_PORT_GONE, or stop_fd is readable: STATION_INTERRUPTED. What was read
  // before goes out first, where the other port takes it.
  station_exit_en run(int stop_fd);
  // Why a port went away.
  const std::string& error() const { return m_error; }

 private:
  struct way_st {
    station_link_st* m_from;
    station_link_st* m_to;
    capture_direction_en m_direction;
    std::vector<std::uint8_t> m_unsent;
  };

  station_exit_en read(way_st* way);
  station_exit_en write(way_st* way);
  station_exit_en carry(way_st* way, short from_events, short to_events);
  void finish();

  std::array<way_st, 2> m_ways;
  capture_place_st m_place;
  std::string m_error;
};
