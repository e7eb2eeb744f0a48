#include "capture/stream.h"

#include <algorithm>
#include <optional>

namespace {

using bytes_view = std::span<const std::uint8_t>;
using found_item = std::optional<stream_item_st>;

constexpr std::uint8_t MAGIC[] = {0xAA, 0xBB, 0xCC, 0xDD};
constexpr std::size_t LENGTH_END = 8;   // magic and length field
constexpr std::size_t LENGTH_MORE = 8;  // the length field is the frame size plus 8; the whole is 8 longer still

bool is_line_end(std::uint8_t byte) {
  return byte == '\r' || byte == '\n';
}

constexpr std::size_t HEAD_MARK_END = 3;  // a bare frame's length, and the mark after it

// How many bytes of the magic the bytes start with; a shorter match counts only where the bytes end.
std::size_t magic_match(bytes_view bytes) {
  const std::size_t count = std::min(bytes.size(), std::size(MAGIC));
  return std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count), std::begin(MAGIC)) ? count : 0;
}

// The first place after the first byte where a frame may start; the size when there is none.
std::size_t next_magic(bytes_view bytes) {
  std::size_t at = 1;
  while (at < bytes.size() && magic_match(bytes.subspan(at)) == 0) ++at;
  return at;
}

std::size_t utf8_length(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

bool is_text(bytes_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const std::uint8_t byte = bytes[at];
    const bool is_control = (byte < 0x20 && byte != '\t' && !is_line_end(byte)) || byte == 0x7F;
    const std::size_t length = utf8_length(byte);
    if (is_control || length == 0 || length > bytes.size() - at) return false;
    for (std::size_t more = 1; more < length; ++more) {
      if ((bytes[at + more] & 0xC0) != 0x80) return false;
    }
    at += length;
  }
  return true;
}

stream_item_st line_item(bytes_view bytes) {
  return {is_text(bytes) ? stream_kind_en::TEXT : stream_kind_en::NOISE, stream_fault_en::NONE, bytes};
}

stream_item_st frame_item(bytes_view bytes, stream_fault_en fault) {
  return {stream_kind_en::FRAME, fault, bytes};
}

bool has_right_checksum(bytes_view bytes) {
  const std::size_t covered = bytes.size() - AMT_WRAP_CHECKSUM_SIZE;
  return amt_read_u32(bytes.data() + covered) == amt_wrap_checksum(bytes.first(covered));
}

bool has_right_head(bytes_view frame) {
  return frame.size() >= AMT_FRAME_HEAD_SIZE && frame[2] == AMT_COMMAND_HEAD &&
         amt_read_u16(frame.data()) == frame.size() &&
         amt_read_u16(frame.data() + 4) == frame.size() - AMT_FRAME_HEAD_SIZE;
}

stream_item_st whole_frame(bytes_view bytes) {
  if (!has_right_checksum(bytes)) return frame_item(bytes.first(next_magic(bytes)), stream_fault_en::CHECKSUM);
  if (std::ranges::equal(bytes, AMT_PRE_RESPONSE)) {
    return {stream_kind_en::PRE_RESPONSE, stream_fault_en::NONE, bytes};
  }
  const bytes_view frame = bytes.subspan(AMT_WRAP_HEAD_SIZE, bytes.size() - AMT_WRAP_SIZE);
  return frame_item(bytes, has_right_head(frame) ? stream_fault_en::NONE : stream_fault_en::HEAD);
}

// The item at the front of bytes that start with the magic; none while more of it may come.
found_item first_frame(bytes_view bytes, bool is_last) {
  if (bytes.size() >= LENGTH_END) {
    const std::uint32_t length = amt_read_u32(bytes.data() + std::size(MAGIC));
    if (length < LENGTH_MORE || length > AMT_FRAME_SIZE - LENGTH_MORE) {
      return frame_item(bytes.first(LENGTH_END), stream_fault_en::LENGTH);
    }
    const std::size_t total = length + LENGTH_MORE;
    if (bytes.size() >= total) return whole_frame(bytes.first(total));
  }
  if (!is_last) return std::nullopt;
  if (bytes.size() < std::size(MAGIC)) return line_item(bytes);
  return frame_item(bytes.first(next_magic(bytes)), stream_fault_en::INCOMPLETE);
}

// The end of the line; `at` is its first line-end byte after the text. 0 when the next byte must be seen first.
std::size_t line_end(bytes_view bytes, std::size_t at, bool is_last) {
  if (bytes[at] == '\n') return at + 1;
  if (at + 1 == bytes.size()) return is_last ? at + 1 : 0;
  return bytes[at + 1] == '\n' ? at + 2 : at + 1;
}

// The line at the front of bytes: blank lines before it belong to it, as in "\r\nOK\r\n".
found_item first_line(bytes_view bytes, bool is_last) {
  std::size_t at = 0;
  while (at < bytes.size() && is_line_end(bytes[at])) ++at;
  for (; at < bytes.size(); ++at) {
    const std::size_t match = magic_match(bytes.subspan(at));
    if (match == std::size(MAGIC) || (match != 0 && is_last)) return line_item(bytes.first(at));
    if (is_line_end(bytes[at])) {
      const std::size_t end = line_end(bytes, at, is_last);
      return end == 0 ? std::nullopt : found_item(line_item(bytes.first(end)));
    }
  }
  return is_last ? found_item(line_item(bytes)) : std::nullopt;
}

stream_item_st bare_item(stream_kind_en kind, stream_fault_en fault, bytes_view bytes) {
  return {kind, fault, bytes, stream_form_en::BARE};
}

