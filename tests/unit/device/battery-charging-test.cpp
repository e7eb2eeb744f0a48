#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "amt/amt-device/battery.h"
#include "tests/unit/board.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

class Charging : public testing::Test {
 protected:
  Charging() { m_log.clear(); }

  log_capture m_log;
  test_board m_board;
};

TEST_F(Charging, Control_Accepted_IsLoggedAsOk) {
  EXPECT_EQ(amt_usb_charge_ctrl(1), 0);
  EXPECT_THAT(m_board.m_calls, ElementsAre(board_call_st{"amt_usb_charger_enable", 1}));
  EXPECT_TRUE(
      m_log.has_in_a_row({"will call amt_usb_charger_enable , type:1.", "will call amt_usb_charger_enable.",
                          "stop call amt_usb_charger_enable. return value:0.", "amt_usb_charger_enable return OK."}));
}

TEST_F(Charging, Control_AnyTypeFrom0Up_IsPassedOn) {
  std::ignore = amt_usb_charge_ctrl(0);
  std::ignore = amt_usb_charge_ctrl(7);
  EXPECT_THAT(m_board.m_calls,
              ElementsAre(board_call_st{"amt_usb_charger_enable", 0}, board_call_st{"amt_usb_charger_enable", 7}));
}

TEST_F(Charging, Control_BoardRefuses_IsItsResult) {
  for (const int refusal : {-1, 5, -118}) {
    m_board.m_result = refusal;
    m_log.clear();
    EXPECT_EQ(amt_usb_charge_ctrl(1), refusal);
    EXPECT_TRUE(m_log.has("stop call amt_usb_charger_enable. return value:" + std::to_string(refusal) + "."));
    EXPECT_FALSE(m_log.has("amt_usb_charger_enable return OK."));
  }
}

TEST_F(Charging, Control_NegativeType_IsRefusedWithoutTheLibrary) {
  EXPECT_EQ(amt_usb_charge_ctrl(-1), -101);
  EXPECT_TRUE(m_board.m_calls.empty());
  EXPECT_THAT(m_log.texts(), ElementsAre("will call amt_usb_charger_enable , type:-1.",
                                         failure_line("amt/amt-device", "amt_usb_charge_ctrl", -101),
                                         "parameter type(-1) is not valid."));
  m_board.remove();
  EXPECT_EQ(amt_usb_charge_ctrl(-1), -101);
  EXPECT_FALSE(m_log.contains("call dlopen fail"));
}

TEST_F(Charging, Control_WithoutLibraryOrOperation_Fails) {
  m_board.remove();
  EXPECT_EQ(amt_usb_charge_ctrl(1), -118);
  m_board.use_empty();
  EXPECT_EQ(amt_usb_charge_ctrl(1), -118);
  EXPECT_FALSE(m_log.has("will call amt_usb_charger_enable."));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-device", "amt_usb_charge_ctrl", -118)).Times(2));
}

TEST_F(Charging, Mode_IsWhatTheBoardGives) {
  for (const int supply : {1, 2, 0, 17, -1}) {
    m_board.m_result = supply;
    m_log.clear();
    std::int32_t mode = 99;
    EXPECT_EQ(amt_get_charge_mode(&mode), 0);
    EXPECT_EQ(mode, supply);
    EXPECT_THAT(m_log.texts(), ElementsAre("amt_get_charge_mode()", "will call IsChargeState.",
                                           "stop call IsChargeState. return value:" + std::to_string(supply) + "."));
  }
}

TEST_F(Charging, Mode_WithoutLibraryOrOperation_Is0) {
  std::int32_t mode = 99;
  m_board.remove();
  EXPECT_EQ(amt_get_charge_mode(&mode), -118);
  EXPECT_EQ(mode, 0);
  mode = 99;
  m_board.use_empty();
  EXPECT_EQ(amt_get_charge_mode(&mode), -118);
  EXPECT_EQ(mode, 0);
  EXPECT_THAT(m_log.texts(), testing::Contains(StartsWith("call dlopen fail: - ")).Times(2));
}

TEST_F(Charging, Sanity_IsTheFlagWhateverItIs) {
  for (const int sanity : {0, 1, -3}) {
    m_board.m_result = sanity;
    m_log.clear();
    std::int32_t flag = 99;
    EXPECT_EQ(amt_boot_dl_fin_read(&flag), 0);
    EXPECT_EQ(flag, sanity);
    EXPECT_THAT(m_log.texts(),
                ElementsAre("amt_boot_dl_fin_read start.", "will call amt_check_system_sanity.",
                            "stop call amt_check_system_sanity. return value:" + std::to_string(sanity) + "."));
  }
}

TEST_F(Charging, Sanity_WithoutLibraryOrOperation_Is0) {
  std::int32_t flag = 99;
  m_board.remove();
  EXPECT_EQ(amt_boot_dl_fin_read(&flag), -118);
  EXPECT_EQ(flag, 0);
  flag = 99;
  m_board.use_empty();
  EXPECT_EQ(amt_boot_dl_fin_read(&flag), -118);
  EXPECT_EQ(flag, 0);
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-device", "amt_boot_dl_fin_read", -118)).Times(2));
}

}  // namespace
