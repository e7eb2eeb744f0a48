#include "amt/amt-handle/context/response.h"

#include <gtest/gtest.h>

#include <tuple>

#include "amt/amt-handle/context/handle-context.h"
#include "pub/result.h"
#include "tests/unit/links.h"

namespace {

constexpr char TRACE[] = "FILE-amt/amt-handle, LINE-";

std::string trace(int line, const char* function, int code) {
  return TRACE + std::to_string(line) + ", FUNC-" + function + "(), error_code=" + std::to_string(code) + ", errno=";
}

class Response : public context_test {
 protected:
  Response() { set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end()); }
  // The bytes at a sink from `offset` on, as far as they were written.
  static std::string sunk(int fd, long offset, std::size_t count) {
    std::string bytes(count, '?');
    const pub_fd file(open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(pread(file.get(), bytes.data(), count, offset), static_cast<ssize_t>(count));
    return bytes;
  }

  // Leaves the PC link non-blocking and without room.
  static void fill_pc_link() {
    const int fd = g_handle_context.m_fd_pc;
    const int small = 1;  // the kernel makes its minimum of it
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
    fcntl(fd, F_SETFL, O_NONBLOCK);
    while (write(fd, std::string(40, '.').data(), 40) == 40) {
    }
  }

  socket_link m_app;
  amt_message_st& m_record = g_handle_context.m_response;
};

TEST_F(Response, Send_ToPc_WritesTheRecordAndClearsIt) {
  set_message(m_record, "\r\nOK\r\n");
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), 0);
  EXPECT_EQ(m_pc.received(), "\r\nOK\r\n");
  EXPECT_EQ(m_app.received(), "");
  EXPECT_TRUE(is_clear(m_record));
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{"amt_handle_send_rsp()", "send PC rsp data: : (data_len = 6) -- 0D0A4F4B0D0A"}));
}

TEST_F(Response, Send_ToAnyLinkBut1_GoesToTheApplication) {
  for (const std::uint8_t link : {std::uint8_t{2}, std::uint8_t{3}, std::uint8_t{254}}) {
    set_message(m_record, "x");
    EXPECT_EQ(amt_handle_send_rsp(link, &m_record), 0) << int{link};
    EXPECT_EQ(m_app.received(), "x") << int{link};
    EXPECT_TRUE(m_log.has("send APP rsp data: : (data_len = 1) -- 78"));
  }
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(Response, Send_Link0Or255_IsRefused) {
  for (const std::uint8_t link : {std::uint8_t{0}, std::uint8_t{255}}) {
    set_message(m_record, "x");
    m_log.clear();
    EXPECT_EQ(amt_handle_send_rsp(link, &m_record), -101) << int{link};
    EXPECT_EQ(m_record.m_buf_len, 1u);
    EXPECT_TRUE(m_log.contains(trace(5745, "amt_handle_send_rsp", -101)));
    EXPECT_TRUE(m_log.has("1, 0"));
  }
  EXPECT_EQ(m_pc.received() + m_app.received(), "");
}

TEST_F(Response, Send_NullRecord_IsRefused) {
  EXPECT_EQ(amt_handle_send_rsp(1, nullptr), -101);
  EXPECT_TRUE(m_log.contains(trace(5745, "amt_handle_send_rsp", -101)));
  EXPECT_TRUE(m_log.has("0, 1"));
}

TEST_F(Response, Send_Length0_TakesTheFramesOwnLength) {
  const std::string frame = from_hex("0F 00 BB 0A 09 00 EE 01 01 04 00 00 00 00 00");
  set_message(m_record, frame + "not sent");
  m_record.m_buf_len = 0;
  EXPECT_EQ(amt_handle_send_rsp(2, &m_record), 0);
  EXPECT_EQ(m_app.received_hex(), "0F 00 BB 0A 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Response, Send_Length0AndFrameLength0_IsRefusedAndNothingIsWritten) {
  set_message(m_record, from_hex("00 00 BB 0A 09 00"));
  m_record.m_buf_len = 0;
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -101);
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_TRUE(m_log.contains(trace(5755, "amt_handle_send_rsp", -101)));
  EXPECT_TRUE(m_log.has("1"));
}

TEST_F(Response, Send_SecondTimeAfterSuccess_IsRefused) {
  set_message(m_record, from_hex("06 00 BB 0A 00 00"));
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), 0);
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -101);
  EXPECT_EQ(m_pc.received_hex(), "06 00 BB 0A 00 00");
}

