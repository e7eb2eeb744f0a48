#include "station/capture/compare.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <set>

#include "station/wire/atoms.h"
#include "station/wire/decoded.h"
#include "station/wire/render.h"

namespace {

using bytes_view = std::span<const std::uint8_t>;

// The value as a rule's expression sees it: a number, a text without the line ends around it, or hexadecimal digits.
std::string plain_value(const amt_atom_st& atom) {
  if (atom.m_type == AMT_ATOM_INT && atom.m_value.size() == 4)
    return std::to_string(static_cast<std::int32_t>(amt_read_u32(atom.m_value.data())));
  if (atom.m_type == AMT_ATOM_FLAG && atom.m_value.size() == 1) return std::to_string(atom.m_value[0]);
  const auto is_plain = [](std::uint8_t byte) { return (byte >= 0x20 && byte < 0x7F) || byte == '\r' || byte == '\n'; };
  if (std::ranges::all_of(atom.m_value, is_plain)) return stream_line(atom.m_value);
  return fmt::format("{:02X}", fmt::join(atom.m_value, ""));
}

std::string shown_value(const amt_atom_st& atom) {
  constexpr std::size_t MOST = 200;
  std::string text = station_quote(plain_value(atom));
  if (text.size() > MOST) text = text.substr(0, MOST) + "...";
  return text;
}

std::string name_of(std::uint8_t id) {
  const char* name = station_atom_name(id);
  return *name == '\0' ? fmt::format("atom {}", id) : fmt::format("atom {} ({})", id, name);
}

bool is_same(const amt_atom_st& before, const amt_atom_st& now) {
  return before.m_type == now.m_type && std::ranges::equal(before.m_value, now.m_value);
}

// Atoms are matched by their id and by how often it came before.
using atom_list = std::vector<amt_atom_st>;
const amt_atom_st* find(const atom_list& atoms, std::uint8_t id, std::size_t nth) {
  for (const auto& atom : atoms) {
    if (atom.m_id == id && nth-- == 0) return &atom;
  }
  return nullptr;
}

std::size_t count_before(const atom_list& atoms, std::size_t n) {
  return static_cast<std::size_t>(std::count_if(atoms.begin(), atoms.begin() + static_cast<std::ptrdiff_t>(n),
                                                [&](const auto& one) { return one.m_id == atoms[n].m_id; }));
}

std::vector<std::string> compare_atoms(std::uint8_t id, const atom_list& before, const atom_list& now,
                                       const replay_rules_st& rules) {
  std::vector<std::string> differences;
  for (std::size_t n = 0; n < before.size(); ++n) {
    const amt_atom_st* other = find(now, before[n].m_id, count_before(before, n));
    if (other == nullptr) {
      differences.push_back(fmt::format("{} is missing", name_of(before[n].m_id)));
    } else if (!is_same(before[n], *other) &&
               !replay_allows_atom(rules, id, before[n].m_id, plain_value(before[n]), plain_value(*other))) {
      differences.push_back(fmt::format("{}: {} in the capture, {} now", name_of(before[n].m_id),
                                        shown_value(before[n]), shown_value(*other)));
    }
  }
  for (std::size_t n = 0; n < now.size(); ++n) {
    if (find(before, now[n].m_id, count_before(now, n)) == nullptr)
      differences.push_back(fmt::format("{} is new: {}", name_of(now[n].m_id), shown_value(now[n])));
  }
  const auto same_id = [](const amt_atom_st& one, const amt_atom_st& other) { return one.m_id == other.m_id; };
  if (differences.empty() && !std::ranges::equal(before, now, same_id))
    differences.emplace_back("the atoms stand in another order");
  return differences;
}

std::vector<std::string> compare_frames(const stream_item_st& before, const stream_item_st& now,
                                        const replay_rules_st& rules) {
  if (before.m_fault != now.m_fault) return {"one of them is damaged"};
  amt_frame_st before_frame;
  amt_frame_st now_frame;
  const auto one = station_decode_frame(stream_payload(before), &before_frame);
  const auto other = station_decode_frame(stream_payload(now), &now_frame);
  if (stream_payload(before).empty() || stream_payload(now).empty()) return {"the bytes differ"};
  if (one.m_id != other.m_id) return {fmt::format("frame {} in the capture, frame {} now", one.m_id, other.m_id)};
  // What is no atom has no rule.
  const auto rest_of = [](const stream_item_st& item, const station_decoded_st& decoded) {
    const bytes_view payload = stream_payload(item);
    return payload.subspan(payload.size() - decoded.m_rest);
  };
  if (!std::ranges::equal(rest_of(before, one), rest_of(now, other))) return {"the bytes after the last atom differ"};
  return compare_atoms(one.m_id, one.m_atoms, other.m_atoms, rules);
}

// Blank lines before a line belong to it, and may have come apart from it.
std::vector<std::string> compare_texts(const stream_item_st& before, const stream_item_st& now,
                                       const replay_rules_st& rules) {
  const std::string one = stream_line(before.m_bytes);
  const std::string other = stream_line(now.m_bytes);
  if (one == other || replay_allows_text(rules, one, other)) return {};
  return {"the text differs"};
}

std::vector<std::string> lateness(const capture_item_st& before, const capture_item_st& now,
                                  const replay_rules_st& rules) {
  if (!rules.m_late) return {};
  const std::chrono::nanoseconds late{now.m_monotonic_ns - before.m_monotonic_ns};
  if (late <= *rules.m_late) return {};
  return {fmt::format("it came {} ms later than in the capture",
                      std::chrono::duration_cast<std::chrono::milliseconds>(late).count())};
}

replay_pair_st pair_of(const capture_kept_st& before, const capture_kept_st& now, const replay_rules_st& rules) {
  auto differences = replay_compare(before.item().m_item, now.item().m_item, rules);
  if (differences.empty()) differences = lateness(before.item(), now.item(), rules);
  return {&before, &now, std::move(differences)};
}

}  // namespace

