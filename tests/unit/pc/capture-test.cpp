// Identity writes on their way to the modem, and what is kept of them once it has answered.
#include "amt/amt-handle/pc/capture.h"

#include <atomic>
#include <thread>

#include "tests/unit/pc/phone-test.h"

namespace {

constexpr char IMEI_ATOM_OF_15[] = "EE 15 02 0F 00 33 35 39 38 38 31 32 33 34 35 36 37 38 39 30";
constexpr char BOARD_ATOM_OF_3[] = "EE 26 02 03 00 53 4E 31";

class Capture : public phone_test {
 protected:
  // A frame in its PC form. The envelope's length and checksum are not looked at.
  static std::string frame(std::uint8_t id, const std::string& atoms) {
    const std::size_t length = atoms.size();
    std::string bytes = from_hex("AA BB CC DD 00 00 00 00 02 00 00 00");
    bytes += static_cast<char>((length + 6) & 0xFF);
    bytes += static_cast<char>((length + 6) >> 8);
    bytes += static_cast<char>(0xBB);
    bytes += static_cast<char>(id);
    bytes += static_cast<char>(length & 0xFF);
    bytes += static_cast<char>(length >> 8);
    return bytes + atoms + std::string(4, '\0');
  }
  static std::string string_atom(std::uint8_t id, const std::string& text) {
    std::string bytes = from_hex("EE 00 02");
    bytes[1] = static_cast<char>(id);
    bytes += static_cast<char>(text.size() & 0xFF);
    bytes += static_cast<char>(text.size() >> 8);
    return bytes + text;
  }
  void say(std::string_view block) {
    amt_message_st message;
    set_message(message, block);
    handle_amt_imei_and_sn_rsp(message);
  }
  void expect_pending(int type) { EXPECT_EQ(g_cur_treat_cmd_type.load(), type); }

