// What may differ between a capture and its replay. Pure.
//
//   atom 21               atom 21 has any value
//   atom 46:18            atom 18 of frame 46 has any value
//   atom 46:18 V1\..*     it matches the expression, both times
//   text \^DGSN: [0-9]+   a line of text that matches, as its counterpart in the capture does
//   serial-numbers        the serial numbers and addresses of the phone
//   late 500              an answer comes at most 500 ms later than in the capture; without this, whenever it comes
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct replay_atom_rule_st {
  std::optional<std::uint8_t> m_frame{};  // none: of any frame
  std::uint8_t m_atom = 0;
  std::optional<std::string> m_pattern{};  // none: any value
};

struct replay_rules_st {
  std::vector<replay_atom_rule_st> m_atoms{};
  std::vector<std::string> m_texts{};
  std::optional<std::chrono::milliseconds> m_late{};
};

// Adds the rule; returns what is wrong with it, empty: nothing.
std::string replay_add_rule(std::string_view rule, replay_rules_st* rules);

// A file of rules, one a line; empty lines and those that begin with # say nothing. Returns what is wrong with it, with
// the number of the line.
std::string replay_add_rules(std::string_view text, replay_rules_st* rules);

// Whether the values of an atom may be these, in the capture and in its replay.
bool replay_allows_atom(const replay_rules_st& rules, std::uint8_t frame, std::uint8_t atom, const std::string& before,
                        const std::string& now);
bool replay_allows_text(const replay_rules_st& rules, const std::string& before, const std::string& now);