TEST_F(Response, Send_WholeRecordOf4096Bytes_GoesOut) {
  set_message(m_record, std::string(4096, 'z'));
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), 0);
  EXPECT_EQ(m_pc.received(), std::string(4096, 'z'));
}

TEST_F(Response, Send_FrameLengthBeyondTheRecord_IsRefused) {
  set_message(m_record, from_hex("FF FF BB 0A F9 FF"));
  m_record.m_buf_len = 0;
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -101);
  EXPECT_TRUE(m_log.has("length 65535 leaves the record"));
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(Response, Send_ClosedPcLink_Fails) {
  set_link(g_handle_context.m_fd_pc, 0);
  set_message(m_record, "x");
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -100);
  EXPECT_EQ(m_record.m_buf_len, 1u);
  const auto texts = m_log.texts();
  ASSERT_EQ(texts.size(), 4u);
  EXPECT_EQ(texts[0], "amt_handle_send_rsp()");
  EXPECT_EQ(texts[1].rfind(trace(5770, "amt_handle_send_rsp", -100), 0), 0u);
  EXPECT_EQ(texts[2], "invalid fd");
  EXPECT_EQ(texts[3].rfind(trace(5780, "amt_handle_send_rsp", -100), 0), 0u);
}

TEST_F(Response, Send_ClosedApplication_Fails) {
  for (const int closed : {0, -1}) {
    set_link(g_handle_context.m_pty_app.m_ptm_fd, closed);
    set_message(m_record, "x");
    m_log.clear();
    EXPECT_EQ(amt_handle_send_rsp(2, &m_record), -100);
    EXPECT_TRUE(m_log.has("invalid fd"));
  }
}

TEST_F(Response, Send_WriteFails_KeepsTheRecord) {
  set_link(g_handle_context.m_fd_pc, open_full_device());
  set_message(m_record, "0123456789");
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -118);
  EXPECT_EQ(m_record.m_buf_len, 10u);
  EXPECT_EQ(m_record.m_buf_a[9], '9');
  EXPECT_TRUE(m_log.has("sys call: write() failed! errno = 28"));
  EXPECT_TRUE(m_log.contains("FUNC-amt_handle_send_rsp(), error_code=-1, errno=28"));
  EXPECT_TRUE(m_log.contains(trace(5780, "amt_handle_send_rsp", -118)));
}

TEST_F(Response, Send_HungUpTerminal_IsAFailedWrite) {
  pty_link terminal;
  set_link(g_handle_context.m_fd_pc, terminal.service_end());
  terminal.hang_up();
  set_message(m_record, "x");
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -118);
  EXPECT_TRUE(m_log.has("sys call: write() failed! errno = 5"));
}

TEST_F(Response, Send_PartOfTheBytesWritten_IsNotRetriedAndKeepsTheRecord) {
  const int sink = open_sink_with_room(4);
  ASSERT_GT(sink, 0);
  set_link(g_handle_context.m_fd_pc, sink);
  set_message(m_record, "0123456789");
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -119);
  EXPECT_EQ(sunk(sink, sysconf(_SC_PAGESIZE) - 4, 4), "0123");
  EXPECT_EQ(m_record.m_buf_len, 10u);
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "write not completed: to write(10) != written(4)"}));
  EXPECT_TRUE(m_log.contains(trace(5780, "amt_handle_send_rsp", -119)));
  EXPECT_FALSE(m_log.contains("send PC rsp data"));
}

TEST_F(Response, Send_FullNonBlockingLink_FailsAtOnce) {
  fill_pc_link();
  set_message(m_record, std::string(4096, 'z'));
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -118);
  EXPECT_TRUE(m_log.has("sys call: write() failed! errno = 11"));
  EXPECT_EQ(m_record.m_buf_len, 4096u);
}

