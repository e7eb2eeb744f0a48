// The comparison of a replay, in both directions: nothing differs from itself, each item stands in one pair, and a
// script goes on to its end whatever a station sends.
#include <algorithm>
#include <vector>

#include "capture/script.h"
#include "station/capture/compare.h"
#include "station/capture/replay.h"
#include "tests/fuzz/fuzz.h"

namespace {

std::vector<capture_kept_st> items_of(fuzz_bytes bytes, capture_link_en link) {
  std::vector<capture_kept_st> kept;
  capture_items_st items([&](const capture_item_st& item) { kept.emplace_back(item); });
  items.take({0, 0, capture_direction_en::RECEIVED, link, "", {bytes.begin(), bytes.end()}}, 1);
  items.flush();
  return kept;
}

void check_pairs(const std::vector<capture_kept_st>& before, const std::vector<capture_kept_st>& now,
                 const replay_rules_st& rules) {
  std::size_t next_before = 0;
  std::size_t next_now = 0;
  for (const auto& pair : replay_align(before, now, rules)) {
    FUZZ_CHECK(pair.m_before != nullptr || pair.m_now != nullptr);
    if (pair.m_before != nullptr) FUZZ_CHECK(pair.m_before == &before[next_before++]);
    if (pair.m_now != nullptr) FUZZ_CHECK(pair.m_now == &now[next_now++]);
    if (pair.m_before == nullptr || pair.m_now == nullptr) FUZZ_CHECK(!pair.m_differences.empty());
  }
  FUZZ_CHECK(next_before == before.size() && next_now == now.size());
}

// The bytes as a session: each piece goes the other way than the one before it.
std::vector<capture_numbered_st> session_of(fuzz_input input, capture_link_en link) {
  std::vector<capture_numbered_st> entries;
  for (std::size_t n = 1; n < 64; ++n) {
    const fuzz_bytes bytes = input.block();
    const auto direction = n % 2 == 1 ? capture_direction_en::SENT : capture_direction_en::RECEIVED;
    const auto ns = static_cast<std::int64_t>(input.u16()) * 1'000'000;
    if (!bytes.empty()) entries.push_back({{0, ns, direction, link, "", {bytes.begin(), bytes.end()}}, n});
  }
  return entries;
}

void check_script(const std::vector<capture_numbered_st>& entries, const std::vector<capture_kept_st>& requests,
                  capture_link_en link) {
  capture_script_st script(entries, link);
  const auto say_all = [&script] {
    while (script.answer()) {
      const std::size_t before = script.steps_done();
      script.said();
      FUZZ_CHECK(script.steps_done() == before + 1);
    }
  };
  say_all();
  for (const auto& request : requests) {
    const std::size_t before = script.steps_done();
    const std::string difference = script.take(request.item().m_item);
    FUZZ_CHECK(script.steps_done() >= before && script.steps_done() <= script.steps());
    FUZZ_CHECK(!difference.empty() || script.steps_done() > before);
    say_all();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const capture_link_en link = input.byte() % 2 == 0 ? capture_link_en::PC : capture_link_en::APP;
  replay_rules_st rules;
  const std::string wrong = replay_add_rules(fuzz_text(input.block()), &rules);
  FUZZ_CHECK(wrong.size() < 1000);
  const auto before = items_of(input.block(), link);
  const fuzz_bytes rest = input.rest();
  const auto now = items_of(rest, link);
  const replay_rules_st none;
  check_pairs(before, now, rules);
  check_pairs(before, before, none);
  for (const auto& one : before) FUZZ_CHECK(replay_compare(one.item().m_item, one.item().m_item, none).empty());
  const auto entries = session_of(fuzz_input(rest.data(), rest.size()), link);
  check_script(entries, now, link);
  std::size_t sent = 0;
  for (const auto& turn : replay_turns(entries, link)) sent += turn.m_sent.size();
  const auto is_sent = [](const auto& one) { return one.m_entry.m_direction == capture_direction_en::SENT; };
  FUZZ_CHECK(sent == static_cast<std::size_t>(std::ranges::count_if(entries, is_sent)));
  return 0;
}
