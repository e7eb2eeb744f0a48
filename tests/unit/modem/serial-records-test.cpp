// The serial numbers that the PC keeps in record files: of the board, of USB.
#include <filesystem>

#include "amt/amt-handle/pc/adb-serial.h"
#include "amt/amt-handle/pc/pcba-sn.h"
#include "amt/amt-record/serial-number.h"
#include "tests/unit/modem/modem-test.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char BOARD_FILE[] = "/amt/sn-2.txt";
constexpr char USB_FILE[] = "/amt/usb_serial";

class serial_records : public modem_test {
 protected:
  serial_records() {
    phone_root::remove("/amt");
    std::filesystem::create_directories("/amt");
    phone_root::take_sync_calls();
  }
  // The frame that the PC got, without its envelope.
  std::string answered() {
    const std::string bytes = m_pc.received();
    if (bytes.empty()) return "";
    EXPECT_EQ(to_hex(bytes.substr(0, 4)), "AA BB CC DD");
    return to_hex(bytes.substr(12, bytes.size() - 16));
  }
  std::int32_t run_pc(amt_handle_func handler, std::string_view request) { return run(handler, request, AMT_LINK_PC); }
};

class BoardSerial : public serial_records {};

TEST_F(BoardSerial, WriteRecord_ReplacesTheFileAndFlushes) {
  phone_root::write("/amt/imei.txt", "something longer");
  EXPECT_EQ(amt_write_pcba_sn("860001", "/amt/imei.txt"), ERR_NONE);
  EXPECT_EQ(phone_root::read("/amt/imei.txt"), "860001");
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
  EXPECT_TRUE(m_log.has("write pcba-sn: 860001"));
}

TEST_F(BoardSerial, WriteNothing_IsRefused) {
  EXPECT_EQ(amt_write_pcba_sn(nullptr, BOARD_FILE), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_ARGUMENT, "1, 0"));
  EXPECT_EQ(amt_write_pcba_sn("", BOARD_FILE), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_ARGUMENT, "0, 1"));
  EXPECT_FALSE(std::filesystem::exists(BOARD_FILE));
}

TEST_F(BoardSerial, WriteWhereNoFileCanBe_FailsWithoutAFlush) {
  EXPECT_EQ(amt_write_pcba_sn("1", "/amt/no/such/folder"), ERR_SYSTEM);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_SYSTEM,
                          "open(\"/amt/no/such/folder\") fail: 2 - No such file or directory"));
  EXPECT_EQ(phone_root::take_sync_calls(), 0);
}

TEST_F(BoardSerial, WriteToAFullSystem_FailsAfterTheFlush) {
  EXPECT_EQ(amt_write_pcba_sn("1", "/dev/full"), ERR_SYSTEM);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_SYSTEM, "fputs fail: 28 - No space left on device"));
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
}

struct content_row {
  const char* m_name;
  std::string m_content;
  std::string m_serial;
};

class BoardSerialContent : public BoardSerial, public testing::WithParamInterface<content_row> {};

TEST_P(BoardSerialContent, Read_IsTheFirstLineUpTo29Characters) {
  phone_root::write(BOARD_FILE, GetParam().m_content);
  char serial[AMT_PCBA_SN_SIZE];
  EXPECT_EQ(amt_read_pcba_sn(serial), ERR_NONE);
  EXPECT_EQ(std::string(serial), GetParam().m_serial);
}

