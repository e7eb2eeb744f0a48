#include "capture/script.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "amt/amt-convert/ids.h"

namespace {

constexpr std::size_t LOOK_AHEAD = 64;                                  // requests that a station may have left out
constexpr std::int64_t LONGEST_PAUSE_NS = 24LL * 3600 * 1'000'000'000;  // a capture's clock may jump

std::optional<std::uint8_t> frame_id(const stream_item_st& item) {
  const auto payload = stream_payload(item);
  if (payload.empty()) return std::nullopt;
  amt_frame_st frame{};
  std::ranges::copy(payload, frame.begin());
  return amt_frame_command_id(&frame);
}

// A line feed after the carriage return may have come apart from its line.
std::string text_of(const stream_item_st& item) {
  std::string text(item.m_bytes.begin(), item.m_bytes.end());
  std::erase(text, '\n');
  return text;
}

bool is_same(const stream_item_st& one, const stream_item_st& other) {
  if (one.m_kind != other.m_kind) return false;
  if (one.m_kind == stream_kind_en::TEXT) return text_of(one) == text_of(other);
  return std::ranges::equal(one.m_bytes, other.m_bytes);
}

// "AT^DBTADDR" of "AT^DBTADDR=1".
std::string command_of(const stream_item_st& item) {
  const std::string line = stream_line(item.m_bytes);
  return line.substr(0, line.find_first_of("=?"));
}

// Whether it is the same request with other values.
bool is_alike(const stream_item_st& one, const stream_item_st& other) {
  if (one.m_kind != other.m_kind) return false;
  if (one.m_kind == stream_kind_en::TEXT) return command_of(one) == command_of(other);
  return one.m_kind == stream_kind_en::FRAME && frame_id(one) && frame_id(one) == frame_id(other);
}

std::string hex_text(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t MOST = 256;
  const auto shown = bytes.first(std::min(bytes.size(), MOST));
  return fmt::format("{:02X}{}", fmt::join(shown, ""), shown.size() < bytes.size() ? "..." : "");
}

std::string shown(const stream_item_st& item) {
  const auto id = frame_id(item);
  if (id) return fmt::format("frame {} {} {}", *id, amt_command_name(*id), hex_text(item.m_bytes));
  std::string text;
  if (item.m_kind == stream_kind_en::TEXT) {
    for (const char one : stream_line(item.m_bytes)) text += one >= 0x20 && one < 0x7F ? one : '.';
    text = fmt::format("text \"{}\" ", text);
  }
  return text + hex_text(item.m_bytes);
}

std::size_t first_difference(std::span<const std::uint8_t> one, std::span<const std::uint8_t> other) {
  return static_cast<std::size_t>(std::ranges::mismatch(one, other).in1 - one.begin());
}

}  // namespace

capture_script_st::capture_script_st(const std::vector<capture_numbered_st>& entries, capture_link_en link) {
  capture_items_st items([this](const capture_item_st& item) {
    if (item.m_direction == capture_direction_en::SENT)
      m_steps.push_back({capture_kept_st(item), {}, item.m_monotonic_ns, item.m_line});
  });
  for (const auto& [entry, line] : entries) {
    if (entry.m_link != link) continue;
    items.take(entry, line);
    if (entry.m_direction == capture_direction_en::RECEIVED)
      m_steps.push_back({std::nullopt, entry.m_bytes, entry.m_monotonic_ns, line});
  }
  items.flush();
}

std::optional<capture_script_st::answer_st> capture_script_st::answer() const {
  if (is_over() || m_steps[m_next].m_request) return std::nullopt;
  const std::int64_t before = m_next == 0 ? m_steps[0].m_monotonic_ns : m_steps[m_next - 1].m_monotonic_ns;
  const std::int64_t pause = m_steps[m_next].m_monotonic_ns - before;
  return answer_st{m_steps[m_next].m_answer, std::clamp<std::int64_t>(pause, 0, LONGEST_PAUSE_NS)};
}

void capture_script_st::said() {
  if (!is_over()) ++m_next;
}

std::optional<std::size_t> capture_script_st::find(const stream_item_st& item, bool is_exact) const {
  std::size_t requests = 0;
  for (std::size_t n = m_next; n < m_steps.size() && requests < LOOK_AHEAD; ++n) {
    if (!m_steps[n].m_request) continue;
    ++requests;
    const stream_item_st other = m_steps[n].m_request->item().m_item;
    if (is_exact ? is_same(item, other) : is_alike(item, other)) return n;
  }
  return std::nullopt;
}

std::string capture_script_st::take(const stream_item_st& item) {
  if (is_over()) return fmt::format("after the end of the capture came {}", shown(item));
  std::size_t place = m_next;
  while (place < m_steps.size() && !m_steps[place].m_request) ++place;
  if (place == m_steps.size()) return fmt::format("where the capture has no more requests came {}", shown(item));
  const step_st& expected = m_steps[place];
  const stream_item_st wanted = expected.m_request->item().m_item;
  if (is_same(item, wanted)) {
    m_next = place + 1;
    return {};
  }
  std::string difference =
      fmt::format("line {} of the capture\n  has  {}\n  came {}\n", expected.m_line, shown(wanted), shown(item));
  auto found = find(item, true);
  if (!found) found = find(item, false);
  if (!found) return difference + "  (it is like no request that follows, and gets no answer)";
  difference += *found == place ? fmt::format("  (the first byte that differs is number {})",
                                              first_difference(wanted.m_bytes, item.m_bytes) + 1)
                                : fmt::format("  (line {} is taken for it)", m_steps[*found].m_line);
  m_next = *found + 1;
  return difference;
}

std::vector<std::string> capture_script_st::first_requests(std::size_t count) const {
  std::vector<std::string> requests;
  for (const auto& step : m_steps) {
    if (requests.size() == count) break;
    if (step.m_request) requests.push_back(stream_line(step.m_request->item().m_item.m_bytes));
  }
  return requests;
}
