// The frames and lines of text in the pieces of a capture. Each link of each phone has a stream in each direction: the
// pieces say nothing about where a frame begins or ends. Pure.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <tuple>

#include "capture/entry.h"
#include "capture/stream.h"

struct capture_item_st {
  std::int64_t m_time_us;  // of the piece that completed the item
  std::int64_t m_monotonic_ns;
  capture_direction_en m_direction;
  capture_link_en m_link;
  std::string m_phone;
  std::size_t m_line;     // of that piece
  stream_item_st m_item;  // borrowed, valid during the call of the sink
};

class capture_items_st {
 public:
  using sink = std::function<void(const capture_item_st&)>;

  explicit capture_items_st(sink to) : m_sink(std::move(to)) {}

  // The next piece. What the pieces before it left unfinished is an item as it is when nothing more of it came for a
  // second.
  void take(const capture_entry_st& entry, std::size_t line);
  // Nothing more comes now: what is unfinished becomes items as it is.
  void flush();

 private:
  struct stream_st {
    stream_splitter_st m_splitter;
    capture_item_st m_last{};  // the latest piece's place
  };
  using key = std::tuple<std::string, capture_link_en, capture_direction_en>;

  void flush_quiet(std::int64_t now_ns);
  void flush_line(const capture_entry_st& entry);
  void flush(stream_st* stream);
  void feed(stream_st* stream, std::span<const std::uint8_t> bytes);
  void hand_on(const stream_st& stream, const stream_item_st& item);

  sink m_sink;
  std::map<key, stream_st> m_streams;
};

// How the bytes of a link are cut into items.
stream_form_en capture_form(capture_link_en link);

// A line without text says nothing.
bool capture_is_blank(const stream_item_st& item);
