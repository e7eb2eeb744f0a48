// What the PC sends: the probe, frames, AT text, and everything on to the modem.
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

class PcLink : public ::testing::Test {
 protected:
  void start(handset::phone_options options = raw_modem()) {
    m_phone = std::make_unique<handset::phone>(std::move(options));
    start_serving(*m_phone);
  }
  handset::phone& phone() { return *m_phone; }
  void send(std::string_view bytes) { ASSERT_TRUE(phone().pc().write_all(bytes)); }
  std::string modem_gets(std::size_t count) { return phone().modem_end().read_exactly(count); }
  std::string pc_gets(std::size_t count) { return phone().pc().read_exactly(count); }
  // Sends what the modem is to get as it is.
  void expect_passed(const std::string& bytes) {
    send(bytes);
    EXPECT_EQ(to_hex(modem_gets(bytes.size())), to_hex(bytes));
  }
  // How often a text was logged. The log does not come through the ttys: one more block, whose dump can be waited for,
  // ends what was logged before it.
  void expect_logged(std::string_view text, std::size_t times) {
    const auto closed = phone().log().count("41542B53594E430D") + 1;
    expect_passed("AT+SYNC\r");
    ASSERT_TRUE(phone().log().wait_count("41542B53594E430D", closed));
    EXPECT_EQ(phone().log().count(text), times) << text;
  }

 private:
  std::unique_ptr<handset::phone> m_phone;
};

constexpr std::string_view LINK_STATUS_ON = "AT;^DLKS=1\r";

TEST_F(PcLink, AtText_Unknown_ReachesModemAndItsAnswerReachesPc) {
  start();
  expect_passed("AT+CGMI\r");
  ASSERT_TRUE(phone().modem_end().write_all("\r\nVX\r\n\r\nOK\r\n"));
  EXPECT_EQ(pc_gets(12), "\r\nVX\r\n\r\nOK\r\n");
  end_with(phone(), SIGTERM);
}

TEST_F(PcLink, Probe_LowerCase_BecomesLinkStatusCommandAndEntersAmt4Once) {
  start();
  for (int probe = 0; probe < 3; ++probe) {
    send("at\r");
    EXPECT_EQ(modem_gets(LINK_STATUS_ON.size()), LINK_STATUS_ON);
  }
  expect_logged("mark to enter amt4", 1);
  expect_logged("call amt_usb_charge_ctrl for amt4. return:0, current amt mode:4.", 1);
  EXPECT_TRUE(phone().log().text().find("convert speed") == std::string::npos);
}

TEST_F(PcLink, Probe_ThreeToFiveBytes_IsRewritten) {
  start();
  for (const std::string_view probe : {"AT\r"sv, "AT\r\n"sv, "aT\rxy"sv}) {
    send(probe);
    EXPECT_EQ(modem_gets(LINK_STATUS_ON.size()), LINK_STATUS_ON) << probe;
  }
}

TEST_F(PcLink, Probe_Doubled_IsRewrittenWithoutTouchingTheUart) {
  auto options = raw_modem();
  options.modem_device = "/dev/ttyS1";
  start(std::move(options));
  send("AT\r\nAT\r");
  EXPECT_EQ(modem_gets(LINK_STATUS_ON.size()), LINK_STATUS_ON);
  expect_logged("convert speed", 1);  // the set-up's own
}

TEST_F(PcLink, Probe_LookAlikes_AreDispatchedUnchanged) {
  start();
  expect_passed("AT+X\r");
  expect_passed("AT");
  expect_passed("AT\r\nATX");
  expect_passed("AT\rAT\rx");
  expect_logged("mark to enter amt4", 0);
}

TEST_F(PcLink, Probe_ModemIsUart_EachShortProbeSetsItsSpeed) {
  auto options = raw_modem();
  options.modem_device = "/dev/ttyS1";
  options.config = "vx.tty.pc=/dev/ttyPC\nvx.tty.modem=/dev/ttyS1\nvx.modem.uart.at.default.baudrate=460800\n";
  start(std::move(options));
  for (int probe = 1; probe <= 2; ++probe) {
    send("AT\r");
    EXPECT_EQ(modem_gets(LINK_STATUS_ON.size()), LINK_STATUS_ON);
    EXPECT_TRUE(phone().log().wait_count("convert speed 460800 -> B460800", static_cast<std::size_t>(probe)));
  }
  const termios attributes = phone().modem_end().attributes();
  EXPECT_EQ(cfgetospeed(&attributes), B460800);
  EXPECT_TRUE((attributes.c_cflag & CRTSCTS) != 0);
  EXPECT_EQ(attributes.c_lflag, 0u);
}

TEST_F(PcLink, PcTty_AnyConfiguration_IsRawAt115200) {
  auto options = raw_modem();
  options.config =
      "vx.tty.pc=/dev/ttyPC\nvx.tty.modem=/dev/ttyMODEM\nvx.modem.uart.amt.default.baudrate=921600\n"
      "vx.modem.uart.at.default.baudrate=921600\n";
  start(std::move(options));
  const termios attributes = phone().pc().attributes();
  EXPECT_EQ(cfgetospeed(&attributes), B115200);
  EXPECT_EQ(attributes.c_lflag, 0u);
  EXPECT_EQ(attributes.c_oflag & OPOST, 0u);
  EXPECT_EQ(attributes.c_iflag & (IXON | ICRNL | INLCR), 0u);
}

