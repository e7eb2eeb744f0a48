// The Bluetooth and WiFi addresses as the station reads and writes them.
#include "amt/amt-handle/pc/address.h"

#include "tests/unit/pc/phone-test.h"

namespace {

constexpr char BT_FILE[] = "/amt/BT/BT_Address.txt";
constexpr char SECOND_BT_FILE[] = "/mnt/opl/nvm/BT_Address.txt";
constexpr char WIFI_FILE[] = "/amt/WIFI/WIFI_nvram.txt";

class BtAddress : public phone_test {};
class WifiAtAddress : public phone_test {};

TEST_F(BtAddress, Read_AnswersTheFilesWord) {
  write(BT_FILE, "00:11:22:33:44:55\n");
  EXPECT_EQ(send("AT^DBTADDR?\r"), "\r\n^DBTADDR: \"00:11:22:33:44:55\"\r\n\r\nOK\r\n");
  EXPECT_TRUE(m_log.has_in_a_row({"bt_addr_read()", "get_bt_addr_file()", "read BT address: 00:11:22:33:44:55"}));
}

TEST_F(BtAddress, ReadWithBothFiles_TakesThePhonesOwn) {
  write(BT_FILE, "FIRST\n");
  write(SECOND_BT_FILE, "SECOND\n");
  EXPECT_EQ(send("AT^DBTADDR?\r"), "\r\n^DBTADDR: \"FIRST\"\r\n\r\nOK\r\n");
}

TEST_F(BtAddress, ReadWithTheSecondFileOnly_TakesIt) {
  write(SECOND_BT_FILE, "SECOND\n");
  EXPECT_EQ(send("AT^DBTADDR?\r"), "\r\n^DBTADDR: \"SECOND\"\r\n\r\nOK\r\n");
}

struct word_row {
  const char* m_name;
  std::string m_content;
  std::string m_word;
};

class BtAddressWord : public BtAddress, public testing::WithParamInterface<word_row> {};

TEST_P(BtAddressWord, Read_AnswersAtMostNineteenCharacters) {
  write(BT_FILE, GetParam().m_content);
  EXPECT_EQ(send("AT^DBTADDR?\r"), "\r\n^DBTADDR: \"" + GetParam().m_word + "\"\r\n\r\nOK\r\n");
}

INSTANTIATE_TEST_SUITE_P(Each, BtAddressWord,
                         testing::Values(word_row{"Nineteen", "1234567890123456789\n", "1234567890123456789"},
                                         word_row{"Twenty", "12345678901234567890\n", "1234567890123456789"},
                                         word_row{"FourThousand", std::string(4000, 'a'), std::string(19, 'a')},
                                         word_row{"SeveralWords", "AA:BB CC:DD\n", "AA:BB"},
                                         word_row{"BlankLinesInFront", "\n\n  AA:BB\n", "AA:BB"},
                                         word_row{"NoLineEnd", "AA:BB", "AA:BB"},
                                         word_row{"LineEndOfTwo", "AA:BB\r\n", "AA:BB"}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(BtAddress, ReadWithoutAFile_Fails) {
  EXPECT_EQ(send("AT^DBTADDR?\r"), CME_ERROR);
  EXPECT_TRUE(has_failure("get_bt_addr_file", -118,
                          "can not access file \"/amt/BT/BT_Address.txt\" or \"/mnt/opl/nvm/BT_Address.txt\""));
}

TEST_F(BtAddress, ReadOfAForbiddenFile_Fails) {
  make_forbidden(BT_FILE);
  EXPECT_EQ(send("AT^DBTADDR?\r"), CME_ERROR);
  EXPECT_TRUE(has_failure("bt_addr_read", -118, "open(\"/amt/BT/BT_Address.txt\") fail: 13 - Permission denied", "13"));
}

TEST_F(BtAddress, ReadOfAnEmptyFile_Fails) {
  write(BT_FILE, "");
  EXPECT_EQ(send("AT^DBTADDR?\r"), CME_ERROR);
  EXPECT_TRUE(has_failure("bt_addr_read", -100, "read not completed"));
}

TEST_F(BtAddress, ReadOfBlanksOnly_Fails) {
  write(BT_FILE, " \n \n");
  EXPECT_EQ(send("AT^DBTADDR?\r"), CME_ERROR);
}

TEST_F(BtAddress, ReadOfAFolder_Fails) {
  fs::create_directories(BT_FILE);
  EXPECT_EQ(send("AT^DBTADDR?\r"), CME_ERROR);
  EXPECT_TRUE(has_failure("bt_addr_read", -100, "read not completed"));
}

TEST_F(BtAddress, TestForm_IsOkWithoutAFile) {
  EXPECT_EQ(send("AT^DBTADDR=?\r"), OK);
  EXPECT_FALSE(fs::exists(BT_FILE));
}

TEST_F(BtAddress, Write_ReplacesTheFileAndFlushes) {
  write(BT_FILE, "OLD AND LONGER THAN WHAT COMES\nSECOND LINE\n");
  EXPECT_EQ(send("AT^DBTADDR=\"00:11:22:33:44:55\"\r"), OK);
  EXPECT_EQ(read(BT_FILE), "00:11:22:33:44:55\n");
  EXPECT_EQ(syncs(), 2);
  EXPECT_TRUE(m_log.has_in_a_row({"bt_addr_write()", "get_bt_addr_file()", "write BT address: 00:11:22:33:44:55"}));
}

TEST_F(BtAddress, WriteWithBothFiles_WritesThePhonesOwn) {
  write(BT_FILE, "FIRST\n");
  write(SECOND_BT_FILE, "SECOND\n");
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\r"), OK);
  EXPECT_EQ(read(BT_FILE), "NEW\n");
  EXPECT_EQ(read(SECOND_BT_FILE), "SECOND\n");
}

TEST_F(BtAddress, WriteWithTheSecondFileOnly_WritesIt) {
  write(SECOND_BT_FILE, "SECOND\n");
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\r"), OK);
  EXPECT_EQ(read(SECOND_BT_FILE), "NEW\n");
  EXPECT_FALSE(fs::exists(BT_FILE));
}

struct argument_row {
  const char* m_name;
  std::string m_behind_quote;
  std::string m_content;
};

class BtAddressArgument : public BtAddress, public testing::WithParamInterface<argument_row> {};

TEST_P(BtAddressArgument, Write_TakesAtMostNineteenCharactersUpToTheQuote) {
  write(BT_FILE, "OLD\n");
  EXPECT_EQ(send("AT^DBTADDR=\"" + GetParam().m_behind_quote), OK);
  EXPECT_EQ(read(BT_FILE), GetParam().m_content);
}

const auto ARGUMENTS = testing::Values(
    argument_row{"One", "A\"\r", "A\n"}, argument_row{"Nineteen", "1234567890123456789\"\r", "1234567890123456789\n"},
    argument_row{"Twenty", "12345678901234567890\"\r", "1234567890123456789\n"},
    argument_row{"FourThousand", std::string(4000, 'x') + "\"\r", std::string(19, 'x') + "\n"},
    argument_row{"NoClosingQuote", "A\r", "A\r\n"}, argument_row{"NoClosingQuoteNoLineEnd", "AB", "AB\n"},
    argument_row{"NoClosingQuoteTwentyCharacters", "12345678901234567890\r", "1234567890123456789\n"},
    argument_row{"BlanksAndAnything", " x,y; \"\r", " x,y; \n"});

INSTANTIATE_TEST_SUITE_P(Each, BtAddressArgument, ARGUMENTS, [](const auto& row) { return row.param.m_name; });

TEST_F(BtAddress, WriteOfNothing_IsRefusedAndTheFileKept) {
  write(BT_FILE, "OLD\n");
  EXPECT_EQ(send("AT^DBTADDR=\"\"\r"), CME_ERROR);
  EXPECT_EQ(read(BT_FILE), "OLD\n");
  EXPECT_TRUE(has_failure("bt_addr_write", -101, "0, 1"));
  EXPECT_EQ(syncs(), 0);
}

TEST_F(BtAddress, WriteWithoutAFile_FailsAndMakesNone) {
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\r"), CME_ERROR);
  EXPECT_FALSE(fs::exists(BT_FILE));
  EXPECT_TRUE(m_log.contains("can not access file"));
}

TEST_F(BtAddress, WriteIntoAForbiddenFile_FailsAndKeepsIt) {
  make_forbidden(BT_FILE, "OLD\n");
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\r"), CME_ERROR);
  EXPECT_TRUE(has_failure("bt_addr_write", -118, "open(\"/amt/BT/BT_Address.txt\") fail: 13 - Permission denied"));
  EXPECT_EQ(syncs(), 0);
  chmod(BT_FILE, 0644);
  EXPECT_EQ(read(BT_FILE), "OLD\n");
}

TEST_F(BtAddress, WriteIntoAFolder_Fails) {
  fs::create_directories(BT_FILE);
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\r"), CME_ERROR);
  EXPECT_TRUE(has_failure("bt_addr_write", -118, "open(\"/amt/BT/BT_Address.txt\") fail: 21 - Is a directory"));
}

TEST_F(BtAddress, WriteOnAFullSystem_FailsAndFlushes) {
  make_full(BT_FILE);
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\r"), CME_ERROR);
  const auto lines = m_log.texts();
  const auto at = std::find(lines.begin(), lines.end(), "sys call: fputs() failed! errno = 28");
  ASSERT_NE(at, lines.end());
  EXPECT_THAT(*(at + 1), failure_line("amt/amt-handle", "bt_addr_write", -1, "28"));
  EXPECT_FALSE(m_log.contains("write BT address"));
  EXPECT_EQ(syncs(), 2);
}

TEST_F(BtAddress, QueryWithoutCarriageReturn_GoesToTheModem) {
  EXPECT_TRUE(is_passed_on("AT^DBTADDR?"));
  EXPECT_TRUE(is_passed_on("AT^DBTADDR=?"));
  EXPECT_TRUE(is_passed_on("AT^DBTADDR=00:11\r"));
}

TEST_F(BtAddress, QueryAndWriteInOneText_IsAQuery) {
  write(BT_FILE, "OLD\n");
  EXPECT_EQ(send("AT^DBTADDR=\"NEW\"\rAT^DBTADDR?\r"), "\r\n^DBTADDR: \"OLD\"\r\n\r\nOK\r\n");
  EXPECT_EQ(read(BT_FILE), "OLD\n");
}

TEST_F(BtAddress, NothingReceived_IsAFailure) {
  set_message(g_handle_context.m_request, "");
  EXPECT_EQ(handle_amt_bt_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), -101);
  EXPECT_THAT(m_log.texts().at(0), failure_line("amt/amt-handle", "handle_amt_pc_req_at", -101));
}

TEST_F(BtAddress, ReplyThatCannotBeSent_IsTheResult) {
  set_link(g_handle_context.m_fd_pc, 0);
  set_message(g_handle_context.m_request, "AT^DBTADDR=?\r");
  EXPECT_EQ(handle_amt_bt_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), -100);
}

TEST_F(WifiAtAddress, Read_AnswersTheRecord) {
  write(WIFI_FILE, "AA:BB:CC:DD:EE:FF\n");
  EXPECT_EQ(send("AT^DWIFIADDR?\r"), "\r\n^DWIFIADDR: \"AA:BB:CC:DD:EE:FF\"\r\n\r\nOK\r\n");
  EXPECT_TRUE(m_log.has("handle_amt_wifi_at()"));
}

TEST_F(WifiAtAddress, ReadOfALongRecord_AnswersNineteenCharacters) {
  write(WIFI_FILE, "1234567890123456789\n");
  EXPECT_EQ(send("AT^DWIFIADDR?\r"), "\r\n^DWIFIADDR: \"1234567890123456789\"\r\n\r\nOK\r\n");
  write(WIFI_FILE, "12345678901234567890\n");
  EXPECT_EQ(send("AT^DWIFIADDR?\r"), "\r\n^DWIFIADDR: \"1234567890123456789\"\r\n\r\nOK\r\n");
  write(WIFI_FILE, std::string(4000, 'x'));
  EXPECT_EQ(send("AT^DWIFIADDR?\r"), "\r\n^DWIFIADDR: \"xxxxxxxxxxxxxxxxxxx\"\r\n\r\nOK\r\n");
}

TEST_F(WifiAtAddress, ReadWithoutARecord_Fails) {
  EXPECT_EQ(send("AT^DWIFIADDR?\r"), CME_ERROR);
}

TEST_F(WifiAtAddress, TestForm_IsOk) {
  EXPECT_EQ(send("AT^DWIFIADDR=?\r"), OK);
}

class WifiAddressArgument : public WifiAtAddress, public testing::WithParamInterface<argument_row> {};

TEST_P(WifiAddressArgument, Write_TakesAtMostNineteenCharactersUpToTheQuote) {
  EXPECT_EQ(send("AT^DWIFIADDR=\"" + GetParam().m_behind_quote), OK);
  EXPECT_EQ(read(WIFI_FILE), GetParam().m_content);
  EXPECT_EQ(syncs(), 2);
}

INSTANTIATE_TEST_SUITE_P(Each, WifiAddressArgument, ARGUMENTS, [](const auto& row) { return row.param.m_name; });

TEST_F(WifiAtAddress, WriteOfNothing_IsRefusedByTheRecord) {
  write(WIFI_FILE, "OLD\n");
  EXPECT_EQ(send("AT^DWIFIADDR=\"\"\r"), CME_ERROR);
  EXPECT_EQ(read(WIFI_FILE), "OLD\n");
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-wifi", "amt_write_wifi_address", ERR_ARGUMENT)));
}

TEST_F(WifiAtAddress, WriteWithoutTheFolder_Fails) {
  fs::remove_all("/amt/WIFI");
  EXPECT_EQ(send("AT^DWIFIADDR=\"NEW\"\r"), CME_ERROR);
}

TEST_F(WifiAtAddress, QueryWithoutCarriageReturn_GoesToTheModem) {
  EXPECT_TRUE(is_passed_on("AT^DWIFIADDR?"));
}

TEST_F(WifiAtAddress, NothingReceived_IsAFailure) {
  set_message(g_handle_context.m_request, "");
  EXPECT_EQ(handle_amt_wifi_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), -101);
}

TEST_F(WifiAtAddress, BluetoothInTheSameText_IsAnsweredFirst) {
  write(BT_FILE, "BT\n");
  write(WIFI_FILE, "WIFI\n");
  EXPECT_EQ(send("AT^DWIFIADDR?\rAT^DBTADDR?\r"), "\r\n^DBTADDR: \"BT\"\r\n\r\nOK\r\n");
}

}  // namespace