// Whether a bare frame may start here, as far as its head can be seen.
bool may_be_bare_head(bytes_view bytes) {
  const std::size_t size = bytes.size();
  if (size < HEAD_MARK_END) return true;
  const std::uint16_t total = amt_read_u16(bytes.data());
  if (bytes[2] != AMT_COMMAND_HEAD || total < AMT_FRAME_HEAD_SIZE || total > AMT_FRAME_SIZE) return false;
  return size < AMT_FRAME_HEAD_SIZE || amt_read_u16(bytes.data() + 4) == total - AMT_FRAME_HEAD_SIZE;
}

// The first place after the first byte where a bare frame may start: a head of which at least so many bytes are there.
std::size_t next_bare_head(bytes_view bytes, std::size_t least) {
  for (std::size_t at = 1; at + least <= bytes.size(); ++at) {
    if (may_be_bare_head(bytes.subspan(at))) return at;
  }
  return bytes.size();
}

// The bytes up to the next frame, which are no frame themselves. They are held back until a whole head follows them, so
// that the items do not depend on how the bytes came. A full buffer keeps its last two bytes, which may open a head.
found_item bare_noise(bytes_view bytes, bool is_last) {
  std::size_t at = next_bare_head(bytes, is_last ? HEAD_MARK_END : AMT_FRAME_HEAD_SIZE);
  if (at == bytes.size() && !is_last) return std::nullopt;
  if (at == AMT_FRAME_SIZE) at -= HEAD_MARK_END - 1;
  return bare_item(stream_kind_en::NOISE, stream_fault_en::NONE, bytes.first(at));
}

// The item at the front of an application link's bytes.
found_item first_bare_item(bytes_view bytes, bool is_last) {
  if (!may_be_bare_head(bytes)) return bare_noise(bytes, is_last);
  const bool is_head = bytes.size() >= AMT_FRAME_HEAD_SIZE;
  const std::size_t total = is_head ? amt_read_u16(bytes.data()) : AMT_FRAME_SIZE;
  if (is_head && bytes.size() >= total) {
    return bare_item(stream_kind_en::FRAME, stream_fault_en::NONE, bytes.first(total));
  }
  if (!is_last) return std::nullopt;
  if (bytes.size() < HEAD_MARK_END) return bare_noise(bytes, is_last);
  const bytes_view part = bytes.first(next_bare_head(bytes, AMT_FRAME_HEAD_SIZE));
  return bare_item(stream_kind_en::FRAME, stream_fault_en::INCOMPLETE, part);
}

found_item first_item(bytes_view bytes, bool is_last, stream_form_en form) {
  if (form == stream_form_en::BARE) return first_bare_item(bytes, is_last);
  return magic_match(bytes) != 0 ? first_frame(bytes, is_last) : first_line(bytes, is_last);
}

}  // namespace

void stream_splitter_st::feed(std::span<const std::uint8_t> bytes, const stream_sink& sink) {
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), m_buffer_a.size() - m_size);
    std::ranges::copy(bytes.first(count), m_buffer_a.begin() + static_cast<std::ptrdiff_t>(m_size));
    m_size += count;
    bytes = bytes.subspan(count);
    drain(false, sink);
  }
}

void stream_splitter_st::flush(const stream_sink& sink) {
  drain(true, sink);
}

stream_pending_en stream_splitter_st::pending() const {
  const bytes_view bytes{m_buffer_a.data(), m_size};
  if (m_form == stream_form_en::BARE) return bytes.empty() ? stream_pending_en::NOTHING : stream_pending_en::PART;
  if (std::ranges::all_of(bytes, is_line_end)) return stream_pending_en::NOTHING;
  if (magic_match(bytes) != 0) return stream_pending_en::PART;
  return bytes.back() == '\r' ? stream_pending_en::LINE_FEED : stream_pending_en::LINE;
}

void stream_splitter_st::drain(bool is_last, const stream_sink& sink) {
  std::size_t done = 0;
  while (done < m_size) {
    const bytes_view rest{m_buffer_a.data() + done, m_size - done};
    // A full buffer cannot take what would complete the item, so it is cut.
    const auto item = first_item(rest, is_last || rest.size() == m_buffer_a.size(), m_form);
    if (!item) break;
    sink(*item);
    done += item->m_bytes.size();
  }
  std::copy(m_buffer_a.begin() + static_cast<std::ptrdiff_t>(done),
            m_buffer_a.begin() + static_cast<std::ptrdiff_t>(m_size), m_buffer_a.begin());
  m_size -= done;
}

std::string stream_line(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty() && is_line_end(bytes.front())) bytes = bytes.subspan(1);
  while (!bytes.empty() && is_line_end(bytes.back())) bytes = bytes.first(bytes.size() - 1);
  return {bytes.begin(), bytes.end()};
}

std::span<const std::uint8_t> stream_payload(const stream_item_st& item) {
  if (item.m_kind != stream_kind_en::FRAME) return {};
  if (item.m_form == stream_form_en::BARE)
    return item.m_bytes.size() < AMT_FRAME_HEAD_SIZE ? bytes_view{} : item.m_bytes;
  if (item.m_bytes.size() <= AMT_WRAP_HEAD_SIZE) return {};
  bytes_view payload = item.m_bytes.subspan(AMT_WRAP_HEAD_SIZE);
  // The last four bytes are the checksum only where the frame came whole.
  if (item.m_bytes.size() == amt_read_u32(item.m_bytes.data() + std::size(MAGIC)) + LENGTH_MORE) {
    payload = payload.first(payload.size() - AMT_WRAP_CHECKSUM_SIZE);
  }
  return payload.size() < AMT_FRAME_HEAD_SIZE ? bytes_view{} : payload;
}