TEST_F(PcLink, Frame_VersionRequest_GetsPreResponseThenAnswer) {
  start();
  send(VERSION_REQUEST);
  EXPECT_EQ(to_hex(pc_gets(PRE_RESPONSE.size() + VERSION_ANSWER.size())), to_hex(PRE_RESPONSE + VERSION_ANSWER));
  EXPECT_TRUE(phone().wait_log("receive command id: 45(0x2D) - AMT_VERSION_CMD"));
  EXPECT_TRUE(phone().wait_log("version type: 0x40 - AMT_WHOLE_MODULE"));
}

TEST_F(PcLink, Frame_AfterProbe_SetsAmt1AndLaterProbeLogsAmt4Again) {
  start();
  send("AT\r");
  modem_gets(LINK_STATUS_ON.size());
  send(VERSION_REQUEST);
  pc_gets(PRE_RESPONSE.size() + VERSION_ANSWER.size());
  expect_logged("mark to enter amt1", 1);
  send("AT\r");
  modem_gets(LINK_STATUS_ON.size());
  EXPECT_TRUE(phone().log().wait_count("mark to enter amt4", 2));
}

TEST_F(PcLink, Frame_VersionOfModem_GoesToModemWithoutPreResponse) {
  start();
  // Module 17; the checksum is not looked at on input.
  const auto request = from_hex("AABBCCDD 17000000 02000000 0F00 BB 2D 0900 EE 13 01 0400 11000000 00000000");
  expect_passed(request);
  ASSERT_TRUE(phone().modem_end().write_all("x"));
  EXPECT_EQ(pc_gets(1), "x");  // nothing came before it
}

TEST_F(PcLink, Frame_UnknownVersionType_GetsErrorFrameOnly) {
  start();
  send(from_hex("AABBCCDD 17000000 02000000 0F00 BB 2D 0900 EE 13 01 0400 02000000 00000000"));
  const auto answer = pc_gets(31);
  EXPECT_EQ(to_hex(answer.substr(0, 27)),
            to_hex(from_hex("AABBCCDD 17000000 02000000 0F00 BB 2E 0900 EE 01 01 0400 01000000")));
  EXPECT_TRUE(phone().wait_log("unknown version type: 0x02"));
}

TEST_F(PcLink, Frame_WithoutHandler_ReachesModemAsThePcSentIt) {
  start();
  expect_passed(UNHANDLED_REQUEST);
  EXPECT_TRUE(phone().wait_log("receive command id: 99(0x63) - AMT_USIMCHECK_CMD"));
  expect_logged("send PC rsp data", 0);
}

TEST_F(PcLink, Frame_Id255_IsHandledLikeTextButEntersAmt1) {
  start();
  send("AT\r");
  modem_gets(LINK_STATUS_ON.size());
  expect_passed(from_hex("AABBCCDD 0E000000 02000000 0600 BB FF 0000 00000000"));
  EXPECT_TRUE(phone().wait_log("receive command id: 255(0xFF) - (undefined)"));
  EXPECT_TRUE(phone().wait_log("handle_context_st.m_handle_pc_func_a[255] ="));
  expect_logged("mark to enter amt1", 1);
}

TEST_F(PcLink, Frame_WrongChecksum_IsAnsweredAllTheSame) {
  start();
  auto request = VERSION_REQUEST;
  request.back() = '\x77';
  send(request);
  EXPECT_EQ(to_hex(pc_gets(PRE_RESPONSE.size() + VERSION_ANSWER.size())), to_hex(PRE_RESPONSE + VERSION_ANSWER));
}

TEST_F(PcLink, Block_TwoFrames_TheSecondIsDropped) {
  start();
  send(VERSION_REQUEST + VERSION_REQUEST);
  EXPECT_EQ(to_hex(pc_gets(PRE_RESPONSE.size() + VERSION_ANSWER.size())), to_hex(PRE_RESPONSE + VERSION_ANSWER));
  expect_passed("AT+AFTER\r");
  EXPECT_EQ(phone().pc().read_pending(), "");
}

// The service sees a request without its atoms, which it refuses, and then text.
TEST_F(PcLink, Frame_InTwoReads_IsARequestWithoutAtomsAndText) {
  start();
  send(VERSION_REQUEST.substr(0, 20));
  EXPECT_NE(pc_gets(31).find(from_hex("EE0101040001000000")), std::string::npos);
  expect_passed(VERSION_REQUEST.substr(20));
}

TEST_F(PcLink, Frame_AtomsInAnotherOrder_IsTheSameRequest) {
  start();
  send(from_hex("AABBCCDD1E000000020000001600BBAC1000EE6F0202003132EE6E0104000200000057628183"));
  EXPECT_EQ(pc_gets(PRE_RESPONSE.size()), PRE_RESPONSE);
  EXPECT_NE(pc_gets(31).find(from_hex("EE0101040000000000")), std::string::npos);
  EXPECT_EQ(phone().read_file("/amt/BT/BT_Address.txt"), "12\n");
}