INSTANTIATE_TEST_SUITE_P(Each, BoardSerialContent,
                         testing::Values(content_row{"Plain", "SN1", "SN1"},
                                         content_row{"LineEndStays", "SN1\nSN2", "SN1\n"},
                                         content_row{"CarriageReturnStays", "SN1\r", "SN1\r"},
                                         content_row{"TwentyNine", std::string(29, '7'), std::string(29, '7')},
                                         content_row{"Thirty", std::string(30, '7'), std::string(29, '7')},
                                         content_row{"FiveHundred", std::string(500, '7'), std::string(29, '7')}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(BoardSerial, ReadLongLine_LogsWhatItGives) {
  phone_root::write("/amt/sn-2.txt", std::string(29, 'a') + "bcdef\n");
  char buffer[AMT_PCBA_SN_SIZE];
  EXPECT_EQ(amt_read_pcba_sn(buffer), ERR_NONE);
  EXPECT_EQ(std::string(buffer), std::string(29, 'a'));
  EXPECT_TRUE(m_log.has("read pcba-sn: " + std::string(29, 'a')));
}

TEST_F(BoardSerial, ReadMissingOrEmptyFile_Fails) {
  char serial[AMT_PCBA_SN_SIZE] = "before";
  EXPECT_EQ(amt_read_pcba_sn(serial), ERR_SYSTEM);
  EXPECT_TRUE(
      has_failure("amt_read_pcba_sn", ERR_SYSTEM, "open(\"/amt/sn-2.txt\") fail: 2 - No such file or directory"));
  EXPECT_STREQ(serial, "");
  phone_root::write(BOARD_FILE, "");
  EXPECT_EQ(amt_read_pcba_sn(serial), ERR_SYSTEM);
  EXPECT_TRUE(m_log.contains("read fail: "));
}

TEST_F(BoardSerial, RequestToRead_IsAnsweredWithTheSerial) {
  phone_root::write(BOARD_FILE, "SN1");
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 01"), ERR_NONE);
  EXPECT_EQ(answered(), "17 00 BB C2 11 00 EE BF 02 03 00 53 4E 31 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("pcba op-type: 1."));
  EXPECT_TRUE(m_log.has("readed pcba-sn: SN1."));
}

TEST_F(BoardSerial, RequestToReadAMissingFile_SendsNothing) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 01"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_FAIL, "read error."));
  EXPECT_EQ(answered(), "");
}

TEST_F(BoardSerial, RequestToWrite_IsAnsweredWithOk) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "14 00 BB C1 0E 00 EE BE 04 01 00 02 EE BF 02 03 00 53 4E 32"),
            ERR_NONE);
  EXPECT_EQ(phone_root::read(BOARD_FILE), "SN2");
  EXPECT_EQ(answered(), "0F 00 BB C2 09 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("getted pcba-sn: SN2."));
  EXPECT_TRUE(m_log.has("Writed to file success.pcba-sn: SN2."));
}

TEST_F(BoardSerial, RequestToWriteALongSerial_IsCutTo29Characters) {
  for (const std::size_t length : {29u, 30u, 31u, 100u}) {
    auto& request = g_handle_context.m_request;
    amt_message_clear(request);
    amt_frame_init(&request.m_buf_a, 193);
    amt_frame_add_flag(&request.m_buf_a, 190, 2);
    amt_frame_add_string(&request.m_buf_a, 191, std::string(length, '7').c_str());
    request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
    EXPECT_EQ(amt_handle_board_pcba_ctrl(AMT_LINK_PC, &request, &g_handle_context.m_response), ERR_NONE);
    EXPECT_EQ(phone_root::read(BOARD_FILE), std::string(29, '7')) << length;
  }
}

TEST_F(BoardSerial, RequestToWriteNothing_Fails) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 02"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_FAIL, "write error."));
  EXPECT_EQ(answered(), "");
}

TEST_F(BoardSerial, RequestOfAnotherType_IsRefused) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 03"), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_ARGUMENT, "unknown operation type: 3"));
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "06 00 BB C1 00 00"), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_ARGUMENT, "unknown operation type: 0"));
  EXPECT_EQ(answered(), "");
}

TEST_F(BoardSerial, BadArguments_AreRefused) {
  expect_refusals(amt_handle_board_pcba_ctrl, "amt_handle_board_pcba_ctrl");
}

class UsbSerial : public serial_records {
 protected:
  std::int32_t write_serial(std::uint32_t stated, const std::string& text) {
    auto& request = g_handle_context.m_request;
    amt_message_clear(request);
    amt_frame_init(&request.m_buf_a, 191);
    amt_frame_add_int(&request.m_buf_a, 160, 1);
    amt_frame_add_int(&request.m_buf_a, 162, stated);
    amt_frame_add_string(&request.m_buf_a, 161, text.c_str());
    request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
    return amt_handle_adb_serial_no(AMT_LINK_PC, &request, &g_handle_context.m_response);
  }
};

