// The board vendor's library as a test wants it: there, without its operations, or missing.
#pragma once

#include <string>
#include <vector>

struct board_call_st {
  std::string m_operation;
  int m_argument;
  bool operator==(const board_call_st&) const = default;
};

// One at a time. It starts with a library that is as it should be.
class test_board {
 public:
  static constexpr char PATH[] = "/system/lib64/hw/amt.vx5210.misc.so";

  test_board();
  ~test_board();
  test_board(const test_board&) = delete;
  test_board& operator=(const test_board&) = delete;

  void use_whole();
  void use_empty();
  void remove();

  std::vector<board_call_st> m_calls;
  int m_result = 0;  // what every operation gives
};
