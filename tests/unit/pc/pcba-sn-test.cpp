// Request 193 of the PC: the serial number of the board.
#include "amt/amt-handle/pc/pcba-sn.h"

#include "tests/unit/pc/serial-test.h"

namespace {

constexpr char BOARD_FILE[] = "/amt/sn-2.txt";

class PcbaSn : public serial_test {};

TEST_F(PcbaSn, RequestToRead_IsAnsweredWithTheSerial) {
  phone_root::write(BOARD_FILE, "SN1");
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 01"), ERR_NONE);
  EXPECT_EQ(answered(), "17 00 BB C2 11 00 EE BF 02 03 00 53 4E 31 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("pcba op-type: 1."));
  EXPECT_TRUE(m_log.has("readed pcba-sn: SN1."));
}

TEST_F(PcbaSn, RequestToReadAMissingFile_SendsNothing) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 01"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_FAIL, "read error."));
  EXPECT_EQ(answered(), "");
}

TEST_F(PcbaSn, RequestToWrite_IsAnsweredWithOk) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "14 00 BB C1 0E 00 EE BE 04 01 00 02 EE BF 02 03 00 53 4E 32"),
            ERR_NONE);
  EXPECT_EQ(phone_root::read(BOARD_FILE), "SN2");
  EXPECT_EQ(answered(), "0F 00 BB C2 09 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("getted pcba-sn: SN2."));
  EXPECT_TRUE(m_log.has("Writed to file success.pcba-sn: SN2."));
}

TEST_F(PcbaSn, RequestToWriteALongSerial_IsCutTo29Characters) {
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

TEST_F(PcbaSn, RequestToWriteNothing_Fails) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 02"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_FAIL, "write error."));
  EXPECT_EQ(answered(), "");
}

TEST_F(PcbaSn, RequestOfAnotherType_IsRefused) {
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "0C 00 BB C1 06 00 EE BE 04 01 00 03"), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_ARGUMENT, "unknown operation type: 3"));
  EXPECT_EQ(run_pc(amt_handle_board_pcba_ctrl, "06 00 BB C1 00 00"), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_handle_board_pcba_ctrl", ERR_ARGUMENT, "unknown operation type: 0"));
  EXPECT_EQ(answered(), "");
}

TEST_F(PcbaSn, BadArguments_AreRefused) {
  expect_refusals(amt_handle_board_pcba_ctrl, "amt_handle_board_pcba_ctrl");
}

}  // namespace
