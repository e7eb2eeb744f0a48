#include "amt/amt-handle/pc/boot-download.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "tests/unit/board.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"

namespace {

class BootDownload : public context_test {
 protected:
  BootDownload() { m_log.clear(); }
  std::string answer_to(const std::string& text) {
    set_message(g_handle_context.m_request, text);
    EXPECT_EQ(
        handle_amt_boot_dl_fin_read_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), 0)
        << text;
    return m_pc.received();
  }

  test_board m_board;
  amt_message_st& m_request = g_handle_context.m_request_copy;
  amt_message_st& m_response = g_handle_context.m_response;
};

TEST_F(BootDownload, Command_AnswersTheBoardsFlag) {
  m_board.m_result = 1;
  EXPECT_EQ(answer_to("AT^DBOOTDLFIN\r"), "\r\n^DBOOTDLFIN: 1\r\n\r\nOK\r\n");
  m_board.m_result = 0;
  EXPECT_EQ(answer_to("AT^DBOOTDLFIN\r"), "\r\n^DBOOTDLFIN: 0\r\n\r\nOK\r\n");
  m_board.m_result = -5;
  EXPECT_EQ(answer_to("AT^DBOOTDLFIN\r"), "\r\n^DBOOTDLFIN: -5\r\n\r\nOK\r\n");
  EXPECT_TRUE(m_log.has("amt_modem_boot_dl_fin_read finished. flag:-5; ret_val:0."));
}

TEST_F(BootDownload, CommandInAnyForm_IsTheQuery) {
  for (const char* text : {"AT^DBOOTDLFIN", "AT^DBOOTDLFIN?\r", "AT^DBOOTDLFIN=1", "xx AT^DBOOTDLFINxx"}) {
    EXPECT_EQ(answer_to(text), "\r\n^DBOOTDLFIN: 0\r\n\r\nOK\r\n") << text;
  }
}

TEST_F(BootDownload, OtherText_IsNotTheCommand) {
  for (const char* text : {"AT^DBOOTDLFI\r", "at^dbootdlfin\r", ""}) {
    set_message(g_handle_context.m_request, text);
    EXPECT_EQ(
        handle_amt_boot_dl_fin_read_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response),
        -104)
        << text;
  }
  EXPECT_TRUE(m_board.m_calls.empty());
}

TEST_F(BootDownload, CommandWithoutLibraryOrOperation_IsAnError) {
  m_board.remove();
  EXPECT_EQ(answer_to("AT^DBOOTDLFIN\r"), "\r\nERROR\r\n");
  m_board.use_empty();
  EXPECT_EQ(answer_to("AT^DBOOTDLFIN\r"), "\r\nERROR\r\n");
  EXPECT_EQ(m_log.count("amt_modem_boot_dl_fin_read finished. flag:0; ret_val:-118."), 2u);
}

// The line shows what the response record holds, which is not the command.
TEST_F(BootDownload, CommandLog_ShowsTheResponseRecord) {
  answer_to("AT^DBOOTDLFIN\r");
  EXPECT_TRUE(m_log.has("handle_amt_boot_dl_fin_read_at. at:."));
  set_message(m_response, "left behind");
  answer_to("AT^DBOOTDLFIN\r");
  EXPECT_TRUE(m_log.has("handle_amt_boot_dl_fin_read_at. at:left behind."));
}

TEST_F(BootDownload, Request_AnswersTheFlagAndTheResult) {
  set_message(m_request, from_hex("06 00 BB F4 00 00"));
  m_board.m_result = 1;
  EXPECT_EQ(amt_modem_boot_dl_fin_read(1, &m_request, &m_response), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB F5 12 00 EE CC 01 04 00 01 00 00 00 EE 01 01 04 00 00 00 00 "
            "00 A9 79 8A CA");
  EXPECT_TRUE(m_log.has("amt_modem_boot_dl_fin_read."));
  EXPECT_TRUE(m_log.has("amt_modem_boot_dl_fin_read finished. flag:1; ret_val:0."));
}

TEST_F(BootDownload, RequestWithANegativeFlag_CarriesItsBits) {
  set_message(m_request, from_hex("06 00 BB F4 00 00"));
  m_board.m_result = -7;
  EXPECT_EQ(amt_modem_boot_dl_fin_read(1, &m_request, &m_response), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB F5 12 00 EE CC 01 04 00 F9 FF FF FF EE 01 01 04 00 00 00 00 "
            "00 1D C6 02 40");
}

TEST_F(BootDownload, RequestWithoutTheLibrary_FailsAndNothingIsSent) {
  set_message(m_request, from_hex("06 00 BB F4 00 00"));
  m_board.remove();
  EXPECT_EQ(amt_modem_boot_dl_fin_read(1, &m_request, &m_response), -100);
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_TRUE(m_log.has("amt_modem_boot_dl_fin_read finished. flag:0; ret_val:-118."));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-handle", "amt_modem_boot_dl_fin_read", -100)));
  EXPECT_EQ(m_log.last(), "read error");
}

// As the PC sees it: the fixed message that its request arrived, then the error frame.
TEST_F(BootDownload, RequestWithoutTheOperation_IsAnsweredWithTheErrorFrame) {
  std::ignore = amt_handle_reg_handle_func(1, 244, amt_modem_boot_dl_fin_read);
  m_board.use_empty();
  set_message(g_handle_context.m_request,
              from_hex("AA BB CC DD 0E 00 00 00 02 00 00 00 06 00 BB F4 00 00 00 00 00 00"));
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 08 00 00 00 02 02 00 00 76 4A EE 1D "
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB F5 09 00 EE 01 01 04 00 01 00 00 00 4E 71 CB 37");
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-device", "amt_boot_dl_fin_read", -118)));
}

TEST_F(BootDownload, RequestWithBadArguments_IsRefusedBeforeTheBoardIsAsked) {
  amt_message_st empty = {};
  set_message(m_request, from_hex("06 00 BB F4 00 00"));
  EXPECT_EQ(amt_modem_boot_dl_fin_read(255, &m_request, &m_response), -101);
  EXPECT_EQ(amt_modem_boot_dl_fin_read(1, nullptr, &m_response), -101);
  EXPECT_EQ(amt_modem_boot_dl_fin_read(1, &empty, &m_response), -101);
  EXPECT_EQ(amt_modem_boot_dl_fin_read(1, &m_request, nullptr), -101);
  EXPECT_TRUE(m_board.m_calls.empty());
}

}  // namespace