  const std::string m_confirmed_imei = frame(6, from_hex("EE 01 01 04 00 00 00 00 00"));
  const std::string m_refused_imei = frame(6, from_hex("EE 01 01 04 00 64 00 00 00"));
  const std::string m_confirmed_board = frame(88, from_hex("EE 01 01 04 00 00 00 00 00"));
};

TEST_F(Capture, ImeiText_GoesToTheModemAndWaits) {
  EXPECT_TRUE(is_passed_on("AT^DCGSNW=359881234567890\r"));
  expect_pending(1);
  EXPECT_TRUE(m_log.has_in_a_row({"handle_amt_imei_and_sn--->req_id_en:255.",
                                  "received at command in amt4:AT^DCGSNW=359881234567890\r", "handle_amt_get_at_para()",
                                  "getted parameter:359881234567890. prefix:AT^DCGSNW=; rtn:0."}));
  EXPECT_EQ(read("/amt/imei.txt"), std::nullopt);
}

TEST_F(Capture, ImeiTextConfirmed_IsWrittenAndFlushed) {
  send("AT^DCGSNW=359881234567890\r");
  m_log.clear();
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/imei.txt"), "359881234567890");
  EXPECT_EQ(read("/amt/imei-2.txt"), std::nullopt);
  EXPECT_EQ(syncs(), 2);
  expect_pending(0);
  EXPECT_TRUE(
      m_log.has_in_a_row({"g_cur_treat_cmd_type:1;", "handle_amt_imei_and_sn_save_file()", "amt_write_pcba_sn()",
                          "write pcba-sn: 359881234567890", "save imei to file. channel:0; content:359881234567890;",
                          "Writed imei to file success."}));
}

TEST_F(Capture, BoardTextConfirmed_IsWritten) {
  send("AT^DMSN=  SN1\r");
  expect_pending(2);
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
  EXPECT_EQ(read("/amt/sn-2.txt"), std::nullopt);
  EXPECT_TRUE(m_log.has_in_a_row({"save sn to file. channel:0; content:SN1;", "Writed sn to file success."}));
}

TEST_F(Capture, ImeiFrameConfirmedByFrame_IsWritten) {
  const std::string request = frame(5, from_hex(IMEI_ATOM_OF_15));
  EXPECT_TRUE(is_passed_on(request));
  EXPECT_TRUE(m_log.has_in_a_row(
      {"handle_amt_imei_and_sn--->req_id_en:5.", "getted write-imei command in amt1: imei:359881234567890;"}));
  say(m_confirmed_imei);
  EXPECT_EQ(read("/amt/imei.txt"), "359881234567890");
  EXPECT_TRUE(m_log.has("getted error-code from modem: err-code:0;"));
  expect_pending(0);
}

TEST_F(Capture, BoardFrameConfirmedByFrame_IsWritten) {
  send(frame(87, from_hex(BOARD_ATOM_OF_3)));
  EXPECT_TRUE(m_log.has("getted write-board command in amt1: board:SN1;"));
  say(m_confirmed_board);
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
  expect_pending(0);
}

TEST_F(Capture, ConfirmationFrameOfTheOtherType_SavesWhatIsPending) {
  send(frame(87, from_hex(BOARD_ATOM_OF_3)));
  say(m_confirmed_imei);
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
  EXPECT_EQ(read("/amt/imei.txt"), std::nullopt);
}

TEST_F(Capture, TextConfirmedByFrameAndFrameByText_AreWritten) {
  send("AT^DCGSNW=111\r");
  say(m_confirmed_imei);
  EXPECT_EQ(read("/amt/imei.txt"), "111");
  send(frame(87, from_hex(BOARD_ATOM_OF_3)));
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
}

TEST_F(Capture, ConfirmationFrameWithoutCode_CountsAsCodeZero) {
  send("AT^DMSN=SN1\r");
  say(frame(88, ""));
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
}

TEST_F(Capture, RefusedFrame_StaysPendingUntilTheNextConfirmation) {
  send(frame(5, from_hex(IMEI_ATOM_OF_15)));
  say(m_refused_imei);
  EXPECT_TRUE(m_log.has("getted error-code from modem: err-code:100;"));
  EXPECT_EQ(read("/amt/imei.txt"), std::nullopt);
  expect_pending(1);
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/imei.txt"), "359881234567890");
}

struct block_row {
  const char* m_name;
  std::string m_block;
};

class CaptureUnconfirmed : public Capture, public testing::WithParamInterface<block_row> {};

TEST_P(CaptureUnconfirmed, Block_LeavesTheCapturePending) {
  send("AT^DMSN=SN1\r");
  say(GetParam().m_block);
  EXPECT_EQ(read("/amt/sn.txt"), std::nullopt);
  expect_pending(2);
}

INSTANTIATE_TEST_SUITE_P(
    Each, CaptureUnconfirmed,
    testing::Values(block_row{"Error", "\r\nERROR\r\n"}, block_row{"CmeError", "\r\n+CME ERROR: 100\r\n"},
                    block_row{"OkWithoutLineEnds", "OK"}, block_row{"OkWithoutLeadingLineEnd", "OK\r\n"},
                    block_row{"FirstHalfOfOk", "\r\nO"}, block_row{"SecondHalfOfOk", "K\r\n"},
                    block_row{"FrameOfAnotherId",
                              from_hex("AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 2E 09 00 EE 01 01 04 00 00 00 00 "
                                       "00 00 00 00 00")},
                    block_row{"SixteenBytesOfAFrame", from_hex("AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 06")},
                    block_row{"TextInFrontOfAFrame",
                              from_hex("0D 0A AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB 06 09 00 EE 01 01 04 00 00 "
                                       "00 00 00 00 00 00 00")}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(Capture, ConfirmationSplitOverTwoBlocks_StaysPending) {
  send("AT^DMSN=SN1\r");
  say("\r\nO");
  say("K\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), std::nullopt);
  expect_pending(2);
}

TEST_F(Capture, ConfirmationAmongOtherText_Counts) {
  send("AT^DMSN=SN1\r");
  say("\r\n+CREG: 1\r\n\r\nOK\r\n\r\n^DLKS: 1\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
}

TEST_F(Capture, ConfirmationBehindAZeroByte_Counts) {
  send("AT^DMSN=SN1\r");
  say(std::string_view("\0\r\nOK\r\n", 7));
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
}

TEST_F(Capture, ConfirmationAtTheEndOfAFullRecord_Counts) {
  send("AT^DMSN=SN1\r");
  say(std::string(4089, 'x') + "\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
}

TEST_F(Capture, ConfirmationTwice_SavesOnce) {
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  fs::remove("/amt/sn.txt");
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), std::nullopt);
}

TEST_F(Capture, SecondImeiBeforeTheConfirmation_ReplacesTheFirst) {
  send("AT^DCGSNW=111111111111111\r");
  send("AT^DCGSNW=22\r");
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/imei.txt"), "22");
}

TEST_F(Capture, BoardBeforeTheConfirmationOfTheImei_TakesItsPlace) {
  send("AT^DCGSNW=111\r");
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
  EXPECT_EQ(read("/amt/imei.txt"), std::nullopt);
}

TEST_F(Capture, ImeiAndBoardInOneText_ImeiIsTaken) {
  send("AT^DMSN=SN1;AT^DCGSNW=111\r");
  expect_pending(1);
}

struct captured_length_row {
  const char* m_name;
  std::size_t m_length;
  std::size_t m_kept;
};

class CaptureLength : public Capture, public testing::WithParamInterface<captured_length_row> {};

TEST_P(CaptureLength, Text_IsCutToTwentyCharacters) {
  const auto& row = GetParam();
  send("AT^DMSN=" + std::string(row.m_length, 'x') + "\r");
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), std::string(row.m_kept, 'x'));
}

TEST_P(CaptureLength, BoardAtom_IsCutToTwentyCharacters) {
  const auto& row = GetParam();
  send(frame(87, string_atom(38, std::string(row.m_length, 'x'))));
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), std::string(row.m_kept, 'x'));
}

