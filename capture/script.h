// One link of a capture as a part to play: what the phone said, in its turn, and what it waited for before that. Pure.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/kept.h"
#include "capture/reader.h"

class capture_script_st {
 public:
  struct answer_st {
    std::vector<std::uint8_t> m_bytes;
    std::int64_t m_pause_ns;  // after the step before it
  };

  capture_script_st(const std::vector<capture_numbered_st>& entries, capture_link_en link);

  bool is_empty() const { return m_steps.empty(); }
  bool is_over() const { return m_next == m_steps.size(); }
  std::size_t steps() const { return m_steps.size(); }
  std::size_t steps_done() const { return m_next; }

  // What the phone says now; none when it waits for a request, or the script is over.
  std::optional<answer_st> answer() const;
  void said();

  // A request came while the phone waits for one, or the script is over: what is different from the capture, in words;
  // empty: nothing. The script goes on with the request that this one stands for.
  std::string take(const stream_item_st& item);

  // The requests that come first, without line ends.
  std::vector<std::string> first_requests(std::size_t count) const;

 private:
  struct step_st {
    std::optional<capture_kept_st> m_request;  // none: an answer
    std::vector<std::uint8_t> m_answer;
    std::int64_t m_monotonic_ns;
    std::size_t m_line;
  };

  std::optional<std::size_t> find(const stream_item_st& item, bool is_exact) const;

  std::vector<step_st> m_steps;
  std::size_t m_next = 0;
};
