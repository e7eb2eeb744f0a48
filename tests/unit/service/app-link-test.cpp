// The reader of the APP link.
#include "amt/amt-handle/service/app-link.h"

#include <csignal>
#include <filesystem>
#include <tuple>
#include <vector>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/thread.h"
#include "tests/unit/application.h"
#include "tests/unit/links.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/stop-worker.h"
#include "tests/unit/temp-folder.h"
#include "tests/unit/wait-for.h"

namespace {

constexpr char REQUEST_11[] = "06 00 BB 0B 00 00";
constexpr char ANSWER_12[] = "0F 00 BB 0C 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char END[] = "06 00 BB FE 00 00";

std::vector<std::string> g_requests;

std::string text_of_request(const amt_message_st& request) {
  return to_hex(std::string(request.m_buf_a.begin(), request.m_buf_a.begin() + request.m_buf_len));
}

result_code_en answer_ok(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  EXPECT_EQ(link, AMT_LINK_APP);
  g_requests.push_back(text_of_request(*request));
  return amt_handle_send_rsp_ok(link, response, amt_frame_command_id(&request->m_buf_a) + 1u);
}

// Ends the reader: a link that is closed under it is one that cannot be read.
result_code_en close_link(std::uint8_t, amt_message_st*, amt_message_st*) {
  g_handle_context.m_pty_app.m_ptm_fd.take(pub_fd());
  return ERR_NONE;
}

result_code_en fail(std::uint8_t, amt_message_st*, amt_message_st*) {
  return ERR_FAIL;
}

// As an exchange with a silent modem during which the application closes its terminal.
result_code_en lose_application(std::uint8_t, amt_message_st*, amt_message_st*) {
  g_handle_context.m_has_app_left = true;
  return ERR_FAIL;
}

// Blocks that come one by one, and then the end of the link.
class AppLink : public context_test {
 protected:
  AppLink() {
    g_requests.clear();
    set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end());
    std::ignore = amt_handle_reg_handle_func(AMT_LINK_APP, 11, answer_ok);
    std::ignore = amt_handle_reg_handle_func(AMT_LINK_APP, 13, fail);
    std::ignore = amt_handle_reg_handle_func(AMT_LINK_APP, 254, close_link);
    m_log.clear();
  }
  void read_blocks(std::initializer_list<std::string_view> blocks) {
    for (const std::string_view block : blocks) m_app.send(from_hex(block));
    m_app.send(from_hex(END));
    amt_handle_read_app_loop();
  }
  packet_link m_app;
};

TEST_F(AppLink, Request_GoesToItsHandler) {
  read_blocks({REQUEST_11});
  EXPECT_THAT(g_requests, testing::ElementsAre(REQUEST_11));
  EXPECT_EQ(m_app.received_hex(), ANSWER_12);
  EXPECT_TRUE(m_log.has("handle APP req data: : (data_len = 6) -- 0600BB0B0000"));
  EXPECT_TRUE(m_log.has("receive command id: 11(0x0B) - AMT_STARTTX_CMD"));
  EXPECT_TRUE(is_clear(g_handle_context.m_response));
}

TEST_F(AppLink, SecondRequest_FindsAClearRecord) {
  read_blocks({"0C 00 BB 0B 06 00 EE 01 04 01 00 07", REQUEST_11});
  EXPECT_THAT(g_requests, testing::ElementsAre("0C 00 BB 0B 06 00 EE 01 04 01 00 07", REQUEST_11));
}

TEST_F(AppLink, OldContentOfTheRecords_IsForgottenAtTheStart) {
  set_message(g_handle_context.m_request, "old");
  read_blocks({REQUEST_11});
  EXPECT_THAT(g_requests, testing::ElementsAre(REQUEST_11));
}

