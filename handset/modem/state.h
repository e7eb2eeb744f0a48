// What the simulated modem remembers, and how it behaves. Both links share one of each.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace handset {

// A radio that radiates nothing. Frequencies and powers are whatever numbers it is given.
struct radio_state {
  bool transmitting = false;
  bool receiving = false;
  std::uint32_t tx_frequency = 0;
  std::uint32_t tx_power = 0;
  std::uint32_t rx_frequency = 0;
  std::map<std::uint32_t, std::string> memory_tables;  // a real modem loses them with its power
  std::map<std::uint32_t, std::string> flash_tables;
  std::map<std::uint8_t, std::string> settings;  // request id -> the last values of a request that does nothing else
};

struct station_verdict {
  std::string result = "0";
  std::string description;
};

struct modem_state {
  std::string imei;
  std::string board_number;
  std::string channel;
  std::string l1_version = "L1-1.0";    // of layer 1
  std::string hls_version = "HLS-1.0";  // of the protocol stack
  std::string support = "2,2,1,3";      // SIMs, standbys, sets of RF, radio technology of standby 0
  std::string sim_type = "1";           // 1 or 2: there is a card
  std::string factory_date = "20130121";
  std::string amt_mode;
  std::map<int, station_verdict> verdicts;  // station 1..20 -> what it found
  radio_state radio;
  std::uint64_t at_lines = 0;
  std::uint64_t frames = 0;
  std::uint64_t noise_bytes = 0;  // bytes that were neither AT text nor part of a frame
};

// All off: it answers at once and in one piece.
struct modem_switches {
  bool silent = false;                      // takes everything in, does and answers nothing
  bool echo = false;                        // sends every byte back unchanged instead of understanding it
  bool refuse = false;                      // answers `refusal`, or a frame with result 1, and keeps nothing
  std::string refusal = "ERROR";            // the final result of a refused line, e.g. "+CME ERROR: 100"
  std::uint32_t radio_result = 0;           // not 0: the result of every radio request, and nothing is done
  std::chrono::milliseconds delay{0};       // waits so long before each answer
  std::size_t split = 0;                    // sends answers in pieces of so many bytes; 0: whole
  std::chrono::milliseconds gap{20};        // the pause between two such pieces
  std::chrono::milliseconds patience{300};  // an unfinished line or frame that long without more bytes is noise
};

}  // namespace handset
