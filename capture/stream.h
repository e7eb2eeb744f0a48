// Cuts the byte stream of a link into its items. On a PC link the phone mixes wrapped frames and lines of AT text on
// one tty. The tty splits and joins them at any place, so no read can be taken for a message.
//
// Policy: a frame is what starts with the magic. Its length field gives its end. Its checksum is checked here, because
// no later reader checks it. After a damaged frame the search goes on at the next magic inside it, so that one false
// length does not swallow the frames after it. Everything else on a PC link is lines; a line with control bytes, or
// that is not UTF-8, is noise. The application's link carries bare frames and nothing else: there a frame is what
// starts with a head whose two lengths agree, and every other byte is noise. Every byte fed comes out in exactly one
// item, and the items do not depend on how the bytes were split. Pure: no descriptor, no clock, no allocation, a
// buffer of fixed size.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "amt/amt-convert/wrap.h"

// What kind of link the bytes come from.
enum class stream_form_en {
  WRAPPED,  // the PC link: wrapped frames and lines of text
  BARE,     // the application's link: bare frames
};

enum class stream_kind_en {
  FRAME,         // a frame, or what is left of one
  PRE_RESPONSE,  // the phone's "request arrived"
  TEXT,          // one line with the line ends around it
  NOISE,         // a line that is no text; on the application's link, bytes that are no frame
};

enum class stream_fault_en {
  NONE,
  CHECKSUM,    // the checksum is not that of the bytes
  LENGTH,      // the length field cannot be right; the item is the magic and the length
  HEAD,        // the envelope is right, but the bare frame's own head contradicts it
  INCOMPLETE,  // the rest of the frame did not come
};

struct stream_item_st {
  stream_kind_en m_kind;
  stream_fault_en m_fault;                // of a frame
  std::span<const std::uint8_t> m_bytes;  // as received; borrowed, valid during the call of the sink
  stream_form_en m_form = stream_form_en::WRAPPED;
};

using stream_sink = std::function<void(const stream_item_st&)>;

// What the splitter holds back. This decides how long it is worth waiting for more.
enum class stream_pending_en {
  NOTHING,
  LINE_FEED,  // a line that ended in CR; only the LF that may belong to it is open
  LINE,       // part of a line
  PART,       // part of a frame
};

class stream_splitter_st {
 public:
  explicit stream_splitter_st(stream_form_en form = stream_form_en::WRAPPED) : m_form(form) {}

  // Takes any number of bytes; calls the sink for each item that is complete.
  void feed(std::span<const std::uint8_t> bytes, const stream_sink& sink);
  // Nothing more will come: what is held back becomes items as it is.
  void flush(const stream_sink& sink);
  stream_pending_en pending() const;

 private:
  void drain(bool is_last, const stream_sink& sink);

  stream_form_en m_form;
  // The largest frame of either form fits; a line that fills it is cut there.
  std::array<std::uint8_t, AMT_FRAME_SIZE> m_buffer_a{};
  std::size_t m_size = 0;
};

// An item's text without the line ends around it.
std::string stream_line(std::span<const std::uint8_t> bytes);

// The bare frame inside a frame item; empty when too little of it is there.
std::span<const std::uint8_t> stream_payload(const stream_item_st& item);
