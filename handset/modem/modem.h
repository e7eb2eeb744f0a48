// Room `modem`: the whole simulated modem. What it knows (state.h), what it understands (brain.h, at.h, radio.h) and
// how it behaves on its two links.
//
// The simulated modem behind the phone's two modem ttys. It answers AT text and wrapped frames from the state that it
// keeps, and misbehaves on request. It works on an event loop's thread; these calls may come from any other thread.
//
//   AT  AT;^DLKS=1  AT^DLKS=0                 -> OK
//   AT^DCGSNW=<imei>      keeps the IMEI      AT^DGSN?        "\r\n^DGSN: <imei>\r\n\r\nOK\r\n"
//   AT^DMSN=<number>      the board number    AT^DMSN         ^DMSN: <number>
//   AT^DMPCHN=<n>         the channel         AT^DCMR=17|18   ^DCMR: 17,<version of layer 1 or protocol in hexadecimal>
//   AT^DSWAMT=<n>         the mode            AT^DMCC?        ^DMCC: <SIMs>,<standbys>,<RF sets>,<technology>
//   AT^DATOMW=<station>,<result>[,<text>]     AT^DTOC         ^DTOC: <SIM type>
//     what station 1..20 found                AT^DMFD??       ^DMFD: <factory date>
//   AT^DATOMR=1,<station>                     ^DATOMR: <station>,<result>[,<text>]
//   AT^DTTEST=<hexadecimal>                   ^DTTEST: <hexadecimal>; handset/modem/radio.h
//   anything else         -> ERROR
//
// A wrapped frame n is answered by frame n + 1 with the result in integer atom 1; 5 writes the IMEI (string atom 21),
// 87 the board number (string atom 38), 7 and 85 read them back in the same atoms.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "capture/writer.h"
#include "handset/modem/state.h"
#include "handset/wire/text-log.h"
#include "pub/util/fd.h"

namespace handset {

class event_loop;

// data: the link whose output reaches the PC; wrapped frames and AT text. at: the link for the service's own questions.
// The modem understands the same on both.
enum class modem_link { data, at };

class modem {
 public:
  // The loop must have stopped before the modem is destroyed.
  explicit modem(event_loop& loop);
  ~modem();
  modem(const modem&) = delete;
  modem& operator=(const modem&) = delete;

  modem_state state() const;
  void change_state(const std::function<void(modem_state&)>& change);
  modem_switches switches() const;
  void change_switches(const std::function<void(modem_switches&)>& change);
  // Both in one step.
  void change(const std::function<void(modem_switches&, modem_state&)>& change);

  // Every byte that came from the service.
  const text_log& received(modem_link link = modem_link::data) const;
  // Sends bytes as they are, besides the answers.
  void say(std::string_view bytes, modem_link link = modem_link::data);
  // What passes on both links is kept there from now on, under the phone's name. Borrowed.
  void set_capture(capture_writer_st* writer, const std::string& phone);
  // The link breaks: the service's side gets a hang-up. attach() plugs a new pseudo-terminal's master in.
  void hang_up(modem_link link = modem_link::data);
  void attach(pub_fd master, modem_link link = modem_link::data);
  bool attached(modem_link link = modem_link::data) const;

 private:
  struct inside;
  std::unique_ptr<inside> m_inside;
};

}  // namespace handset