TEST_P(CaptureLength, ImeiAtom_IsCutToTwentyCharacters) {
  const auto& row = GetParam();
  send(frame(5, string_atom(21, std::string(row.m_length, 'x'))));
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/imei.txt"), std::string(row.m_kept, 'x'));
}

INSTANTIATE_TEST_SUITE_P(Each, CaptureLength,
                         testing::Values(captured_length_row{"One", 1, 1}, captured_length_row{"Twenty", 20, 20},
                                         captured_length_row{"TwentyOne", 21, 20},
                                         captured_length_row{"TwentyTwo", 22, 20},
                                         captured_length_row{"FourThousand", 4000, 20}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(Capture, FrameWithoutTheAtom_IsConfirmedWithoutAFile) {
  write("/amt/sn.txt", "OLD");
  send(frame(87, ""));
  expect_pending(2);
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "OLD");
  EXPECT_EQ(syncs(), 0);
  expect_pending(0);
}

TEST_F(Capture, FrameWithoutTheAtom_ForgetsTheValueBefore) {
  send("AT^DMSN=SN1\r");
  send(frame(87, ""));
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), std::nullopt);
}

TEST_F(Capture, CarriageReturnInFrontOfTheCommand_CapturesNothing) {
  send("\rAT^DMSN=SN1\r");
  expect_pending(2);
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), std::nullopt);
}

TEST_F(Capture, SavedValue_StaysForTheNextCaptureOfTheOther) {
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  fs::remove("/amt/sn.txt");
  g_cur_treat_cmd_type = 2;
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN1");
}

struct channel_row {
  const char* m_name;
  const char* m_command;
  const char* m_file;
};

