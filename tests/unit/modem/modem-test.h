// A handler between an application and a modem, both played by the test.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "amt/amt-handle/context/handle-context.h"
#include "pub/result.h"
#include "tests/unit/links.h"

class modem_test : public context_test {
 protected:
  modem_test() {
    set_link(g_handle_context.m_fd_at, m_at.service_end());
    set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end());
  }

  // What the modem will send, each piece in a read of its own.
  void modem_says(std::initializer_list<std::string_view> pieces) {
    for (const std::string_view piece : pieces) m_at.send(piece);
  }
  void modem_says_split(std::string_view text, std::size_t at) { modem_says({text.substr(0, at), text.substr(at)}); }
  void modem_says_bytewise(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) m_at.send(text.substr(i, 1));
  }

  std::string to_modem() { return m_at.received(); }
  std::string to_app() { return m_app.received_hex(); }
  std::string to_pc() { return m_pc.received_hex(); }

  // Whether the error-trace line of a handler is there.
  testing::AssertionResult has_trace(const std::string& function, std::int32_t code) const {
    const testing::Matcher<const std::string&> trace = failure_line("amt/amt-handle", function, code);
    const auto texts = m_log.texts();
    for (const auto& text : texts) {
      if (trace.Matches(text)) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "in " << testing::PrintToString(texts);
  }

  // As of every handler; the modem and the application learn nothing of it.
  void expect_refusals(amt_handle_func handler, const std::string& name) {
    context_test::expect_refusals(handler, name);
    EXPECT_EQ(to_modem() + to_app(), "");
  }
  void expect_refusal_without_modem(amt_handle_func handler) {
    g_no_modem = 1;
    EXPECT_EQ(run(handler, "06 00 BB 07 00 00"), ERR_NO_MODEM);
    EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "no CP."}));
    EXPECT_EQ(to_modem() + to_app(), "");
  }

  packet_link m_at;
  socket_link m_app;
};
