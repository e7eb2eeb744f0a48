#include "amt/amt-handle/pc/dispatch.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/version.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/thread.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/temp-folder.h"
#include "tests/unit/thread-state.h"
#include "tests/unit/wait-for.h"

namespace {

using namespace std::string_literals;

constexpr char PRE_RESPONSE[] = "AA BB CC DD 08 00 00 00 02 02 00 00 76 4A EE 1D";
// Error frames with atom 1 = 1: the answer ids 0 (to text) and 124 (to request 123).
constexpr char ERROR_0[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 00 09 00 EE 01 01 04 00 01 00 00 00 58 80 D2 73";
constexpr char ERROR_124[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 7C 09 00 EE 01 01 04 00 01 00 00 00 48 33 28 A6";

// A request without atoms as a station sends it. Nobody looks at the checksum.
std::string request_frame(std::uint8_t id) {
  return from_hex("AA BB CC DD 0E 00 00 00 02 00 00 00 06 00 BB ") + static_cast<char>(id) +
         from_hex("00 00 00 00 00 00");
}

// What the registered handlers saw, and what they are to give.
struct handler_st {
  int m_calls;
  int m_link;
  amt_message_st* m_request;
  amt_message_st* m_response;
  std::string m_frame;
  result_code_en m_result;
};
handler_st g_handler;

result_code_en handler(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  ++g_handler.m_calls;
  g_handler.m_link = link;
  g_handler.m_request = request;
  g_handler.m_response = response;
  g_handler.m_frame.assign(request->m_buf_a.begin(), request->m_buf_a.begin() + request->m_buf_len);
  return g_handler.m_result;
}

result_code_en answering_handler(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  std::ignore = handler(link, request, response);
  return amt_handle_send_at_rsp(response, "answered");
}

class Dispatch : public context_test {
 protected:
  Dispatch() { g_handler = {}; }
  void serve(std::uint8_t id, amt_handle_func function = handler,
             amt_pre_response_en pre_response = amt_pre_response_en::BY_DISPATCHER) {
    EXPECT_EQ(amt_handle_reg_handle_func(1, id, function, pre_response), ERR_NONE);
  }
  std::int32_t receive(const std::string& block) {
    set_message(g_handle_context.m_request, block);
    m_log.clear();
    return handle_amt_pc_req();
  }
};

TEST_F(Dispatch, EmptyRecord_IsRefusedAndNothingIsSent) {
  EXPECT_EQ(receive(""), -101);
  EXPECT_THAT(m_log.texts(),
              testing::ElementsAre("handle_amt_pc_req()", failure_line("amt/amt-handle", "handle_amt_pc_req", -101),
                                   "0, 0, 1, 0"));
  EXPECT_EQ(m_pc.received() + m_modem.received(), "");
}

TEST_F(Dispatch, TextThatNobodyKnows_GoesToTheModemUnchanged) {
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(m_modem.received(), "ATI\r");
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_TRUE(m_log.contains("handle_context_st.m_handle_pc_func_a[255] ="));
  EXPECT_TRUE(m_log.has("handle_amt_imei_and_sn--->req_id_en:255."));
  EXPECT_EQ(m_log.last(), "write to modem: : (data_len = 4) -- 4154490D");
}

TEST_F(Dispatch, Text_LeavesTheModeAlone) {
  g_amt_mode = AMT_MODE_AMT4;
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(g_amt_mode, 4);
  EXPECT_FALSE(m_log.has("mark to enter amt1"));
}

TEST_F(Dispatch, RequestRecord_IsLeftToItsReader) {
  receive("ATI\r");
  EXPECT_EQ(g_handle_context.m_request.m_buf_len, 4u);
}

TEST_F(Dispatch, TextBehindAZeroByte_IsNotACommandButGoesToTheModemWhole) {
  EXPECT_EQ(receive("x\0AT^DSVER\r"s), 0);
  EXPECT_EQ(m_modem.received_hex(), "78 00 41 54 5E 44 53 56 45 52 0D");
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(Dispatch, VersionTextWithoutReturn_GoesToTheModem) {
  EXPECT_EQ(receive("AT^DSVER"), 0);
  EXPECT_EQ(m_modem.received(), "AT^DSVER");
}

TEST_F(Dispatch, PowerOffTextWithoutReturn_GoesToTheModem) {
  EXPECT_EQ(receive("AT^DAMTOFF"), 0);
  EXPECT_EQ(m_modem.received(), "AT^DAMTOFF");
}

TEST_F(Dispatch, NoiseOf4095Bytes_GoesToTheModemWhole) {
  std::string noise(4095, '\0');
  for (std::size_t at = 0; at < noise.size(); ++at) noise[at] = static_cast<char>(at * 7 + 1);
  EXPECT_EQ(receive(noise), 0);
  EXPECT_EQ(m_modem.received(), noise);
}

TEST_F(Dispatch, SixteenBytesWithTheMagic_AreText) {
  g_amt_mode = AMT_MODE_AMT4;
  EXPECT_EQ(receive(from_hex(PRE_RESPONSE)), 0);
  EXPECT_EQ(m_modem.received_hex(), PRE_RESPONSE);
  EXPECT_EQ(g_amt_mode, 4);
  EXPECT_FALSE(m_log.contains("receive command id"));
}

TEST_F(Dispatch, SeventeenBytesWithTheMagic_AreAFrame) {
  serve(0x2B);
  g_amt_mode = AMT_MODE_AMT4;
  // What stands where the id of a longer frame would be is its id.
  EXPECT_EQ(receive(from_hex("AA BB CC DD 09 00 00 00 02 00 00 00 5A 00 00 2B 00")), 0);
  EXPECT_EQ(g_handler.m_calls, 1);
  EXPECT_EQ(to_hex(g_handler.m_frame), "5A");
  EXPECT_EQ(g_amt_mode, 1);
}

TEST_F(Dispatch, FrameWithoutTheMagic_IsText) {
  std::string block = request_frame(123);
  block[0] = '\xAB';
  serve(123);
  EXPECT_EQ(receive(block), 0);
  EXPECT_EQ(g_handler.m_calls, 0);
  EXPECT_EQ(m_modem.received(), block);
}

TEST_F(Dispatch, RegisteredFrame_ReachesItsHandlerAsABareFrame) {
  serve(123);
  EXPECT_EQ(receive(request_frame(123)), 0);
  EXPECT_EQ(g_handler.m_calls, 1);
  EXPECT_EQ(g_handler.m_link, 1);
  EXPECT_EQ(g_handler.m_request, &g_handle_context.m_request_copy);
  EXPECT_EQ(g_handler.m_response, &g_handle_context.m_response);
  EXPECT_EQ(to_hex(g_handler.m_frame), "06 00 BB 7B 00 00");
  EXPECT_EQ(m_modem.received(), "");
  EXPECT_TRUE(m_log.has("receive command id: 123(0x7B) - AMT_WRITE_GAINOUT_CMD"));
  EXPECT_TRUE(m_log.has("handle_amt_imei_and_sn--->req_id_en:123."));
}

TEST_F(Dispatch, RegisteredFrame_GetsThePreResponseAheadOfItsAnswer) {
  serve(123, answering_handler);
  EXPECT_EQ(receive(request_frame(123)), 0);
  EXPECT_EQ(m_pc.received_hex(), PRE_RESPONSE + " "s + to_hex("answered"));
}

TEST_F(Dispatch, WrongChecksumKindAndLength_AreNotLookedAt) {
  serve(123);
  EXPECT_EQ(receive(from_hex("AA BB CC DD FF FF FF FF 77 77 77 77 06 00 BB 7B 00 00 DE AD BE EF")), 0);
  EXPECT_EQ(g_handler.m_calls, 1);
}

TEST_F(Dispatch, Frame_SetsTheModeBackOnce) {
  serve(123);
  g_amt_mode = AMT_MODE_AMT4;
  receive(request_frame(123));
  EXPECT_EQ(g_amt_mode, 1);
  EXPECT_TRUE(m_log.has("mark to enter amt1"));
  receive(request_frame(123));
  EXPECT_FALSE(m_log.has("mark to enter amt1"));
}

TEST_F(Dispatch, FrameWithoutHandler_GoesToTheModemAsItCameWithoutPreResponse) {
  EXPECT_EQ(receive(request_frame(123)), 0);
  EXPECT_EQ(m_modem.received_hex(), "AA BB CC DD 0E 00 00 00 02 00 00 00 06 00 BB 7B 00 00 00 00 00 00");
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_TRUE(m_log.contains("handle_context_st.m_handle_pc_func_a[123] ="));
}

TEST_F(Dispatch, HandlerThatDeclines_LeavesTheFrameToTheModem) {
  serve(123);
  g_handler.m_result = ERR_NOT_HANDLED;
  EXPECT_EQ(receive(request_frame(123)), 0);
  EXPECT_EQ(m_pc.received_hex(), PRE_RESPONSE);
  EXPECT_EQ(m_modem.received(), request_frame(123));
}

TEST_F(Dispatch, HandlerThatFails_IsReportedWithTheNextId) {
  for (const std::int32_t failure : {-1, -100, -101, -118, -119, 1}) {
    serve(123);
    g_handler.m_result = static_cast<result_code_en>(failure);
    EXPECT_EQ(receive(request_frame(123)), 0) << failure;
    EXPECT_EQ(m_pc.received_hex(), PRE_RESPONSE + " "s + ERROR_124) << failure;
    EXPECT_EQ(m_modem.received(), "") << failure;
  }
}

TEST_F(Dispatch, HandlerThatFails_IdentityWriteAwaitsTheModemAllTheSame) {
  g_handler.m_result = ERR_FAIL;
  serve(5);
  receive(request_frame(5));
  EXPECT_EQ(g_cur_treat_cmd_type.load(), 1);
  serve(87);
  receive(request_frame(87));
  EXPECT_EQ(g_cur_treat_cmd_type.load(), 2);
}

TEST_F(Dispatch, HandlerThatFailsWithTheLinkGone_IsTheSendersResult) {
  serve(123);
  g_handler.m_result = ERR_FAIL;
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(receive(request_frame(123)), -100);
  set_link(g_handle_context.m_fd_pc, open_full_device());
  EXPECT_EQ(receive(request_frame(123)), -118);
}

TEST_F(Dispatch, FrameOfId255_IsHandledLikeTextButForTheMode) {
  g_amt_mode = AMT_MODE_AMT4;
  EXPECT_EQ(receive(request_frame(255)), 0);
  EXPECT_EQ(m_modem.received(), request_frame(255));
  EXPECT_EQ(g_amt_mode, 1);
  EXPECT_TRUE(m_log.has("receive command id: 255(0xFF) - (undefined)"));
  EXPECT_TRUE(m_log.contains("handle_context_st.m_handle_pc_func_a[255] ="));
}

// Text has the id 255, which no handler can have; and what lies behind the handlers is none.
TEST_F(Dispatch, Text_WhateverLiesBehindTheHandlers_GoesToTheModem) {
  g_handle_context.m_pc_pre_response_a.fill(amt_pre_response_en::BY_HANDLER);
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(m_modem.received(), "ATI\r");
}

TEST_F(Dispatch, FrameOfId254_IsTheLastWithAHandler) {
  serve(254);
  EXPECT_EQ(receive(request_frame(254)), 0);
  EXPECT_EQ(g_handler.m_calls, 1);
}

TEST_F(Dispatch, ApplicationsHandler_IsNotThePcs) {
  std::ignore = amt_handle_reg_handle_func(2, 123, handler);
  EXPECT_EQ(receive(request_frame(123)), 0);
  EXPECT_EQ(g_handler.m_calls, 0);
}

// The version handler itself decides whether its request gets a pre-response.
TEST_F(Dispatch, VersionThatTheModemKnows_GoesToTheModemWithoutPreResponse) {
  serve(45, handle_amt_pc_req_version, amt_pre_response_en::BY_HANDLER);
  const std::string block =
      from_hex("AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 2D 09 00 EE 13 01 04 00 11 00 00 00 00 00 00 00");
  EXPECT_EQ(receive(block), 0);
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_EQ(m_modem.received(), block);
}

TEST_F(Dispatch, VersionThatIsAnswered_GetsOnePreResponse) {
  serve(45, handle_amt_pc_req_version, amt_pre_response_en::BY_HANDLER);
  EXPECT_EQ(
      receive(from_hex("AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 2D 09 00 EE 13 01 04 00 40 00 00 00 22 B9 BE BE")),
      0);
  const std::string answer = m_pc.received_hex();
  EXPECT_EQ(answer.rfind(PRE_RESPONSE + " AA BB CC DD 65 00 00 00 02 00 00 00 5D 00 BB 2E"s, 0), 0u) << answer;
  EXPECT_EQ(m_modem.received(), "");
}

TEST_F(Dispatch, UnknownVersion_IsReportedWithoutPreResponse) {
  serve(45, handle_amt_pc_req_version, amt_pre_response_en::BY_HANDLER);
  EXPECT_EQ(
      receive(from_hex("AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 2D 09 00 EE 13 01 04 00 02 00 00 00 00 00 00 00")),
      0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 2E 09 00 EE 01 01 04 00 01 00 00 00 59 61 58 45");
}

TEST_F(Dispatch, TextCommandWithoutItsParameter_IsAnsweredByAnErrorFrameOfId0) {
  EXPECT_EQ(receive("AT^DAMT1="), 0);
  EXPECT_EQ(m_pc.received_hex(), ERROR_0);
  EXPECT_EQ(m_modem.received(), "");
  EXPECT_TRUE(m_log.has("type is null!!!"));
}

TEST_F(Dispatch, TextReplyThatCannotBeSent_IsTheSendersResult) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(receive("AT^DAMT1=3\r"), -100);
}

TEST_F(Dispatch, ModemLog_250Bytes_IsWholeAnd251IsCut) {
  std::string image;
  for (int n = 0; n < 250; ++n) image += "62";
  receive(std::string(250, 'b'));
  EXPECT_TRUE(m_log.has("write to modem: : (data_len = 250) -- " + image));
  receive(std::string(251, 'b'));
  EXPECT_TRUE(m_log.has("write to modem: : (data_len = 251) -- " + image + "..."));
}

TEST_F(Dispatch, ModemTakesOnlyAPart_IsReportedAndNotRetried) {
  set_link(g_handle_context.m_fd_modem, open_sink_with_room(3));
  EXPECT_EQ(receive("ATI99\r"), 0);
  EXPECT_EQ(m_pc.received_hex(), ERROR_0);
  EXPECT_EQ(m_log.count("write to modem: : (data_len = 3) -- 415449"), 1u);
  EXPECT_FALSE(m_log.contains("write error"));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-handle", "handle_amt_pc_req", -100)).Times(1));
}

TEST_F(Dispatch, ModemFailsOtherwise_IsReported) {
  set_link(g_handle_context.m_fd_modem, open_full_device());
  const int fd = g_handle_context.m_fd_modem;
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(m_pc.received_hex(), ERROR_0);
  EXPECT_TRUE(m_log.has("write error 2, errno[28]"));
  EXPECT_THAT(m_log.texts(),
              testing::Contains(failure_line("amt/amt-handle", "handle_amt_pc_req", -100, "28")).Times(1));
  EXPECT_TRUE(m_log.has("write to modem: : (data_len = -1) -- "));
  EXPECT_EQ(g_handle_context.m_fd_modem, fd);
}

TEST_F(Dispatch, ModemFailsOnAFrame_IsReportedWithTheNextId) {
  set_link(g_handle_context.m_fd_modem, open_full_device());
  EXPECT_EQ(receive(request_frame(123)), 0);
  EXPECT_EQ(m_pc.received_hex(), ERROR_124);
}

// The pause comes before the write's line in the log, and before the error frame.
TEST_F(Dispatch, ModemThatDoesNotTakeTheBlock_IsGivenTwentyMilliseconds) {
  for (const int modem : {open_sink_with_room(3), open_full_device()}) {
    set_link(g_handle_context.m_fd_modem, modem);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(receive("ATI99\r"), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
  }
}

class Reopen : public Dispatch {
 protected:
  Reopen() { set_device(g_amt_cfg.m_tty_modem_a, m_fresh.name()); }
  ~Reopen() override { close(m_fresh.service_end()); }
  std::string reopened_line() const {
    return "pub_util_try_to_open_device, handle_context_st.m_fd_modem  = " +
           std::to_string(g_handle_context.m_fd_modem) + ", amt_cfg_st.m_tty_modem_a = " + m_fresh.name() + "\n";
  }

  pty_link m_fresh;
};

TEST_F(Reopen, ResetModem_IsOpenedAnewAndTheBlockIsLost) {
  pty_link dead;
  set_link(g_handle_context.m_fd_modem, dead.service_end());
  dead.hang_up();
  const int fd = g_handle_context.m_fd_modem;
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(g_handle_context.m_fd_modem, fd);  // the modem reader may hold the number
  EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  EXPECT_EQ(m_fresh.received() + m_pc.received(), "");
  EXPECT_TRUE(m_log.has("write error 1, errno[5]"));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-handle", "handle_amt_pc_req", -100, "5")));
  EXPECT_TRUE(m_log.has("(0/60)try to open device \"" + m_fresh.name() + "\""));
  EXPECT_TRUE(m_log.has_in_a_row({reopened_line(), "write to modem: : (data_len = -1) -- "}));

  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(m_fresh.received(), "ATI\r");
}

TEST_F(Reopen, ClosedModem_IsOpenedAnew) {
  set_link(g_handle_context.m_fd_modem, 0);
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_GT(g_handle_context.m_fd_modem, 0);
  EXPECT_TRUE(m_log.has("write error 1, errno[9]"));
  EXPECT_TRUE(m_log.has(reopened_line()));
  EXPECT_EQ(receive("ATI\r"), 0);
  EXPECT_EQ(m_fresh.received(), "ATI\r");
}

std::atomic<bool> g_has_read;

void read_one_byte_of_the_modem() {
  char byte = 0;
  while (pub_util_read(g_handle_context.m_fd_modem, &byte, 1) != 1) {
  }
  g_has_read = true;
}

// A pipe's end for reading: a write to it fails as one to a closed device does, and its reader is not woken by that.
// The modem is away for a moment, so that the reader waits in between, too.
TEST_F(Reopen, ReaderThatWaits_ReadsTheNewDevice) {
  const signal_scope signals;
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  set_link(g_handle_context.m_fd_modem, ends[0]);
  const pub_fd writing_end(ends[1]);
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  g_has_read = false;
  pub_thread_st& reader = g_handle_context.m_modem_thread;
  ASSERT_EQ(pub_util_start_thread(reader, read_one_byte_of_the_modem), 0);
  EXPECT_TRUE(wait_for([&] { return state_of_thread(reader.m_tid) == 'S'; }));
  const temp_folder folder;
  set_device(g_amt_cfg.m_tty_modem_a, folder.path("modem"));
  std::thread return_of_the_modem([&] {
    EXPECT_TRUE(wait_for([this] { return m_log.contains("/modem\" fail: 2"); }));
    EXPECT_TRUE(wait_for([&] { return state_of_thread(reader.m_tid) == 'S'; }));
    std::filesystem::create_symlink(m_fresh.name(), folder.path("modem"));
  });
  EXPECT_EQ(receive("ATI\r"), 0);
  return_of_the_modem.join();
  m_fresh.send("x");
  EXPECT_TRUE(wait_for([] { return g_has_read.load(); }));
  if (!g_has_read) pub_util_kill_thread(&reader);
  EXPECT_TRUE(wait_for([&] { return reader.m_is_ended.load(); }));
}

TEST_F(Reopen, DeviceThatIsNoUart_KeepsItsSpeed) {
  set_link(g_handle_context.m_fd_modem, 0);
  g_amt_cfg.m_modem_uart_amt_baudrate = 921600;
  receive("ATI\r");
  termios attributes = {};
  ASSERT_EQ(tcgetattr(g_handle_context.m_fd_modem, &attributes), 0);
  EXPECT_EQ(cfgetospeed(&attributes), static_cast<speed_t>(B38400));
  EXPECT_FALSE(m_log.contains("convert speed"));
}

}  // namespace
