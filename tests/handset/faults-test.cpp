// Links that die, stay silent or come back.
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

TEST(ModemLink, GoneAndBackAtOnce_IsReopenedAndTheBlockIsLost) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.unplug_modem();
  phone.plug_modem();
  ASSERT_TRUE(phone.pc().write_all("AT+LOST\r"));
  ASSERT_TRUE(phone.wait_log("write error 1, errno[5]"));
  ASSERT_TRUE(phone.wait_log("open device \"/dev/ttyMODEM\" successfully"));
  // The log of the write comes after the reopening: then the next block is served.
  ASSERT_TRUE(phone.wait_log("write to modem: : (data_len = -1) -- "));
  ASSERT_TRUE(phone.pc().write_all("AT+NEXT\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(8), "AT+NEXT\r");
  ASSERT_TRUE(phone.modem_end().write_all("\r\nOK\r\n"));
  EXPECT_EQ(phone.pc().read_exactly(6), "\r\nOK\r\n") << phone.log().text();
  EXPECT_EQ(phone.log().count("send PC rsp data"), 0u);  // no error frame for the lost block
  end_with(phone, SIGTERM);
}

TEST(ModemLink, BackAfterSomeTries_IsReopenedAndTheReaderGoesOn) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.unplug_modem();
  ASSERT_TRUE(phone.pc().write_all("AT+LOST\r"));
  ASSERT_TRUE(phone.wait_log("(3/60)try to open device \"/dev/ttyMODEM\""));
  EXPECT_TRUE(phone.service().running());
  // The old device is given back first, and its reader waits in silence.
  const auto& log = phone.log().text();
  EXPECT_LT(log.find("pub_util_park_device()"),
            log.find("(0/60)try to open device \"/dev/ttyMODEM\"", log.find("write error 1")));
  EXPECT_LT(phone.log().count("modem read empty data"), 15u);
  phone.plug_modem();
  ASSERT_TRUE(phone.wait_log("write to modem: : (data_len = -1) -- "));
  ASSERT_TRUE(phone.pc().write_all("AT+NEXT\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(8), "AT+NEXT\r");
  ASSERT_TRUE(phone.modem_end().write_all("answer"));
  EXPECT_EQ(phone.pc().read_exactly(6), "answer");
}

TEST(ModemLink, NeverBack_AnswersErrorFrameAndEnds) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.unplug_modem();
  ASSERT_TRUE(phone.pc().write_all("AT+LOST\r"));
  ASSERT_TRUE(phone.wait_log("(59/60)try to open device \"/dev/ttyMODEM\"", 90s));
  EXPECT_EQ(to_hex(phone.pc().read_exactly(27)), to_hex(AT_ERROR_FRAME));
  expect_clean_end(phone);
}

TEST(ModemLink, GoneWithoutTraffic_IsTriedAgainForEver) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.unplug_modem();
  ASSERT_TRUE(phone.log().wait_count("modem read empty data", 5));
  EXPECT_TRUE(phone.service().running());
  end_with(phone, SIGTERM);
}

TEST(ModemLink, UartGoneAndBack_GetsItsSpeedAgain) {
  auto options = raw_modem();
  options.modem_device = "/dev/ttyS3";
  options.config = "vx.tty.pc=/dev/ttyPC\nvx.tty.modem=/dev/ttyS3\nvx.modem.uart.amt.default.baudrate=230400\n";
  handset::phone phone(options);
  start_serving(phone);
  phone.unplug_modem();
  phone.plug_modem();
  ASSERT_TRUE(phone.pc().write_all("AT+LOST\r"));
  ASSERT_TRUE(phone.log().wait_count("convert speed 230400 -> B230400", 2));
}

TEST(SimulatedModem, FrameAndText_AreAnsweredThroughTheService) {
  handset::phone phone{handset::phone_options{}};
  start_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT^DCGSNW=123456789012345\r"));
  EXPECT_EQ(phone.pc().read_until("OK\r\n"), "\r\nOK\r\n");
  ASSERT_TRUE(phone.pc().write_all("AT^DGSN?\r"));
  EXPECT_EQ(phone.pc().read_until("OK\r\n"), "\r\n^DGSN: 123456789012345\r\n\r\nOK\r\n");
  ASSERT_TRUE(phone.pc().write_all(UNHANDLED_REQUEST));
  EXPECT_EQ(to_hex(phone.pc().read_exactly(27)),
            to_hex(from_hex("AABBCCDD 17000000 02000000 0F00 BB 64 0900 EE 01 01 0400 00000000")));
}

TEST(LogReader, Slow_NothingIsLost) {
  auto options = raw_modem();
  options.log_pipe_size = 4096;
  handset::phone phone(options);
  start_serving(phone);
  phone.pause_log();
  ASSERT_TRUE(phone.pc().write_all(std::string(2000, 'a')));
  ASSERT_TRUE(phone.modem_end().write_all(std::string(2000, 'b')));
  phone.resume_log();
  EXPECT_EQ(phone.modem_end().read_exactly(2000), std::string(2000, 'a'));
  EXPECT_EQ(phone.pc().read_exactly(2000), std::string(2000, 'b'));
  end_with(phone, SIGTERM);
}

}  // namespace
