// The flag that permits the handshake, as the PC writes and reads it.
#include "amt/amt-handle/pc/amt1-flag.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

namespace fs = std::filesystem;

constexpr char FLAG_FILE[] = "/amt/power_usb_amt.txt";
constexpr char OK[] = "\r\nOK\r\n";
constexpr char ERROR[] = "\r\nERROR\r\n";

class Amt1Flag : public context_test {
 protected:
  Amt1Flag() { phone_root::remove(FLAG_FILE); }
  static void make_folder_of_the_file() { fs::create_directories(FLAG_FILE); }
  static void make_full() {
    phone_root::remove(FLAG_FILE);
    fs::create_symlink("/dev/full", FLAG_FILE);
  }
  std::string answer_to(const std::string& text) {
    set_message(g_handle_context.m_request, text);
    EXPECT_EQ(
        handle_amt_not_permit_handshake_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response),
        0)
        << text;
    return m_pc.received();
  }
};

TEST_F(Amt1Flag, Command_Types0And1_WriteAndAreOk) {
  EXPECT_EQ(answer_to("AT^DAMT1=0\r"), OK);
  EXPECT_EQ(phone_root::read(FLAG_FILE), "0");
  EXPECT_EQ(answer_to("AT^DAMT1=1\r"), OK);
  EXPECT_EQ(phone_root::read(FLAG_FILE), "1");
  EXPECT_TRUE(m_log.has("handle_amt_not_permit_handshake_at. start."));
}

TEST_F(Amt1Flag, Command_Type2_AnswersTheFlag) {
  EXPECT_EQ(answer_to("AT^DAMT1=2\r"), "\r\n^DAMT1: 1\r\n\r\nOK\r\n");
  phone_root::write(FLAG_FILE, "0");
  EXPECT_EQ(answer_to("AT^DAMT1=2\r"), "\r\n^DAMT1: 0\r\n\r\nOK\r\n");
  phone_root::write(FLAG_FILE, "10");
  EXPECT_EQ(answer_to("AT^DAMT1=2"), "\r\n^DAMT1: 1\r\n\r\nOK\r\n");
}

TEST_F(Amt1Flag, Command_OtherTypes_AreErrors) {
  for (const char* text : {"AT^DAMT1=3\r", "AT^DAMT1=-1\r", "AT^DAMT1=22\r", "AT^DAMT1=256\r"}) {
    EXPECT_EQ(answer_to(text), ERROR) << text;
  }
  EXPECT_FALSE(fs::exists(FLAG_FILE));
}

TEST_F(Amt1Flag, Command_WithoutDigits_IsType0) {
  for (const char* text : {"AT^DAMT1=\r", "AT^DAMT1=,\r", "AT^DAMT1=x\r", "AT^DAMT1=?"}) {
    phone_root::write(FLAG_FILE, "1");
    EXPECT_EQ(answer_to(text), OK) << text;
    EXPECT_EQ(phone_root::read(FLAG_FILE), "0") << text;
  }
}

TEST_F(Amt1Flag, Command_FurtherFieldsAndEmptyOnes_AreIgnored) {
  EXPECT_EQ(answer_to("AT^DAMT1=,,1,0\r"), OK);
  EXPECT_EQ(phone_root::read(FLAG_FILE), "1");
}

TEST_F(Amt1Flag, Command_FileCannotBeWritten_IsAnError) {
  make_folder_of_the_file();
  EXPECT_EQ(answer_to("AT^DAMT1=0\r"), ERROR);
  make_full();
  EXPECT_EQ(answer_to("AT^DAMT1=1\r"), ERROR);
}

TEST_F(Amt1Flag, Command_WithoutType_FailsGenericallyAndAnswersNothing) {
  for (const char* text : {"AT^DAMT1=", "AT^DAMT1=,,,"}) {
    set_message(g_handle_context.m_request, text);
    m_log.clear();
    EXPECT_EQ(
        handle_amt_not_permit_handshake_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response),
        -101)
        << text;
    const auto lines = m_log.texts();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_THAT(lines[1], failure_line("amt/amt-handle", "handle_amt_not_permit_handshake_at", -101));
    EXPECT_EQ(lines[2], "type is null!!!");
  }
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(Amt1Flag, OtherText_IsNotTheCommand) {
  for (const char* text : {"AT^DAMT1?\r", "AT^DAMT1 =1\r", "at^damt1=1\r", ""}) {
    set_message(g_handle_context.m_request, text);
    EXPECT_EQ(
        handle_amt_not_permit_handshake_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response),
        -104)
        << text;
  }
}

class NotPermit : public Amt1Flag {
 protected:
  NotPermit() { set_message(m_request, from_hex("06 00 BB DB 00 00")); }
  amt_message_st& m_request = g_handle_context.m_request_copy;
  amt_message_st& m_response = g_handle_context.m_response;
};

TEST_F(NotPermit, Request_WritesTheFlagAndIsOk) {
  phone_root::write(FLAG_FILE, "1");
  EXPECT_EQ(amt_handle_not_permit_handshake(1, &m_request, &m_response), 0);
  EXPECT_TRUE(m_log.has("amt_handle_not_permit_handshake()"));
  EXPECT_EQ(phone_root::read(FLAG_FILE), "0");
  EXPECT_EQ(m_pc.received_hex(),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB DC 09 00 EE 01 01 04 00 00 00 00 00 4F A0 C1 57");
}

TEST_F(NotPermit, FileCannotBeWritten_FailsAndNothingIsSent) {
  make_folder_of_the_file();
  EXPECT_EQ(amt_handle_not_permit_handshake(1, &m_request, &m_response), -100);
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(NotPermit, BadArguments_AreRefusedBeforeTheFileIsTouched) {
  amt_message_st empty = {};
  EXPECT_EQ(amt_handle_not_permit_handshake(255, &m_request, &m_response), -101);
  EXPECT_EQ(amt_handle_not_permit_handshake(1, nullptr, &m_response), -101);
  EXPECT_EQ(amt_handle_not_permit_handshake(1, &empty, &m_response), -101);
  EXPECT_EQ(amt_handle_not_permit_handshake(1, &m_request, nullptr), -101);
  EXPECT_FALSE(fs::exists(FLAG_FILE));
}

TEST_F(NotPermit, PcGone_IsTheSendersResult) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(amt_handle_not_permit_handshake(1, &m_request, &m_response), -100);
  EXPECT_EQ(phone_root::read(FLAG_FILE), "0");
}

}  // namespace