TEST_F(Response, Send_NonBlockingLinkWithRoomForSome_WritesAPart) {
  fill_pc_link();
  EXPECT_EQ(m_pc.receive_once(40).size(), 40u);  // room again, for less than the record
  set_message(m_record, std::string(4096, 'z'));
  EXPECT_EQ(amt_handle_send_rsp(1, &m_record), -119);
  const std::string all = m_pc.received();
  const auto written = static_cast<std::size_t>(std::count(all.begin(), all.end(), 'z'));
  EXPECT_GT(written, 0u);
  EXPECT_TRUE(m_log.has("write not completed: to write(4096) != written(" + std::to_string(written) + ")"));
  EXPECT_EQ(m_record.m_buf_len, 4096u);
}

TEST_F(Response, SendLog_250Bytes_IsWholeAnd251IsCut) {
  set_message(m_record, std::string(250, 'A'));
  std::ignore = amt_handle_send_rsp(1, &m_record);
  std::string image;
  for (int n = 0; n < 250; ++n) image += "41";
  EXPECT_TRUE(m_log.has("send PC rsp data: : (data_len = 250) -- " + image));
  set_message(m_record, std::string(251, 'A'));
  std::ignore = amt_handle_send_rsp(1, &m_record);
  EXPECT_TRUE(m_log.has("send PC rsp data: : (data_len = 251) -- " + image + "..."));
}

