// Plays sessions, each with one failing call or none, and judges what the service made of it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/functions.h"
#include "tests/faults/session.h"

namespace faults {

struct fault {
  std::size_t process = 0;
  std::size_t function = 0;  // its place in NAMES
  std::uint32_t number = 0;
  int error = 0;  // 0: a short count
};

// How the functions fail, each of them at least once. Throws nothing; a function may stand in several rows.
struct failure_row {
  std::string_view function;
  int error;
};
const std::vector<failure_row>& failures();
std::string show(const fault& wanted);  // "read 3 errno 5"; "process 1, read 3 short"

using complaints = std::map<std::string, int>;  // lines that report a failure, and how often

struct report {
  counts called{};
  std::string made;  // the line that the library has written down; empty: the call never came
  std::vector<std::string> findings;
  std::vector<std::string> by_design;  // in place of findings: the reasons of harmless.h
  complaints said;
  bool has_ended_early = false;
  std::string log;
};

// Plays a session. `usual`: what is said when nothing fails; none: it is not judged.
report play(const session_plan& plan, const std::optional<fault>& wanted, const complaints* usual);

}  // namespace faults
