// Requests that the service answers by questions of its own to the simulated modem, or from a record: identities,
// versions, test results, mode and checks.
#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

using handset::modem_link;

const std::string DONE = "EE 01 01 0400 00000000";

std::string failure_frame(unsigned id) {
  return result_frame(id, "0A000000");
}

class ModemRequest : public testing::Test {
 protected:
  ModemRequest() : m_phone(platform()) { start_app_serving(m_phone); }
  void know(const std::function<void(handset::modem_state&)>& change) {
    m_phone.simulated_modem().change_state(change);
  }
  void switch_modem(const std::function<void(handset::modem_switches&)>& change) {
    m_phone.simulated_modem().change_switches(change);
  }
  handset::modem_state known() { return m_phone.simulated_modem().state(); }
  // One request, its answer, and what the modem was asked for it.
  void expect(const std::string& request, const std::string& answer, std::string_view asked) {
    const auto& received = m_phone.simulated_modem().received(modem_link::at);
    const auto mark = received.size();
    expect_answer(m_phone, request, answer);
    EXPECT_EQ(received.text().substr(mark), asked);
  }

  handset::phone m_phone;
};

TEST_F(ModemRequest, Identities_AreTheModems) {
  know([](auto& state) {
    state.imei = "352099001761481";
    state.board_number = "B7";
  });
  expect(frame(7, ""), frame(8, "EE 15 02 0F00 333532303939303031373631343831" + DONE), "AT^DGSN?\r");
  expect(frame(85, ""), frame(86, "EE 26 02 0200 4237" + DONE), "AT^DMSN\r");
  expect(frame(234, ""), frame(235, "EE A3 03 0200 4237" + DONE), "AT^DMSN\r");
  end_with(m_phone, SIGTERM);
}

TEST_F(ModemRequest, IdentityOf38Characters_IsSentAnd39AreAnError) {
  know([](auto& state) { state.board_number = std::string(38, '7'); });
  std::string sevens;
  for (int count = 0; count < 38; ++count) sevens += "37";
  expect_answer(m_phone, frame(85, ""), frame(86, "EE 26 02 2600" + sevens + DONE));
  know([](auto& state) { state.board_number += '7'; });
  expect_answer(m_phone, frame(85, ""), failure_frame(86));
  expect_answer(m_phone, frame(234, ""), failure_frame(235));
}

TEST_F(ModemRequest, FixedVersions_AskNobody) {
  const std::string block = "0D416E64726F6964342E322C323031332D30312D3231" + std::string(std::size_t{2} * 42, '?');
  std::string text = block;
  for (std::size_t at = text.find('?'); at < text.size(); at += 2) text.replace(at, 2, "0A");
  for (const char* module : {"01", "10", "13", "14", "20", "40"}) {
    const std::string atom = "EE 13 01 0400" + std::string(module) + "000000";
    expect(frame(45, atom), frame(46, atom + "EE 12 03 4000" + text + DONE), "");
  }
  expect(frame(45, "EE 13 01 0400 02000000"), result_frame(46, "01000000"), "");
  expect_log(m_phone, "unknown version type: 0x02");
}

TEST_F(ModemRequest, Layer1AndProtocolVersions_AreTheModems) {
  expect(frame(45, "EE 13 01 0400 11000000"), frame(46, "EE 13 01 0400 11000000  EE 12 03 0600 4C312D312E30" + DONE),
         "AT^DCMR=17\r");
  expect(frame(45, "EE 13 01 0400 12000000"), frame(46, "EE 13 01 0400 12000000  EE 12 03 0700 484C532D312E30" + DONE),
         "AT^DCMR=18\r");
  switch_modem([](auto& switches) { switches.refuse = true; });
  expect(frame(45, "EE 13 01 0400 11000000"), result_frame(46, "01000000"), "AT^DCMR=17\r");
  expect_log(m_phone, "get version failure for type: 0x11");
}

TEST_F(ModemRequest, StationResults_AreKeptByTheModemAndInTheFile) {
  // Station 3 passed, "ok"; station 12 failed, without a description; station 19 is asked for but never reported.
  expect(frame(91, "EE 27 01 0400 03000000  EE 24 01 0400 01000000  EE 25 02 0200 6F6B"), result_frame(92, "00000000"),
         "AT^DATOMW=3,1,ok\r");
  expect(frame(91, "EE 27 01 0400 0C000000  EE 24 01 0400 02000000"), result_frame(92, "00000000"), "AT^DATOMW=12,2\r");
  expect(frame(89, "EE 27 01 0400 03000000"),
         frame(90, "EE 27 01 0400 03000000  EE 24 01 0400 01000000  EE 25 02 0200 6F6B" + DONE), "AT^DATOMR=1,3\r");
  expect(frame(89, "EE 27 01 0400 0C000000"),
         frame(90, "EE 27 01 0400 0C000000  EE 24 01 0400 02000000  EE 25 02 0000" + DONE), "AT^DATOMR=1,12\r");
  expect(frame(89, "EE 27 01 0400 13000000"),
         frame(90, "EE 27 01 0400 13000000  EE 24 01 0400 00000000  EE 25 02 0000" + DONE), "AT^DATOMR=1,19\r");
  EXPECT_EQ(known().verdicts.at(3).description, "ok");
  // 20 items; the station's number is the item's.
  EXPECT_EQ(m_phone.read_file("/amt/amt_result.txt"), "0\n0\n0\n1\n0\n0\n0\n0\n0\n0\n0\n0\n2\n0\n0\n0\n0\n0\n0\n0\n");
}

