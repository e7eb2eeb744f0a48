// The simulated modem behind the phone's data link. It answers AT text and wrapped frames out of the state that it
// keeps, and misbehaves when told to. Its work is done on an event loop's thread; these calls may come from any other.
//
//   AT                     -> OK                       AT^DCGSNW=<imei>   keeps the IMEI            -> OK
//   AT;^DLKS=1  AT^DLKS=0  -> OK                       AT^DMSN=<number>   keeps the board number    -> OK
//   AT^DMPCHN=<n>          -> OK                       AT^DGSN?           "\r\n^DGSN: <imei>\r\n\r\nOK\r\n"
//   anything else          -> ERROR                    AT^DMSN            "\r\n^DMSN: <number>\r\n\r\nOK\r\n"
//
// A wrapped frame n is answered by frame n + 1 with the result in integer atom 1; 5 writes the IMEI (string atom 21),
// 87 the board number (string atom 38), 7 and 85 read them back in the same atoms.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "handset/text-log.h"
#include "handset/unique-fd.h"

namespace handset {

class event_loop;

// What the modem remembers and has seen.
struct modem_state {
  std::string imei;
  std::string board_number;
  std::string channel;
  std::uint64_t at_lines = 0;
  std::uint64_t frames = 0;
  std::uint64_t noise_bytes = 0;  // bytes that were neither AT text nor part of a frame
};

// How it behaves. All off: it answers at once and in one piece.
struct modem_switches {
  bool silent = false;                      // takes everything in, does and answers nothing
  bool echo = false;                        // sends every byte back unchanged instead of understanding it
  bool refuse = false;                      // answers ERROR, or a frame with result 1, and keeps nothing
  std::chrono::milliseconds delay{0};       // waits so long before each answer
  std::size_t split = 0;                    // sends answers in pieces of so many bytes; 0: whole
  std::chrono::milliseconds gap{20};        // the pause between two such pieces
  std::chrono::milliseconds patience{300};  // an unfinished line or frame that long without more bytes is noise
};

class modem {
 public:
  // The loop must not run any more when the modem goes away.
  explicit modem(event_loop& loop);
  ~modem();
  modem(const modem&) = delete;
  modem& operator=(const modem&) = delete;

  modem_state state() const;
  void change_state(const std::function<void(modem_state&)>& change);
  modem_switches switches() const;
  void change_switches(const std::function<void(modem_switches&)>& change);

  // Every byte that came from the service.
  const text_log& received() const;
  // Sends bytes as they are, on top of what it has to answer.
  void say(std::string_view bytes);
  // The link breaks: the service's side gets a hang-up. attach() plugs a new pseudo-terminal's master in.
  void hang_up();
  void attach(unique_fd master);
  bool attached() const;

 private:
  struct inside;
  std::unique_ptr<inside> m_inside;
};

}  // namespace handset
