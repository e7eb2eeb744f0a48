// What came in a replay, held against what the capture has. Pure.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "capture/kept.h"
#include "station/capture/rules.h"

// What differs between two items, in words; empty: nothing that the rules do not allow.
std::vector<std::string> replay_compare(const stream_item_st& before, const stream_item_st& now,
                                        const replay_rules_st& rules);

// One item of the capture and what came in its place.
struct replay_pair_st {
  const capture_kept_st* m_before;  // null: came though the capture has nothing there
  const capture_kept_st* m_now;     // null: did not come
  std::vector<std::string> m_differences;
};

// The items of one answer, side by side, as many alike as possible at the front and at the back. The pairs borrow the
// items.
std::vector<replay_pair_st> replay_align(const std::vector<capture_kept_st>& before,
                                         const std::vector<capture_kept_st>& now, const replay_rules_st& rules);
