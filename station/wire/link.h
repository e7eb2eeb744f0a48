// The station's end of the serial line: one port, held for this process alone, raw, with a deadline on every wait.
// Results are exit codes, because each failure here is the end of a run; error() describes what happened.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

#include "capture/writer.h"
#include "station/wire/exit-code.h"

using station_time = std::chrono::steady_clock::time_point;

// Whose answer may still come to a request that was given up.
enum class station_doubt_en : std::uint8_t {
  NONE,
  PHONE,
  MODEM,    // or the phone's
  UNKNOWN,  // no station had the line before
};

class station_link_st {
 public:
  station_link_st() = default;
  ~station_link_st();
  station_link_st(const station_link_st&) = delete;
  station_link_st& operator=(const station_link_st&) = delete;

  // Opens the terminal at path and takes it for this process alone; or connects, where path is tcp://HOST:PORT. baud 0
  // leaves the speed as it is; the other machine sets that of a connection.
  // STATION_OK, STATION_NO_PORT or STATION_PORT_IN_USE.
  station_exit_en open(const std::string& path, unsigned baud = 0);
  void close();

  // Every wait ends with STATION_INTERRUPTED as soon as the descriptor is readable. Borrowed; -1 for none.
  void set_stop_fd(int fd) { m_stop_fd = fd; }

  // Everything that is written and read from now on is kept there, too.
  void set_capture(capture_place_st place) { m_capture = std::move(place); }

  // Writes all bytes. Otherwise returns why not: STATION_NO_ANSWER at the deadline, STATION_PORT_GONE,
  // STATION_INTERRUPTED.
  station_exit_en write_all(std::span<const std::uint8_t> bytes, station_time deadline);

  // Writes what the port takes now; *count is how much, 0 where it takes nothing yet. STATION_OK or STATION_PORT_GONE.
  station_exit_en write_some(std::span<const std::uint8_t> bytes, std::size_t* count);

  // Waits for bytes and reads what there is, at least one byte; *count is their number. Results as of write_all.
  station_exit_en read_some(std::span<std::uint8_t> room, station_time deadline, std::size_t* count);

  // The mark stays on the line when the port is closed or the program is killed, and goes when the phone is unplugged:
  // the next program that opens the port knows that the phone may still owe an answer.
  station_doubt_en doubt() const { return m_doubt; }
  void set_doubt(station_doubt_en doubt);

  // For a wait on several ports.
  int fd() const { return m_fd; }

  const std::string& error() const { return m_error; }

 private:
  station_exit_en fail(station_exit_en code, const std::string& why);
  station_exit_en gone(int error_number);
  station_exit_en wait(short events, station_time deadline, bool* is_hung_up);
  station_exit_en connect();
  station_exit_en take();
  station_exit_en set_raw(unsigned baud);

  std::string m_path;
  std::string m_error;
  capture_place_st m_capture;
  station_doubt_en m_doubt = station_doubt_en::UNKNOWN;
  int m_fd = -1;
  int m_stop_fd = -1;
  bool m_is_exclusive = false;
  bool m_is_socket = false;
};

// Whether the number is a speed that a serial line can have.
bool station_is_baud(unsigned baud);
