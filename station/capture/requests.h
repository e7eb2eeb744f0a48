// Room `capture` of the station: what is done with a capture file. Decoding and its filters, the comparison of a
// replay, export, and the bridge that writes one between two ports.
//
// Which requests of a capture have no answer. A phone answers the frames of a link in their order, and so do its AT
// commands: a request is without an answer when a later one of its kind was answered, or the capture ends. Pure.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "capture/kept.h"

struct capture_request_st {
  capture_kept_st m_kept;
  std::optional<std::int64_t> m_since_ns;  // since the item before it
};

class capture_requests_st {
 public:
  using sink = std::function<void(const capture_item_st&, std::optional<std::int64_t> since_ns)>;

  explicit capture_requests_st(sink unanswered) : m_unanswered(std::move(unanswered)) {}

  // A request is kept. For an answer: the id of the frame that it answers; 0 for AT text; none where it answers
  // nothing.
  std::optional<std::uint8_t> take(const capture_item_st& item, std::optional<std::int64_t> since_ns);
  // The capture ends.
  void finish();

 private:
  using key = std::pair<std::string, capture_link_en>;

  std::optional<std::uint8_t> answer(const capture_item_st& item);

  sink m_unanswered;
  std::map<key, std::deque<capture_request_st>> m_open;
};

// The id of a frame; none for everything else, and where too little of the frame is there.
std::optional<std::uint8_t> capture_frame_id(const stream_item_st& item);