TEST_F(AppLink, UnregisteredId_IsAnsweredWithAnError) {
  read_blocks({"06 00 BB 2C 00 00"});
  EXPECT_EQ(m_app.received_hex(), "0F 00 BB 2D 09 00 EE 01 01 04 00 01 00 00 00");
  EXPECT_TRUE(m_log.contains("LINE-3610, FUNC-handle_amt_app_req(), error_code=-100"));
  EXPECT_TRUE(m_log.has("unregistered AMT request id: 44"));
}

TEST_F(AppLink, Id255_IsAnsweredUnderIdZero) {
  read_blocks({"06 00 BB FF 00 00"});
  EXPECT_EQ(m_app.received_hex(), "0F 00 BB 00 09 00 EE 01 01 04 00 01 00 00 00");
  EXPECT_TRUE(m_log.contains("LINE-3606, FUNC-handle_amt_app_req(), error_code=-100"));
  EXPECT_TRUE(m_log.has("unknown AMT request id: 255"));
}

TEST_F(AppLink, FailedHandler_IsAnsweredWithAnError) {
  read_blocks({"06 00 BB 0D 00 00"});
  EXPECT_EQ(m_app.received_hex(), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00");
}

// Three bytes hold no id: it reads as 0, which nobody serves. The rest is a request of its own.
TEST_F(AppLink, FrameInTwoReads_IsTwoRequests) {
  read_blocks({"06 00 BB", "0B 00 00 0B"});
  EXPECT_EQ(m_app.received_hex(), std::string("0F 00 BB 01 09 00 EE 01 01 04 00 01 00 00 00 ") + ANSWER_12);
  EXPECT_THAT(g_requests, testing::ElementsAre("0B 00 00 0B"));
}

TEST_F(AppLink, LongBlock_IsReadUpTo4095Bytes) {
  std::string block = from_hex(REQUEST_11);
  block.resize(4096, 'x');
  m_app.send(block);
  read_blocks({});
  ASSERT_EQ(g_requests.size(), 1u);
  EXPECT_EQ(g_requests[0].size(), 3u * 4095 - 1);
}

TEST_F(AppLink, LinkThatCannotBeRead_EndsTheReader) {
  read_blocks({});
  EXPECT_TRUE(m_log.has("sys call: read() failed! errno = 9"));
  EXPECT_TRUE(m_log.contains("LINE-4203, FUNC-amt_handle_read_app_loop(), error_code=-1"));
  EXPECT_TRUE(m_log.has("pty disconnect: pts name(), pts mapping name(), thread id(" + std::to_string(gettid()) +
                        "), PTM fd(-1)"));
}

// The application's side takes nothing any more: what it sends piles up until it is gone altogether.
class AppLinkWithoutAnswers : public AppLink {
 protected:
  AppLinkWithoutAnswers() : m_before(std::signal(SIGPIPE, SIG_IGN)) { m_app.stop_receiving(); }
  ~AppLinkWithoutAnswers() override { std::signal(SIGPIPE, m_before); }
  void (*m_before)(int);
};

TEST_F(AppLinkWithoutAnswers, RequestWhoseErrorCannotBeSent_IsDispatchedAgainWithTheNext) {
  m_app.send(from_hex("06 00 BB 2C 00 00"));
  m_app.send(from_hex(REQUEST_11));
  m_app.hang_up();
  amt_handle_read_app_loop();
  EXPECT_TRUE(m_log.has("handle APP req data: : (data_len = 12) -- 0600BB2C00000600BB0B0000"));
  EXPECT_EQ(m_log.count("unregistered AMT request id: 44"), 2u);
  EXPECT_EQ(g_requests.size(), 0u);
}

// The application is gone, and the terminal cannot be opened anew without a name.
TEST_F(AppLinkWithoutAnswers, LinkThatCannotBeReopened_EndsTheReader) {
  m_app.hang_up();
  amt_handle_read_app_loop();
  EXPECT_TRUE(m_log.has("pty disconnect: pts name(), pts mapping name()"));
  EXPECT_TRUE(m_log.has("[PTY]0, 0, 1"));
  EXPECT_EQ(g_handle_context.m_pty_app.m_ptm_fd, -1);
}

TEST_F(AppLinkWithoutAnswers, FullRecord_WaitsButCanBeEnded) {
  const std::string filler(4095, '\x2C');
  m_app.send(filler);
  auto& thread = g_handle_context.m_app_thread;
  ASSERT_EQ(pub_util_start_thread(thread, amt_handle_read_app_loop), 0);
  EXPECT_TRUE(wait_for([this] { return m_log.count("app read empty data") >= 2; }));
  EXPECT_TRUE(m_log.contains("handle APP req data: : (data_len = 4095) -- "));
  stop_worker(thread);
  EXPECT_TRUE(wait_for([this] { return m_log.contains("will be end"); }));
}

// With a terminal and a thread, as in the service.
class AppTerminal : public context_test {
 protected:
  AppTerminal() {
    g_requests.clear();
    set_device(g_handle_context.m_pty_app.m_pts_mapping_name_a, m_folder.path("app"));
    std::ignore = amt_handle_reg_handle_func(AMT_LINK_APP, 11, answer_ok);
    EXPECT_EQ(pub_pty_open(&g_handle_context.m_pty_app), ERR_NONE);
    EXPECT_EQ(pub_util_start_thread(g_handle_context.m_app_thread, amt_handle_read_app_loop), 0);
  }
  ~AppTerminal() override {
    stop_worker(g_handle_context.m_app_thread);
    std::ignore = pub_pty_close(&g_handle_context.m_pty_app);
  }
  std::string mapping() const { return m_folder.path("app"); }
  signal_scope m_scope;  // the reader is stopped at its wait points only, not inside the log
  temp_folder m_folder;
};

TEST_F(AppTerminal, Request_IsAnswered) {
  application app(mapping());
  app.send(REQUEST_11);
  EXPECT_EQ(app.receive(15), ANSWER_12);
}

TEST_F(AppTerminal, ApplicationThatComesBack_IsServedByTheSameThread) {
  const pid_t thread = g_handle_context.m_app_thread.m_tid;
  for (int visit = 1; visit <= 3; ++visit) {
    application app(mapping());
    ASSERT_TRUE(app.is_connected());
    app.send(REQUEST_11);
    EXPECT_EQ(app.receive(15), ANSWER_12);
    m_log.clear();
    app.leave();
    // The last line of opening the terminal.
    ASSERT_TRUE(wait_for([this] { return m_log.contains("; m_pts_name_a[/dev/pts/"); })) << visit;
  }
  EXPECT_TRUE(m_log.contains("pty disconnect: pts name(/dev/pts/"));
  EXPECT_EQ(g_handle_context.m_app_thread.m_tid, thread);
}

// The old terminal is given up with all that is in it, also when the next application has opened it meanwhile.
TEST_F(AppTerminal, ApplicationLostDuringItsRequest_IsNotAnsweredAndTheNextStartsAfresh) {
  std::ignore = amt_handle_reg_handle_func(AMT_LINK_APP, 15, lose_application);
  application lost(mapping());
  m_log.clear();
  lost.send("06 00 BB 0F 00 00");
  ASSERT_TRUE(wait_for([this] { return m_log.contains("; m_pts_name_a[/dev/pts/"); }));
  EXPECT_TRUE(m_log.has("invalid fd"));
  application next(mapping());
  next.send(REQUEST_11);
  EXPECT_EQ(next.receive(15), ANSWER_12);
  EXPECT_EQ(g_requests, std::vector<std::string>{REQUEST_11});
}

TEST_F(AppTerminal, FolderOfTheNameGone_EndsTheReaderOnly) {
  application app(mapping());
  std::filesystem::remove_all(m_folder.path(""));
  app.leave();
  EXPECT_TRUE(wait_for([] { return g_handle_context.m_app_thread.m_tid == 0; }));
  EXPECT_EQ(g_handle_context.m_pty_app.m_ptm_fd, -1);
}

}  // namespace
