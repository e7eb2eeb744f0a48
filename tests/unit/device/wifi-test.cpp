#include "tests/unit/device/device-test.h"

namespace {

namespace fs = std::filesystem;

constexpr char WIFI_RECORD[] = "/amt/WIFI/WIFI_nvram.txt";
constexpr char APP_WIFI_OK[] = "0F 00 BB BA 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char PC_WIFI_OK[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB BA 09 00 EE 01 01 04 00 00 00 00 00 83 94 4F 0B";

using Wifi = device_test;

TEST_F(Wifi, Address_Read_IsAnsweredOnBothLinks) {
  write_file(WIFI_RECORD, "AA:BB:CC:DD:EE:FF\n");
  EXPECT_EQ(pc(185, int_atom(152, 0)), 0);
  EXPECT_EQ(app(185), 0);  // no operation: 0
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 2D 00 00 00 02 00 00 00 25 00 BB BA 1F 00 "
            "EE 99 02 11 00 41 41 3A 42 42 3A 43 43 3A 44 44 3A 45 45 3A 46 46 EE 01 01 04 00 00 00 00 00 73 1B 42 55");
  EXPECT_EQ(to_app(),
            "25 00 BB BA 1F 00 "
            "EE 99 02 11 00 41 41 3A 42 42 3A 43 43 3A 44 44 3A 45 45 3A 46 46 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("amt_device_wifi_address op_type:0"));
  EXPECT_TRUE(m_log.has("read WIFI address: AA:BB:CC:DD:EE:FF"));
}

TEST_F(Wifi, Address_ReadWithoutRecord_Fails) {
  EXPECT_EQ(pc(185, int_atom(152, 0)), ERR_FAIL);
  EXPECT_EQ(app(185, int_atom(152, 0)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_wifi_address", ERR_FAIL)).Times(2));
  EXPECT_TRUE(m_log.has("read error"));
}

TEST_F(Wifi, Address_Write_ReachesTheRecordAndLocksItsFolder) {
  EXPECT_EQ(pc(185, int_atom(152, 1) + string_atom(153, "AA:BB:CC:DD:EE:FF")), 0);
  EXPECT_EQ(content_of(WIFI_RECORD), "AA:BB:CC:DD:EE:FF\n");
  EXPECT_EQ(to_pc(), PC_WIFI_OK);
  EXPECT_EQ(fs::status("/amt/WIFI").permissions(), fs::perms(0555));
  EXPECT_EQ(fs::status(WIFI_RECORD).permissions(), fs::perms(0555));
  EXPECT_TRUE(m_log.has("Write WIFI address: AA:BB:CC:DD:EE:FF"));
  EXPECT_TRUE(m_log.has("path = /amt/WIFI change to chmod -R 555"));
}

TEST_F(Wifi, Address_WriteFromTheApplication_IsAnsweredBare) {
  EXPECT_EQ(app(185, int_atom(152, 1) + string_atom(153, "x")), 0);
  EXPECT_EQ(content_of(WIFI_RECORD), "x\n");
  EXPECT_EQ(to_app(), APP_WIFI_OK);
}

TEST_F(Wifi, Address_WriteOfFiftyNineCharacters_IsTakenWhole) {
  EXPECT_EQ(app(185, int_atom(152, 1) + string_atom(153, std::string(59, 'a'))), 0);
  EXPECT_EQ(content_of(WIFI_RECORD), std::string(59, 'a') + "\n");
}

TEST_F(Wifi, Address_WriteWithAZeroByte_EndsAtIt) {
  EXPECT_EQ(app(185, int_atom(152, 1) + string_atom(153, std::string("AA:BB\0:CC", 9))), 0);
  EXPECT_EQ(content_of(WIFI_RECORD), "AA:BB\n");
}

TEST_F(Wifi, Address_WriteOfSixtyCharacters_IsTakenWhole) {
  EXPECT_EQ(app(185, int_atom(152, 1) + string_atom(153, std::string(60, 'a'))), 0);
  EXPECT_EQ(content_of(WIFI_RECORD), std::string(60, 'a') + "\n");
}

TEST_F(Wifi, Address_WriteOfMore_IsCutToFiftyNine) {
  EXPECT_EQ(app(185, int_atom(152, 1) + string_atom(153, std::string(61, 'a'))), 0);
  EXPECT_EQ(content_of(WIFI_RECORD), std::string(59, 'a') + "\n");
}

TEST_F(Wifi, Address_WriteOfNothing_Fails) {
  EXPECT_EQ(pc(185, int_atom(152, 1)), ERR_FAIL);
  EXPECT_EQ(app(185, int_atom(152, 1) + string_atom(153, "")), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(m_log.count("write error"), 2u);
  EXPECT_THAT(log(), Contains(device_failure("amt_device_wifi_address", ERR_FAIL)).Times(2));
  EXPECT_EQ(content_of(WIFI_RECORD), "(no file)");
}

TEST_F(Wifi, Address_WriteFails_FolderIsNotLocked) {
  make_full_file(WIFI_RECORD);
  EXPECT_EQ(pc(185, int_atom(152, 1) + string_atom(153, "AA:BB:CC:DD:EE:FF")), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("write error"));
  EXPECT_THAT(log(), Contains(device_failure("amt_device_wifi_address", ERR_FAIL)));
  EXPECT_FALSE(m_log.contains("Write WIFI address"));
  EXPECT_NE(fs::status("/amt/WIFI").permissions(), fs::perms(0555));
}

TEST_F(Wifi, Address_Check_AsksTheLibraryOnBothLinks) {
  EXPECT_EQ(pc(185, int_atom(152, 2)), 0);
  EXPECT_EQ(app(185, int_atom(152, 2)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_wifiCheck()", "hwt_wifiCheck()"));
  EXPECT_EQ(to_pc(), PC_WIFI_OK);
  EXPECT_EQ(to_app(), APP_WIFI_OK);
  EXPECT_TRUE(m_log.has_in_a_row({"wifi connectivity check start", "wifi connectivity check end. return:0."}));
}

TEST_F(Wifi, Address_CheckFails_NamesTheBluetoothOperation) {
  g_hwt_fake.m_results = {{"hwt_wifiCheck()", 8}};
  for (const amt_link_en link : {AMT_LINK_PC, AMT_LINK_APP}) {
    m_log.clear();
    EXPECT_EQ(ask(link, 185, int_atom(152, 2)), ERR_FAIL);
    EXPECT_THAT(log(), ElementsAre("amt_device_wifi_address()", "amt_device_wifi_address op_type:2",
                                   "wifi connectivity check start", "wifi connectivity check end. return:8.",
                                   device_failure("amt_device_wifi_address", ERR_FAIL),
                                   "wifi connectivity check error. call hwt_btCtrl fail: 8"));
  }
  EXPECT_TRUE(is_silent());
}

TEST_F(Wifi, Address_UnknownOperation_IsRefused) {
  const std::pair<std::uint32_t, std::string> rows[] = {
      {3, "3"}, {10, "10"}, {0x7FFFFFFF, "2147483647"}, {0x80000000, "-2147483648"}, {0xFFFFFFFF, "-1"}};
  for (const auto& [operation, shown] : rows) {
    for (const amt_link_en link : {AMT_LINK_PC, AMT_LINK_APP}) {
      m_log.clear();
      EXPECT_EQ(ask(link, 185, int_atom(152, operation)), ERR_ARGUMENT);
      EXPECT_THAT(log(),
                  ElementsAre("amt_device_wifi_address()", "amt_device_wifi_address op_type:" + shown,
                              device_failure("amt_device_wifi_address", ERR_ARGUMENT), "unknown operation: " + shown));
    }
  }
  EXPECT_TRUE(is_silent());
}

}  // namespace
