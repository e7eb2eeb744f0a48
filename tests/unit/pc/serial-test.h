// A PC that asks for a serial number, in a phone whose records each test starts without.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

class serial_test : public context_test {
 protected:
  serial_test() {
    phone_root::remove("/amt");
    std::filesystem::create_directories("/amt");
    phone_root::take_sync_calls();
  }
  // The frame that the PC got, without its envelope.
  std::string answered() {
    const std::string bytes = m_pc.received();
    if (bytes.empty()) return "";
    EXPECT_EQ(to_hex(bytes.substr(0, 4)), "AA BB CC DD");
    return to_hex(bytes.substr(12, bytes.size() - 16));
  }
  std::int32_t run_pc(amt_handle_func handler, std::string_view request) { return run(handler, request, AMT_LINK_PC); }
};
