// A handler between an application and a modem, both played by the test.
#pragma once

#include <sys/socket.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "amt/amt-handle/context/handle-context.h"
#include "pub/result.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"

// What is sent in one piece is read in one piece, and pieces are never read together.
class packet_link : public test_link {
 public:
  packet_link() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return;
    m_service = ends[0];
    m_test = ends[1];
  }
  // From now on the service cannot write; it still reads what the test sends.
  void stop_receiving() { shutdown(m_test, SHUT_RD); }
};

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

  // Runs a handler with a request of these bytes from the application.
  std::int32_t run(amt_handle_func handler, std::string_view request, std::uint8_t link = AMT_LINK_APP) {
    set_message(g_handle_context.m_request, from_hex(request));
    return handler(link, &g_handle_context.m_request, &g_handle_context.m_response);
  }
  std::string to_modem() { return m_at.received(); }
  std::string to_app() { return m_app.received_hex(); }
  std::string to_pc() { return m_pc.received_hex(); }

  // Whether a line is there and the error-trace line of a function stands right in front of it.
  testing::AssertionResult has_failure(const std::string& function, std::int32_t code, const std::string& line) const {
    const auto texts = m_log.texts();
    const testing::Matcher<const std::string&> trace = failure_line("amt/[a-z-]+", function, code);
    for (std::size_t at = 1; at < texts.size(); ++at) {
      if (texts[at] == line && trace.Matches(texts[at - 1])) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "in " << testing::PrintToString(texts);
  }

  // Whether the error-trace line of a handler is there.
  testing::AssertionResult has_trace(const std::string& function, std::int32_t code) const {
    const testing::Matcher<const std::string&> trace = failure_line("amt/amt-handle", function, code);
    const auto texts = m_log.texts();
    for (const auto& text : texts) {
      if (trace.Matches(text)) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "in " << testing::PrintToString(texts);
  }

  // What every modem-backed handler refuses, without a word to anybody.
  void expect_refusals(amt_handle_func handler, const std::string& name) {
    auto& request = g_handle_context.m_request;
    auto& response = g_handle_context.m_response;
    set_message(request, from_hex("06 00 BB 07 00 00"));
    EXPECT_EQ(handler(255, &request, &response), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "1, 0, 0, 0"));
    EXPECT_EQ(handler(AMT_LINK_APP, nullptr, &response), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "0, 1, 0, 0"));
    EXPECT_EQ(handler(AMT_LINK_APP, &request, nullptr), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "0, 0, 0, 1"));
    request.m_buf_len = 0;
    EXPECT_EQ(handler(AMT_LINK_APP, &request, &response), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "0, 0, 1, 0"));
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