std::vector<std::string> replay_compare(const stream_item_st& before, const stream_item_st& now,
                                        const replay_rules_st& rules) {
  if (before.m_kind != now.m_kind) return {"they are of different kinds"};
  if (std::ranges::equal(before.m_bytes, now.m_bytes)) return {};
  if (before.m_kind == stream_kind_en::TEXT) return compare_texts(before, now, rules);
  if (before.m_kind == stream_kind_en::FRAME) return compare_frames(before, now, rules);
  return {"the bytes differ"};
}

std::vector<replay_pair_st> replay_align(const std::vector<capture_kept_st>& before,
                                         const std::vector<capture_kept_st>& now, const replay_rules_st& rules) {
  const auto is_alike = [&](std::size_t one, std::size_t other) {
    return replay_compare(before[one].item().m_item, now[other].item().m_item, rules).empty();
  };
  const std::size_t most = std::min(before.size(), now.size());
  std::size_t front = 0;
  while (front < most && is_alike(front, front)) ++front;
  std::size_t back = 0;
  while (back < most - front && is_alike(before.size() - 1 - back, now.size() - 1 - back)) ++back;
  std::vector<replay_pair_st> pairs;
  const std::size_t middle = most - front - back;
  for (std::size_t n = 0; n < front + middle; ++n) pairs.push_back(pair_of(before[n], now[n], rules));
  for (std::size_t n = front + middle; n < before.size() - back; ++n)
    pairs.push_back({&before[n], nullptr, {"it did not come"}});
  for (std::size_t n = front + middle; n < now.size() - back; ++n)
    pairs.push_back({nullptr, &now[n], {"the capture has nothing like it here"}});
  for (std::size_t n = back; n > 0; --n)
    pairs.push_back(pair_of(before[before.size() - n], now[now.size() - n], rules));
  return pairs;
}