TEST_F(ModemRequest, StationTwenty_HasNoItemButTheModemsAnswerCounts) {
  expect(frame(91, "EE 27 01 0400 14000000  EE 24 01 0400 01000000"), result_frame(92, "00000000"), "AT^DATOMW=20,1\r");
  EXPECT_FALSE(m_phone.exists("/amt/amt_result.txt"));
  expect_log(m_phone, "item index error: 20");
  expect(frame(91, "EE 27 01 0400 15000000  EE 24 01 0400 01000000"), failure_frame(92), "AT^DATOMW=21,1\r");
  expect(frame(89, "EE 27 01 0400 15000000"), failure_frame(90), "AT^DATOMR=1,21\r");
}

TEST_F(ModemRequest, StationResultWithNoModemAnswer_IsKeptInTheFileAllTheSame) {
  switch_modem([](auto& switches) { switches.refuse = true; });
  expect(frame(91, "EE 27 01 0400 01000000  EE 24 01 0400 02000000"), failure_frame(92), "AT^DATOMW=1,2\r");
  EXPECT_EQ(m_phone.read_file("/amt/amt_result.txt")->substr(0, 6), "0\n2\n0\n");
}

TEST_F(ModemRequest, ProductItems_AreWrittenBelowTheStationAndReadAtIt) {
  // Station 1's result is item 0; reading station 0 gives item 0, and reading station 1 gives item 1.
  expect(frame(230, "EE 27 01 0400 01000000  EE 24 01 0400 02000000"), result_frame(231, "00000000"), "");
  expect(frame(228, "EE 27 01 0400 00000000"), frame(229, "EE 27 01 0400 00000000  EE 24 01 0400 02000000" + DONE), "");
  expect(frame(228, "EE 27 01 0400 01000000"), frame(229, "EE 27 01 0400 01000000  EE 24 01 0400 00000000" + DONE), "");
  // Station 36 is the last; station 0 goes to where a failed seek leaves it: item 0.
  expect(frame(230, "EE 27 01 0400 24000000  EE 24 01 0400 01000000"), result_frame(231, "00000000"), "");
  expect(frame(230, "EE 27 01 0400 25000000  EE 24 01 0400 01000000"), failure_frame(231), "");
  expect(frame(230, "EE 27 01 0400 00000000  EE 24 01 0400 01000000"), result_frame(231, "00000000"), "");
  expect(frame(228, "EE 27 01 0400 24000000"), failure_frame(229), "");
  expect(frame(228, "EE 27 01 0400 FFFFFFFF"), failure_frame(229), "");
  const auto product = m_phone.read_file("/amt/product.txt").value();
  EXPECT_EQ(product.size(), 72u);
  EXPECT_EQ(product.substr(0, 4), "1\n0\n");
  EXPECT_EQ(product.substr(68), "0\n1\n");
}

TEST_F(ModemRequest, Support_IsTheFourthField) {
  expect(frame(197, ""), frame(198, "EE CA 01 0400 03000000" + DONE), "AT^DMCC?\r");
  know([](auto& state) { state.support = "2,2,1"; });
  expect(frame(197, ""), failure_frame(198), "AT^DMCC?\r");
  expect_log(m_phone, "standby0_rat is null!!!");
  know([](auto& state) { state.support = "1,1,1," + std::string(33, '4'); });
  expect(frame(197, ""), failure_frame(198), "AT^DMCC?\r");
}

TEST_F(ModemRequest, Sim_IsThereForTypesOneAndTwo) {
  const std::string there = frame(100, "EE 29 04 0100 01");
  const std::string missing = frame(100, "EE 29 04 0100 00");
  expect(frame(99, ""), there, "AT^DTOC\r");
  know([](auto& state) { state.sim_type = "2"; });
  expect(frame(99, ""), there, "AT^DTOC\r");
  know([](auto& state) { state.sim_type = "3"; });
  expect(frame(99, ""), missing, "AT^DTOC\r");
  switch_modem([](auto& switches) { switches.refuse = true; });
  expect(frame(99, ""), failure_frame(100), "AT^DTOC\r");
}

