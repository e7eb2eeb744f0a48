// What stands for everything outside the service: the calls by which it reaches the machine are replaced when a target
// is linked.
#pragma once

#include "tests/fuzz/fuzz.h"

struct fuzz_outside_st {
  std::uint8_t m_faults;  // fuzz_fault_en of phone.h
  fuzz_bytes m_file;
  bool (*m_answer_on)() = nullptr;  // has the modem answer on; false when it has nothing more
};
extern fuzz_outside_st g_fuzz_outside;

// Ends the program unless the calls are replaced; before anything else runs.
void fuzz_outside_check();