TEST_F(Response, SendOk_ToPc_IsWrapped) {
  set_message(m_record, "what was there before");
  EXPECT_EQ(amt_handle_send_rsp_ok(1, &m_record, 220), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB DC 09 00 EE 01 01 04 00 00 00 00 00 4F A0 C1 57");
  EXPECT_TRUE(is_clear(m_record));
  EXPECT_TRUE(m_log.has("amt_handle_send_rsp_ok()"));
}

TEST_F(Response, SendOk_ToApplication_IsTheBareFrame) {
  EXPECT_EQ(amt_handle_send_rsp_ok(2, &m_record, 10), 0);
  EXPECT_EQ(m_app.received_hex(), "0F 00 BB 0A 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Response, SendErr_ToPc_CarriesTheCode) {
  EXPECT_EQ(amt_handle_send_rsp_err(1, &m_record, 46, 1), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 2E 09 00 EE 01 01 04 00 01 00 00 00 59 61 58 45");
  EXPECT_TRUE(m_log.has("amt_handle_send_rsp_err()"));
}

TEST_F(Response, SendErr_AllFourBytesOfTheCode_AreLittleEndian) {
  EXPECT_EQ(amt_handle_send_rsp_err(2, &m_record, 12, 0x12345678), 0);
  EXPECT_EQ(m_app.received_hex(), "0F 00 BB 0C 09 00 EE 01 01 04 00 78 56 34 12");
  EXPECT_EQ(amt_handle_send_rsp_err(1, &m_record, 12, static_cast<std::uint32_t>(-100)), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 0C 09 00 EE 01 01 04 00 9C FF FF FF 07 68 18 4C");
}

TEST_F(Response, SendErr_IdAbove255_IsCutTo8Bits) {
  EXPECT_EQ(amt_handle_send_rsp_err(1, &m_record, 256, 1), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 00 09 00 EE 01 01 04 00 01 00 00 00 58 80 D2 73");
}

TEST_F(Response, SendOkAndErr_BadArguments_AreRefusedAtTheirOwnSites) {
  EXPECT_EQ(amt_handle_send_rsp_ok(0, &m_record, 2), -101);
  EXPECT_EQ(amt_handle_send_rsp_ok(255, &m_record, 2), -101);
  EXPECT_TRUE(m_log.contains(trace(5824, "amt_handle_send_rsp_ok", -101)));
  EXPECT_EQ(m_log.count("1, 0"), 2u);
  EXPECT_EQ(amt_handle_send_rsp_err(0, &m_record, 2, 1), -101);
  EXPECT_EQ(amt_handle_send_rsp_err(255, &m_record, 2, 1), -101);
  EXPECT_TRUE(m_log.contains(trace(5886, "amt_handle_send_rsp_err", -101)));
  EXPECT_EQ(m_log.count("1, 0"), 4u);
  EXPECT_EQ(amt_handle_send_rsp_ok(1, nullptr, 2), -101);
  EXPECT_EQ(amt_handle_send_rsp_err(1, nullptr, 2, 1), -101);
  EXPECT_EQ(m_log.count("0, 1"), 2u);
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(Response, SendOkAndErr_ClosedOrFailingLink_PassTheSendersCodeOn) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(amt_handle_send_rsp_ok(1, &m_record, 2), -100);
  set_link(g_handle_context.m_fd_pc, open_full_device());
  EXPECT_EQ(amt_handle_send_rsp_err(1, &m_record, 2, 1), -118);
  set_link(g_handle_context.m_fd_pc, open_sink_with_room(30));
  EXPECT_EQ(amt_handle_send_rsp_ok(1, &m_record, 2), -119);
}

TEST_F(Response, PreResponse_ToPc_IsTheEmptyEnvelope) {
  set_message(m_record, std::string(40, 'x'));
  EXPECT_EQ(amt_handle_send_pre_rsp_for_pc(1, &m_record), 0);
  EXPECT_EQ(m_pc.received_hex(), "AA BB CC DD 08 00 00 00 02 02 00 00 76 4A EE 1D");
  EXPECT_TRUE(is_clear(m_record));
  EXPECT_TRUE(m_log.has("send PC rsp data: : (data_len = 16) -- AABBCCDD0800000002020000764AEE1D"));
}

TEST_F(Response, PreResponse_AnyOtherLinkOrNoRecord_IsRefused) {
  for (const std::uint8_t link : {std::uint8_t{0}, std::uint8_t{2}, std::uint8_t{255}}) {
    EXPECT_EQ(amt_handle_send_pre_rsp_for_pc(link, &m_record), -101) << int{link};
  }
  EXPECT_EQ(m_log.count("1, 0"), 3u);
  EXPECT_EQ(amt_handle_send_pre_rsp_for_pc(1, nullptr), -101);
  EXPECT_TRUE(m_log.has("0, 1"));
  EXPECT_TRUE(m_log.contains(trace(5947, "amt_handle_send_pre_rsp_for_pc", -101)));
  EXPECT_EQ(m_pc.received() + m_app.received(), "");
}

TEST_F(Response, PreResponse_ClosedLink_Fails) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(amt_handle_send_pre_rsp_for_pc(1, &m_record), -100);
}

class Finish : public Response {
 protected:
  Finish() {
    amt_message_clear(m_record);
    amt_frame_init(&m_record.m_buf_a, 226);
    amt_frame_add_int(&m_record.m_buf_a, 5, 7);
  }
};

TEST_F(Finish, DataReplyToPc_GetsTheResultAtomAndTheEnvelope) {
  EXPECT_EQ(amt_handle_finish_rsp(1, &m_record), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB E2 12 00 EE 05 01 04 00 07 00 00 00 EE 01 01 04 00 00 00 00 "
            "00 62 B3 85 C1");
}

TEST_F(Finish, DataReplyToApplication_StaysBare) {
  EXPECT_EQ(amt_handle_finish_rsp(2, &m_record), 0);
  EXPECT_EQ(m_app.received_hex(), "18 00 BB E2 12 00 EE 05 01 04 00 07 00 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Finish, FrameTooLongForItsEnvelope_IsNotSent) {
  // Head and atom 5: 15 bytes; this atom: 5 + 4052; the result: 9. 4081, one more than wrapping takes.
  const std::vector<std::uint8_t> value(4052, 'v');
  ASSERT_TRUE(amt_frame_add_bytes(&m_record.m_buf_a, 9, value.data(), value.size()));
  EXPECT_EQ(amt_handle_finish_rsp(1, &m_record), -101);
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(Response, AtReply_Text_BecomesTheWholeReply) {
  set_message(m_record, std::string(300, 'o'));
  EXPECT_EQ(amt_handle_send_at_rsp(&m_record, "\r\n+CME ERROR: 100\r\n"), 0);
  EXPECT_EQ(m_pc.received(), "\r\n+CME ERROR: 100\r\n");
}

TEST_F(Response, AtReply_TextOf5000_IsCutTo4095) {
  EXPECT_EQ(amt_handle_send_at_rsp(&m_record, std::string(5000, 'a')), 0);
  EXPECT_EQ(m_pc.received(), std::string(4095, 'a'));
}

TEST_F(Response, AtReply_ClosedLink_Fails) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(amt_handle_send_at_rsp(&m_record, "\r\nOK\r\n"), -100);
}

}  // namespace
