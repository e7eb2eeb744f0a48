// The radio requests of "AT^DTTEST=", as the modem sees them: bytes in, bytes out, and a radio_state between them.
//
//   request   u8 id, then the values of its atoms one after the other, integers little-endian, nothing between them;
//             only for 151 each value has its u16 length, little-endian, before it
//   response  u8 id, i32 result (big-endian), then the values that belong to the id: integers big-endian, byte strings
//             after their length, u32 or u16 little-endian
//
//    5 IMEI        87 board number                       keeps it
//    7, 45, 77, 99                                       IMEI; version (of module i32); serial number; is there a SIM
//   11 frequency, power (none, one or both)  13          transmitter on, off
//   15 power       17 frequency                          of the transmitter
//   19 frequency (or none)                   21          receiver on, off
//   23, 25, 59                                           received data, IQ power, RF ADC
//   27 frequency                                         of the receiver
//   47, 113 number    49, 115 number, bytes              reads, writes a table in memory
//   61 number         63 number, bytes                   reads, writes a table in flash
//   109 number                                           is there such a table in flash
//   107, 153 number   101, 111, 155 number               flash to memory, memory to flash; all tables without a number
//   105, 151, 221 bytes                                  the bytes, back
//
// Every other request is kept in `settings` and answered with its result. The answer to n is n + 1; 221 answers
// itself. A request that cannot be done, or whose values are not as above, has result 1 and nothing after it.
#pragma once

#include <string>
#include <string_view>

#include "handset/modem/state.h"

namespace handset {

// request: at least one byte.
std::string answer_radio(modem_state& state, const modem_switches& switches, std::string_view request);

}  // namespace handset