class CaptureChannel : public Capture, public testing::WithParamInterface<channel_row> {};

TEST_P(CaptureChannel, SwitchBeforeTheConfirmation_ChoosesTheFile) {
  const auto& row = GetParam();
  EXPECT_TRUE(is_passed_on(row.m_command));
  expect_pending(0);
  send("AT^DCGSNW=111\r");
  say("\r\nOK\r\n");
  EXPECT_EQ(read(row.m_file), "111");
}

INSTANTIATE_TEST_SUITE_P(Each, CaptureChannel,
                         testing::Values(channel_row{"One", "AT^DMPCHN=1\r", "/amt/imei-2.txt"},
                                         channel_row{"OneBehindBlanks", "AT^DMPCHN=  1\r", "/amt/imei-2.txt"},
                                         channel_row{"Zero", "AT^DMPCHN=0\r", "/amt/imei.txt"},
                                         channel_row{"Two", "AT^DMPCHN=2\r", "/amt/imei.txt"},
                                         channel_row{"LowestEightBitsOne", "AT^DMPCHN=257\r", "/amt/imei-2.txt"},
                                         channel_row{"NoNumber", "AT^DMPCHN=one\r", "/amt/imei.txt"},
                                         channel_row{"TwentyDigitsAndMore", "AT^DMPCHN=0000000000000000000199\r",
                                                     "/amt/imei-2.txt"}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(Capture, ChannelFrame_ChoosesTheSecondFiles) {
  send(frame(232, from_hex("EE 9F 01 04 00 01 01 00 00")));
  EXPECT_TRUE(m_log.has("getted switch-channel command in amt1: channel:1;"));
  expect_pending(0);
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn-2.txt"), "SN1");
  EXPECT_EQ(read("/amt/sn.txt"), std::nullopt);
  EXPECT_TRUE(m_log.has("save sn to file. channel:1; content:SN1;"));
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: SN1\r\n\r\nOK\r\n");
}

TEST_F(Capture, ChannelSwitchedWhileACaptureWaits_LeavesItPending) {
  send("AT^DMSN=SN1\r");
  send("AT^DMPCHN=1\r");
  expect_pending(2);
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn-2.txt"), "SN1");
}

TEST_F(Capture, OtherFrames_AreNotExamined) {
  set_message(g_handle_context.m_request, "AT^DMSN=SN1\r");
  handle_amt_imei_and_sn(7, amt_message_text(g_handle_context.m_request), g_handle_context.m_request_copy.m_buf_a);
  expect_pending(0);
  EXPECT_TRUE(m_log.has("handle_amt_imei_and_sn--->req_id_en:7."));
}

TEST_F(Capture, IdZero_IsExaminedForTextOnly) {
  set_message(g_handle_context.m_request, "AT^DMSN=SN1\r");
  handle_amt_imei_and_sn(0, amt_message_text(g_handle_context.m_request), g_handle_context.m_request_copy.m_buf_a);
  expect_pending(2);
}

TEST_F(Capture, NothingPending_ConfirmationChangesNothing) {
  say("\r\nOK\r\n");
  EXPECT_TRUE(m_log.has("g_cur_treat_cmd_type:0;"));
  EXPECT_TRUE(fs::is_empty("/amt/BT"));
  EXPECT_EQ(read("/amt/imei.txt"), std::nullopt);
}

TEST_F(Capture, EmptyBlock_IsAFailureAtItsSite) {
  send("AT^DMSN=SN1\r");
  m_log.clear();
  say("");
  const auto lines = m_log.texts();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines[0], testing::StartsWith(
                            "FILE-amt/amt-handle, LINE-9355, FUNC-handle_amt_imei_and_sn_rsp(), error_code=-101"));
  EXPECT_EQ(lines[1], " 0, 1");
  expect_pending(2);
}

TEST_F(Capture, Cleared_ForgetsValuesTypeAndChannel) {
  send("AT^DMPCHN=1\r");
  send("AT^DMSN=SN1\r");
  handle_amt_clear_capture();
  expect_pending(0);
  EXPECT_EQ(handle_amt_imei_and_sn_save_file(1), 0);
  EXPECT_EQ(handle_amt_imei_and_sn_save_file(2), 0);
  EXPECT_EQ(read("/amt/imei.txt"), std::nullopt);
  EXPECT_EQ(read("/amt/sn-2.txt"), std::nullopt);
  send("AT^DMSN=SN2\r");
  say("\r\nOK\r\n");
  EXPECT_EQ(read("/amt/sn.txt"), "SN2");
}

TEST_F(Capture, CapturesWhileTheModemConfirms_NeverSaveAMixture) {
  __android_log_set_minimum_priority(ANDROID_LOG_ERROR);  // the log's lock would hide a race
  std::atomic<bool> is_over = false;
  std::thread station([&is_over] {
    for (char letter = 'A'; !is_over; letter = letter == 'A' ? 'B' : 'A') {
      set_message(g_handle_context.m_request, "AT^DCGSNW=" + std::string(20, letter) + "\r");
      handle_amt_imei_and_sn(255, amt_message_text(g_handle_context.m_request),
                             g_handle_context.m_request_copy.m_buf_a);
    }
  });
  int saved = 0;
  while (saved < 5) {
    say("\r\nOK\r\n");
    const auto imei = read("/amt/imei.txt");
    if (!imei) continue;
    EXPECT_TRUE(imei == std::string(20, 'A') || imei == std::string(20, 'B')) << *imei;
    fs::remove("/amt/imei.txt");
    ++saved;
  }
  is_over = true;
  station.join();
}

TEST_F(Capture, SaveOfAnUnknownType_IsRefused) {
  for (const std::uint8_t type : {0, 3, 255}) {
    m_log.clear();
    EXPECT_EQ(handle_amt_imei_and_sn_save_file(type), -101);
    EXPECT_TRUE(has_failure("handle_amt_imei_and_sn_save_file", -101, "1"));
  }
}

TEST_F(Capture, SaveOnAFullSystem_IsLoggedAndNoLongerPending) {
  make_full("/amt/imei.txt");
  send("AT^DCGSNW=111\r");
  m_log.clear();
  say("\r\nOK\r\n");
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", -118, "fputs fail: 28 - No space left on device"));
  EXPECT_TRUE(has_failure("handle_amt_imei_and_sn_save_file", -100, "write imei error."));
  EXPECT_TRUE(m_log.has("save imei to file. channel:0; content:111;"));
  EXPECT_FALSE(m_log.contains("success"));
  EXPECT_EQ(syncs(), 2);
  expect_pending(0);
}

TEST_F(Capture, SaveWithoutItsFolder_IsLogged) {
  fs::remove_all("/amt");
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", -118, "open(\"/amt/sn.txt\") fail: 2 - No such file or directory"));
  EXPECT_TRUE(has_failure("handle_amt_imei_and_sn_save_file", -100, "write sn error."));
  EXPECT_EQ(syncs(), 0);
  expect_pending(0);
}

TEST_F(Capture, SaveIntoAForbiddenFile_KeepsTheOldValue) {
  make_forbidden("/amt/sn.txt", "OLD");
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", -118, "open(\"/amt/sn.txt\") fail: 13 - Permission denied"));
  chmod("/amt/sn.txt", 0644);
  EXPECT_EQ(read("/amt/sn.txt"), "OLD");
}

TEST_F(Capture, SaveOnAReadOnlySystem_IsLogged) {
  make_read_only_system("/amt/sn.txt");
  send("AT^DMSN=SN1\r");
  say("\r\nOK\r\n");
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", -118, "open(\"/amt/sn.txt\") fail: 30 - Read-only file system"));
}

}  // namespace