TEST_F(ModemRequest, FactoryDateOf14Characters_IsSentAnd15AreAnError) {
  expect(frame(65, ""), frame(66, "EE 1B 02 0800 3230313330313231" + DONE), "AT^DMFD\?\?\r");
  know([](auto& state) { state.factory_date = "20130121-12345"; });
  expect(frame(65, ""), frame(66, "EE 1B 02 0E00 32303133303132312D3132333435" + DONE), "AT^DMFD\?\?\r");
  know([](auto& state) { state.factory_date += "6"; });
  expect(frame(65, ""), failure_frame(66), "AT^DMFD\?\?\r");
  know([](auto& state) { state.factory_date = "\xFF\xFF"; });
  expect(frame(65, ""), failure_frame(66), "AT^DMFD\?\?\r");
}

TEST_F(ModemRequest, Amt1Flag_IsWrittenAndRead) {
  expect(frame(219, "EE C0 01 0400 00000000"), frame(220, "EE C0 01 0400 00000000" + DONE), "");
  EXPECT_EQ(m_phone.read_file("/amt/power_usb_amt.txt"), "0");
  EXPECT_GE(m_phone.sync_count(), 2u);
}

// The phone goes from the normal mode into the test mode: the answer first, then USB, then the end; started again, the
// service serves the PC.
TEST_F(ModemRequest, NormalToAmt_AnswersThenEndsInOrder) {
  expect(frame(195, "EE C9 01 0400 04000000"), result_frame(196, "00000000"), "AT^DMPCHN=0\rAT^DSWAMT=4\r");
  expect_clean_end(m_phone);
  const std::string log = m_phone.log().text();
  std::size_t at = 0;
  for (const char* line : {"amt_handle_normal_to_amt amt_mode:4", "amt_change_band band:0",
                           "set property(amt.normal.amt.switch_status) to 1.",
                           "send APP rsp data: ", "property-sys.usb.config value: @#no_set_config#@",
                           "will set property(sys.usb.config) to serial,adb.", "will exit program.",
                           "stop vx-kro-mla return: 0", "receive signal: 15 - SIGTERM"}) {
    const auto found = log.find(line, at);
    ASSERT_NE(found, log.npos) << line;
    at = found;
  }
  EXPECT_EQ(m_phone.property("amt.normal.amt.switch_status"), "1");
  EXPECT_EQ(m_phone.property("sys.usb.config"), "serial,adb");
  EXPECT_EQ(m_phone.property("ctl.stop"), "vx-kro-mla0");
  EXPECT_EQ(known().amt_mode, "4");
  start_serving(m_phone);
  end_with(m_phone, SIGTERM);
}

TEST_F(ModemRequest, NormalToAmtWithUsbSerial_LeavesUsbAlone) {
  m_phone.set_property("sys.usb.config", "mtp,serial");
  expect(frame(195, "EE C9 01 0400 01000000"), result_frame(196, "00000000"), "AT^DMPCHN=0\rAT^DSWAMT=1\r");
  expect_clean_end(m_phone);
  EXPECT_EQ(m_phone.property("sys.usb.config"), "mtp,serial");
  EXPECT_EQ(m_phone.log().count("already activate serial, do not reset. "), 1u);
}

TEST_F(ModemRequest, NormalToAmtRefused_ChangesNothing) {
  switch_modem([](auto& switches) { switches.refuse = true; });
  expect(frame(195, "EE C9 01 0400 04000000"), failure_frame(196), "AT^DMPCHN=0\r");
  EXPECT_EQ(m_phone.property("amt.normal.amt.switch_status"), std::nullopt);
  EXPECT_TRUE(m_phone.service().running());
}

TEST_F(ModemRequest, AnswersSplitAtEveryByte_AreTheSame) {
  know([](auto& state) {
    state.imei = "352099001761481";
    state.verdicts[3] = {"1", "ok"};
  });
  switch_modem([](auto& switches) {
    switches.split = 1;
    switches.gap = std::chrono::milliseconds(1);
  });
  expect_answer(m_phone, frame(7, ""), frame(8, "EE 15 02 0F00 333532303939303031373631343831" + DONE));
  expect_answer(m_phone, frame(89, "EE 27 01 0400 03000000"),
                frame(90, "EE 27 01 0400 03000000  EE 24 01 0400 01000000  EE 25 02 0200 6F6B" + DONE));
  expect_answer(m_phone, frame(45, "EE 13 01 0400 11000000"),
                frame(46, "EE 13 01 0400 11000000  EE 12 03 0600 4C312D312E30" + DONE));
  expect_answer(m_phone, frame(197, ""), frame(198, "EE CA 01 0400 03000000" + DONE));
  expect_answer(m_phone, frame(99, ""), frame(100, "EE 29 04 0100 01"));
  expect_answer(m_phone, frame(65, ""), frame(66, "EE 1B 02 0800 3230313330313231" + DONE));
  expect_answer(m_phone, frame(91, "EE 27 01 0400 03000000"), result_frame(92, "00000000"));
}

}  // namespace