TEST_F(UsbSerial, Write_ReplacesTheFileAndFlushes) {
  phone_root::write(USB_FILE, "something longer");
  EXPECT_EQ(write_serial(4, "ABCD"), ERR_NONE);
  EXPECT_EQ(phone_root::read(USB_FILE), "ABCD");
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
  EXPECT_EQ(answered(), "0F 00 BB C0 09 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("open file \"/amt/usb_serial\" ok"));
  EXPECT_TRUE(m_log.has("write adb serial no.[ABCD] ok"));
}

struct length_row {
  const char* m_name;
  std::uint32_t m_stated;
  std::string m_text;
  std::string m_written;
};

class UsbSerialLength : public UsbSerial, public testing::WithParamInterface<length_row> {};

TEST_P(UsbSerialLength, Write_TakesAtMostTheStatedCharacters) {
  EXPECT_EQ(write_serial(GetParam().m_stated, GetParam().m_text), ERR_NONE);
  EXPECT_EQ(phone_root::read(USB_FILE), GetParam().m_written);
}

INSTANTIATE_TEST_SUITE_P(Each, UsbSerialLength,
                         testing::Values(length_row{"One", 1, "A", "A"}, length_row{"TextOneLonger", 3, "ABCD", "ABC"},
                                         length_row{"TextMuchLonger", 3, "ABCDEFGH", "ABC"},
                                         length_row{"TextShorter", 9, "ABC", "ABC"}, length_row{"NoText", 3, "", ""},
                                         length_row{"Longest", 99, std::string(99, 'A'), std::string(99, 'A')},
                                         length_row{"LongestOfLongerText", 99, std::string(100, 'A'),
                                                    std::string(99, 'A')}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(UsbSerial, WriteOfABadLength_IsRefused) {
  for (const std::uint32_t length : {0u, 100u, 0xFFFFFFFFu}) {
    m_log.clear();
    EXPECT_EQ(write_serial(length, "ABCD"), ERR_FAIL);
    EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "Invalid adb serial number length!")) << length;
  }
  EXPECT_FALSE(std::filesystem::exists(USB_FILE));
  EXPECT_EQ(answered(), "");
}

TEST_F(UsbSerial, WriteWithoutAFolder_Fails) {
  phone_root::remove("/amt");
  EXPECT_EQ(write_serial(4, "ABCD"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fopen error"));
  EXPECT_EQ(answered(), "");
}

TEST_F(UsbSerial, WriteToAFullSystem_Fails) {
  std::filesystem::create_symlink("/dev/full", USB_FILE);
  EXPECT_EQ(write_serial(4, "ABCD"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fprintf error"));
  EXPECT_EQ(answered(), "");
}

TEST_F(UsbSerial, Read_AnswersTheFilesWord) {
  phone_root::write(USB_FILE, " AB CD\n");
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "0F 00 BB BF 09 00 EE A0 01 04 00 00 00 00 00"), ERR_NONE);
  EXPECT_EQ(answered(), "16 00 BB C0 10 00 EE A1 02 02 00 41 42 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("read adb serial no. ok, it is : AB"));
}

TEST_F(UsbSerial, ReadOfALongWord_StaysInItsBuffer) {
  phone_root::write(USB_FILE, std::string(500, 'A'));
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "06 00 BB BF 00 00"), ERR_NONE);
  EXPECT_TRUE(m_log.has("read adb serial no. ok, it is : " + std::string(99, 'A')));
}

TEST_F(UsbSerial, ReadOfNothing_Fails) {
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "06 00 BB BF 00 00"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fopen error"));
  phone_root::write(USB_FILE, " \n");
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "06 00 BB BF 00 00"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fscanf error"));
  EXPECT_EQ(answered(), "");
}

TEST_F(UsbSerial, AnotherOperation_IsRefused) {
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "0F 00 BB BF 09 00 EE A0 01 04 00 02 00 00 00"), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_ARGUMENT, "unknown operation: 2"));
  EXPECT_EQ(answered(), "");
}

TEST_F(UsbSerial, BadArguments_AreRefused) {
  expect_refusals(amt_handle_adb_serial_no, "amt_handle_adb_serial_no");
}

}  // namespace
