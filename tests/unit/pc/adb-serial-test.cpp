// Request 191 of the PC: the serial number of USB.
#include "amt/amt-handle/pc/adb-serial.h"

#include <filesystem>

#include "tests/unit/pc/serial-test.h"

namespace {

constexpr char USB_FILE[] = "/amt/usb_serial";

class AdbSerial : public serial_test {
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

TEST_F(AdbSerial, Write_ReplacesTheFileAndFlushes) {
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

class AdbSerialLength : public AdbSerial, public testing::WithParamInterface<length_row> {};

TEST_P(AdbSerialLength, Write_TakesAtMostTheStatedCharacters) {
  EXPECT_EQ(write_serial(GetParam().m_stated, GetParam().m_text), ERR_NONE);
  EXPECT_EQ(phone_root::read(USB_FILE), GetParam().m_written);
}

INSTANTIATE_TEST_SUITE_P(Each, AdbSerialLength,
                         testing::Values(length_row{"One", 1, "A", "A"}, length_row{"TextOneLonger", 3, "ABCD", "ABC"},
                                         length_row{"TextMuchLonger", 3, "ABCDEFGH", "ABC"},
                                         length_row{"TextShorter", 9, "ABC", "ABC"}, length_row{"NoText", 3, "", ""},
                                         length_row{"Longest", 99, std::string(99, 'A'), std::string(99, 'A')},
                                         length_row{"LongestOfLongerText", 99, std::string(100, 'A'),
                                                    std::string(99, 'A')}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(AdbSerial, WriteOfABadLength_IsRefused) {
  for (const std::uint32_t length : {0u, 100u, 0xFFFFFFFFu}) {
    m_log.clear();
    EXPECT_EQ(write_serial(length, "ABCD"), ERR_FAIL);
    EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "Invalid adb serial number length!")) << length;
  }
  EXPECT_FALSE(std::filesystem::exists(USB_FILE));
  EXPECT_EQ(answered(), "");
}

TEST_F(AdbSerial, WriteWithoutAFolder_Fails) {
  phone_root::remove("/amt");
  EXPECT_EQ(write_serial(4, "ABCD"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fopen error"));
  EXPECT_EQ(answered(), "");
}

TEST_F(AdbSerial, WriteToAFullSystem_Fails) {
  std::filesystem::create_symlink("/dev/full", USB_FILE);
  EXPECT_EQ(write_serial(4, "ABCD"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fprintf error"));
  EXPECT_EQ(answered(), "");
}

TEST_F(AdbSerial, Read_AnswersTheFilesWord) {
  phone_root::write(USB_FILE, " AB CD\n");
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "0F 00 BB BF 09 00 EE A0 01 04 00 00 00 00 00"), ERR_NONE);
  EXPECT_EQ(answered(), "16 00 BB C0 10 00 EE A1 02 02 00 41 42 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("read adb serial no. ok, it is : AB"));
}

TEST_F(AdbSerial, ReadOfALongWord_StaysInItsBuffer) {
  phone_root::write(USB_FILE, std::string(500, 'A'));
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "06 00 BB BF 00 00"), ERR_NONE);
  EXPECT_TRUE(m_log.has("read adb serial no. ok, it is : " + std::string(99, 'A')));
}

TEST_F(AdbSerial, ReadOfNothing_Fails) {
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "06 00 BB BF 00 00"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fopen error"));
  phone_root::write(USB_FILE, " \n");
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "06 00 BB BF 00 00"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_FAIL, "fscanf error"));
  EXPECT_EQ(answered(), "");
}

TEST_F(AdbSerial, AnotherOperation_IsRefused) {
  EXPECT_EQ(run_pc(amt_handle_adb_serial_no, "0F 00 BB BF 09 00 EE A0 01 04 00 02 00 00 00"), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_handle_adb_serial_no", ERR_ARGUMENT, "unknown operation: 2"));
  EXPECT_EQ(answered(), "");
}

TEST_F(AdbSerial, BadArguments_AreRefused) {
  expect_refusals(amt_handle_adb_serial_no, "amt_handle_adb_serial_no");
}

}  // namespace
