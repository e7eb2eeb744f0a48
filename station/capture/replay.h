// The station's side of a capture, sent to a phone again; what the phone answers is held against the capture.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "capture/kept.h"
#include "capture/reader.h"
#include "station/capture/compare.h"
#include "station/wire/link.h"

// What is sent at once, and what the capture has until the next is sent. The bytes are those that the station wrote, in
// its pieces: a request may be damaged on purpose.
struct replay_turn_st {
  struct piece_st {
    std::vector<std::uint8_t> m_bytes;
    std::int64_t m_monotonic_ns;
  };
  std::vector<piece_st> m_sent;
  std::size_t m_line = 0;  // of the first piece
  std::vector<capture_kept_st> m_answers;
};

// The turns of one link. Pure.
std::vector<replay_turn_st> replay_turns(const std::vector<capture_numbered_st>& entries, capture_link_en link);

struct replay_options_st {
  replay_rules_st m_rules;
  std::chrono::milliseconds m_timeout{5000};  // for an answer, beyond what it took in the capture
  bool m_keeps_times = false;                 // send no sooner than in the capture
};

struct replay_counts_st {
  std::size_t m_turns = 0;
  std::size_t m_answers = 0;
  std::size_t m_different = 0;
};

class replay_st {
 public:
  using on_turn = std::function<void(const replay_turn_st&, const std::vector<replay_pair_st>&)>;

  // The link is open; it and the options are borrowed. `show` gets each turn with its answers, side by side.
  replay_st(station_link_st* link, capture_link_en name, const replay_options_st& options, on_turn show);

  // STATION_OK, STATION_DIFFERENT, or how the link failed.
  station_exit_en run(const std::vector<replay_turn_st>& turns, int stop_fd);
  const replay_counts_st& counts() const { return m_counts; }

 private:
  station_exit_en send(const replay_turn_st& turn, int stop_fd);
  station_exit_en receive(const replay_turn_st& turn);
  station_exit_en receive_for(std::chrono::milliseconds time);
  station_exit_en read(station_time until);
  void feed(std::span<const std::uint8_t> bytes);
  void keep(const stream_item_st& item);
  void close_turn(const replay_turn_st& turn);

  station_link_st* m_link;
  capture_link_en m_name;
  const replay_options_st& m_options;
  on_turn m_show;
  stream_splitter_st m_splitter;
  std::vector<capture_kept_st> m_received;  // of this turn
  std::int64_t m_shift_ns = 0;              // from the time of the capture to that of the replay, for this turn
  replay_counts_st m_counts;
};