TEST_F(PcLink, Block_SixteenBytesWithMagic_IsTextAndPassesRaw) {
  start();
  expect_passed(from_hex("AABBCCDD 08000000 02000000 00000000"));
  expect_logged("receive command id", 0);
}

TEST_F(PcLink, Block_SeventeenBytesWithMagic_IsFrame) {
  start();
  expect_passed(from_hex("AABBCCDD 08000000 02000000 00000000 63"));
  expect_logged("receive command id", 1);
}

TEST_F(PcLink, Block_LengthsThatLie_AreAnsweredWithoutHarm) {
  start();
  // Total length 65535, data length 65535, an atom of length 65535 with id 19: its first four bytes are its value.
  send(from_hex("AABBCCDD FFFFFFFF 02000000 FFFF BB 2D FFFF EE 13 01 FFFF 40000000 00000000"));
  EXPECT_EQ(to_hex(pc_gets(PRE_RESPONSE.size() + VERSION_ANSWER.size())), to_hex(PRE_RESPONSE + VERSION_ANSWER));
  expect_passed("AT+AFTER\r");
}

TEST_F(PcLink, Block_4095BytesOfEveryValue_PassesBothWays) {
  start();
  std::string block;
  for (int index = 0; index < 4095; ++index) block += static_cast<char>((index * 7 + index / 256) & 0xFF);
  send(block);
  EXPECT_EQ(to_hex(modem_gets(block.size())), to_hex(block));
  ASSERT_TRUE(phone().modem_end().write_all(block));
  EXPECT_EQ(to_hex(pc_gets(block.size())), to_hex(block));
}

TEST_F(PcLink, Block_TextAfterNulByte_IsNotSearchedButPasses) {
  start();
  expect_passed("x\0AT^DSVER\r"s);
  expect_logged("getted sw-module", 0);
}

TEST_F(PcLink, SoftwareVersion_PlainBrand_IsTheDisplayId) {
  auto options = raw_modem();
  options.properties["ro.build.display.id"] = "VX5210-userdebug";
  start(std::move(options));
  send("AT^DSVER\r");
  EXPECT_EQ(phone().pc().read_until("OK\r\n"), "\r\n^DSVER: VX5210-userdebug\r\n\r\nOK\r\n");
  send(from_hex("AABBCCDD 17000000 02000000 0F00 BB 2D 0900 EE 13 01 0400 10000000 00000000"));
  const auto answer = pc_gets(16 + 12 + 6 + 9 + 5 + 16 + 9 + 4);
  EXPECT_EQ(to_hex(answer.substr(28, 36)),
            to_hex(from_hex("2D00 BB 2E 2700 EE 13 01 0400 10000000 EE 12 03 1000") + "VX5210-userdebug"));
}

TEST_F(PcLink, SoftwareVersion_CustomerBrandInAnyCase_IsComposed) {
  auto options = raw_modem();
  options.properties = {{"ro.build.customer", "oRvItO"},
                        {"ro.product.manufacturer", "Somebody"},
                        {"ro.build.version.incremental", "7.1.5"},
                        {"ro.build.display.vx.id", "B123"}};
  start(std::move(options));
  send("AT^DSVER\r");
  EXPECT_EQ(phone().pc().read_until("OK\r\n"), "\r\n^DSVER: TELU 7.1.5(B123)\r\n\r\nOK\r\n");
}

TEST_F(PcLink, SoftwareVersion_WithoutCarriageReturn_GoesToModem) {
  start();
  expect_passed("AT^DSVER");
  expect_passed("AT^DAMTOFF");
}

TEST_F(PcLink, PowerOff_AnswersBeforeThePowerGoes) {
  start();
  send("AT^DAMTOFF\r");
  EXPECT_EQ(pc_gets(6), "\r\nOK\r\n");
  EXPECT_TRUE(phone().service().running());
  expect_clean_end(phone());
}

TEST_F(PcLink, ModemOutput_SplitAtEveryByte_ReachesPcWhole) {
  start();
  std::string said;
  for (const char byte : "\r\n^DGSN: 123456789012345\r\n\r\nOK\r\n"s) {
    ASSERT_TRUE(phone().modem_end().write_all(std::string_view(&byte, 1)));
    said += byte;
  }
  EXPECT_EQ(pc_gets(said.size()), said);
}

TEST_F(PcLink, BothDirectionsAtOnce_NothingIsLost) {
  start();
  std::string up(40000, 'u');
  std::string down(40000, 'd');
  std::string got_up;
  std::string got_down;
  std::size_t sent = 0;
  while (sent < up.size()) {
    ASSERT_TRUE(phone().pc().write_all(std::string_view(up).substr(sent, 1000)));
    ASSERT_TRUE(phone().modem_end().write_all(std::string_view(down).substr(sent, 1000)));
    sent += 1000;
    got_up += modem_gets(1000);
    got_down += pc_gets(1000);
  }
  EXPECT_TRUE(got_up == up);
  EXPECT_TRUE(got_down == down);
}

}  // namespace
