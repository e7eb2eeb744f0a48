// A handler between an application and a modem, both played by the test.
#pragma once

#include <sys/eventfd.h>

#include <deque>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "amt/amt-handle/context/handle-context.h"
#include "pub/result.h"
#include "pub/util/signals.h"
#include "tests/unit/links.h"

// Answers commands as its script says, an entry for each command; a command without an entry stays unanswered.
class scripted_modem : public packet_link {
 public:
  scripted_modem() : m_thread([this, link = m_test] { serve(link); }) {}
  ~scripted_modem() {
    eventfd_write(m_wake, 1);
    m_thread.join();
    close(m_wake);
  }
  // Adds an entry: pieces that come in reads of their own.
  void will_say(std::vector<std::string> pieces) {
    const std::lock_guard lock(m_mutex);
    m_script.push_back(std::move(pieces));
  }
  std::string commands() {
    const std::lock_guard lock(m_mutex);
    m_commands += received();
    return std::exchange(m_commands, "");
  }
  void hang_up_now() {
    const std::lock_guard lock(m_mutex);
    hang_up();
  }

 private:
  void serve(int link) {
    pub_util_block_signals();  // they are the service's
    for (pollfd wanted[] = {{m_wake, POLLIN, 0}, {link, POLLIN, 0}};;) {
      poll(wanted, 2, -1);
      if (wanted[0].revents != 0) return;
      const std::lock_guard lock(m_mutex);
      if ((wanted[1].revents & POLLIN) == 0 || !answer_command()) wanted[1].fd = -1;
    }
  }
  // False when the service has closed its end.
  bool answer_command() {
    char command[2 * AMT_FRAME_SIZE];
    const ssize_t count = recv(m_test, command, sizeof command, MSG_DONTWAIT);
    if (count <= 0) return count < 0 && errno == EAGAIN;
    m_commands.append(command, static_cast<std::size_t>(count));
    if (m_script.empty()) return true;
    for (const auto& piece : m_script.front()) send(piece);
    m_script.pop_front();
    return true;
  }

  const int m_wake = eventfd(0, EFD_CLOEXEC);
  std::mutex m_mutex;
  std::deque<std::vector<std::string>> m_script;
  std::string m_commands;
  std::thread m_thread;
};

class modem_test : public context_test {
 protected:
  modem_test() {
    set_link(g_handle_context.m_fd_at, m_at.service_end());
    set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end());
  }

  // The modem's answer to the next command, each piece in a read of its own.
  void modem_says(std::initializer_list<std::string_view> pieces) { m_at.will_say({pieces.begin(), pieces.end()}); }
  void modem_says_split(std::string_view text, std::size_t at) { modem_says({text.substr(0, at), text.substr(at)}); }
  void modem_says_bytewise(std::string_view text) {
    std::vector<std::string> pieces;
    for (const char character : text) pieces.emplace_back(1, character);
    m_at.will_say(std::move(pieces));
  }

  std::string to_modem() { return m_at.commands(); }
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

  scripted_modem m_at;
  socket_link m_app;
};
