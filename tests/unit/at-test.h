// A station that speaks AT text to the dispatcher, and what comes back.
#pragma once

#include <string>
#include <string_view>

#include "amt/amt-handle/pc/capture.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "tests/unit/links.h"

inline constexpr char OK[] = "\r\nOK\r\n";
inline constexpr char ERROR[] = "\r\nERROR\r\n";
inline constexpr char CME_ERROR[] = "\r\n+CME ERROR: 100\r\n";

// What the dispatcher answers when a link gives up on a command: response id 0, result 1.
inline constexpr char ERROR_FRAME[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 00 09 00 EE 01 01 04 00 01 00 00 00 58 80 D2 73";

class at_test : public context_test {
 protected:
  at_test() { handle_amt_clear_capture(); }

  // What the PC receives for a block that it sends.
  std::string send(std::string_view bytes) {
    set_message(g_handle_context.m_request, bytes);
    EXPECT_EQ(handle_amt_pc_req(), 0);
    return m_pc.received();
  }
  std::string send_for_hex(std::string_view bytes) { return to_hex(send(bytes)); }
  // Whether the block went to the modem unchanged and nothing to the PC.
  bool is_passed_on(const std::string& bytes) {
    const std::string to_pc = send(bytes);
    return to_pc.empty() && m_modem.received() == bytes;
  }
};
