// What a soak asks, in tables: every request of the two links and every command of the AT chain.
#pragma once

#include <cstdint>
#include <span>

namespace soak {

// What a request costs, which decides how often it comes.
enum class pace {
  FAST,    // touches files, libraries or the modem
  SHELL,   // starts a shell
  RECORD,  // flushes a record: 100 ms
};

struct frame_row {
  std::uint8_t id;
  const char* atoms;  // of make_request()
  pace cost = pace::FAST;
  // Whether it works whenever nothing is broken. A row that depends on what others wrote before does not.
  bool is_steady = true;
};

enum class answered_by { SERVICE, MODEM };

struct text_row {
  const char* text;  // '#': a digit by chance
  answered_by who;
  pace cost = pace::FAST;
  bool is_steady = true;  // as above; what is answered with an error is not
};

// A row that makes something stands in front of the rows that need it: taken in this order in a healthy phone, every
// row works, but those that are text and not steady.
std::span<const frame_row> pc_rows();
std::span<const frame_row> app_rows();
std::span<const text_row> text_rows();

bool is_registered_for_pc(std::uint8_t id);

}  // namespace soak
