#include "amt/amt-convert/ids.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

struct command_st {
  int m_request;       // its answer is m_request + 1
  const char* m_name;  // without the ending that distinguishes request and answer
};

constexpr command_st COMMANDS[] = {
    {1, "AMT_READFLASH"},
    {3, "AMT_WRITEFLASH"},
    {5, "AMT_WRITEIMEI"},
    {7, "AMT_READIMEI"},
    {9, "AMT_READ_BATTERY"},
    {11, "AMT_STARTTX"},
    {13, "AMT_STOPTX"},
    {15, "AMT_CHANGETXPOWER"},
    {17, "AMT_CHANGETXFREQ"},
    {19, "AMT_STARTRX"},
    {21, "AMT_STOPRX"},
    {23, "AMT_RXDATA"},
    {25, "AMT_IQPOWER"},
    {27, "AMT_CHANGERXFREQ"},
    {29, "AMT_SHOWLCD"},
    {31, "AMT_AUDIOLOOP"},
    {33, "AMT_BELL"},
    {35, "AMT_VIBRATION"},
    {37, "AMT_BACKLIGHT"},
    {39, "AMT_CHANGEMODE"},
    {41, "AMT_KEYBOARD"},
    {45, "AMT_VERSION"},
    {47, "AMT_READTABLE_MEMORY"},
    {49, "AMT_WRITETABLE_MEMORY"},
    {51, "AMT_READ_BATTERYADC"},
    {53, "AMT_WRITE_BATTERYADC"},
    {55, "AMT_TEMPERATURE"},
    {57, "AMT_LCDLIGHT"},
    {59, "AMT_READ_RFADC"},
    {61, "AMT_READTABLE_FLASH"},
    {63, "AMT_WRITETABLE_FLASH"},
    {65, "AMT_READ_OUTDATE"},
    {67, "AMT_WRITE_OUTDATE"},
    {69, "AMT_READ_FLUSHDATE"},
    {71, "AMT_EXIT"},
    {73, "AMT_WRITE_CONTROL"},
    {75, "AMT_READ_CONTROL"},
    {77, "AMT_IQSERIAL"},
    {79, "AMT_IQCHECK"},
    {81, "AMT_WRITE_GAININ"},
    {83, "AMT_READ_GAININ"},
    {85, "AMT_READ_BOARD"},
    {87, "AMT_WRITE_BOARD"},
    {89, "AMT_READ_TEST_RESULT"},
    {91, "AMT_WRITE_TEST_RESULT"},
    {93, "AMT_WRITE_VERSION"},
    {95, "AMT_WRITE_MIC_PREAMP"},
    {97, "AMT_READ_MIC_PREAMP"},
    {99, "AMT_USIMCHECK"},
    {101, "AMT_REFRESHTABLE_FLASH"},
    {103, "AMT_GPIO"},
    {105, "AMT_GSM_TRANSPARENT_CONTROL"},
    {107, "AMT_GSM_READTABLE_FLASH_TO_MEMORY"},
    {109, "AMT_GSM_READTABLE_FLAG_FLASH"},
    {111, "AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH"},
    {113, "AMT_GSM_READTABLE_MEMORY"},
    {115, "AMT_GSM_WRITETABLE_MEMORY"},
    {117, "AMT_DIAL"},
    {119, "AMT_HUNGUP"},
    {121, "AMT_SWITCH_MODE"},
    {123, "AMT_WRITE_GAINOUT"},
    {125, "AMT_READ_GAINOUT"},
    {127, "AMT_WRITE_MIC_GAININ"},
    {129, "AMT_READ_MIC_GAININ"},
    {131, "AMT_SET_DEFAULT_ACCESS_TECH"},
    {133, "AMT_WRITECARD"},
    {135, "AMT_READCARD"},
    {137, "AMT_READCAPABILITY_CARD"},
    {139, "AMT_CAMERA_PREVIEW"},
    {141, "AMT_CAMERA_SNAPSHOT"},
    {143, "AMT_CAMERA_SAVE"},
    {145, "AMT_CAMERA_DEL"},
    {147, "AMT_SECOND_CAMERA_PREVIEW"},
    {149, "AMT_NVRESUME"},
    {151, "AMT_DSP_TRANSPARENT_CONTROL"},
    {153, "AMT_EDGE_READTABLE_FLASH_TO_MEMORY"},
    {155, "AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH"},
    {170, "AMT_BLUETOOTH"},
    {172, "AMT_BLUETOOTH_ADDRESS"},
    {174, "AMT_GPS_CONTROL"},
    {176, "AMT_GPS_TEST"},
    {178, "AMT_GPS_READ_RESULT"},
    {180, "AMT_CAMERA_CONTROL"},
    {185, "AMT_WIFI_TEST"},
    {187, "AMT_WIFI_RTX_TEST"},
    {193, "AMT_BOARD_PCBA_CTRL"},
    {195, "AMT_NORMAL_TO_AMT"},
    {197, "AMT_NORMAL_TO_AMT_SUPPORT"},
    {201, "CELL_SWITCH_MODE"},
    {205, "CELL_READ_VERSION"},
    {207, "CELL_READ_IDEN"},
    {209, "CELL_SET_EXCEPTIONAL_RESET"},
    {211, "CELL_QUERY_EXCEPTIONAL_RESET"},
    {213, "CELL_CAMP_ON_CELL_CONTROL"},
    {219, "AMT_DAMT1"},
    {238, "AMT_READ_DEV_INFO"},
    {240, "AMT_ENTER_IDLE"},
};

constexpr command_st WITHOUT_ANSWER[] = {
    {0, "AMT_NONE_CMD"},
    {43, "AMT_KEYVALUE_CMD"},
    {204, "CELL_RECIEVE_RSPDATA"},
    {221, "AMT_DSP_TRANSPARENT_CONTROL_INDCMD"},
};

std::array<std::string, 256> expected_names() {
  std::array<std::string, 256> names;
  names.fill("(undefined)");
  for (const auto& command : COMMANDS) {
    names[static_cast<std::size_t>(command.m_request)] = std::string(command.m_name) + "_CMD";
    names[static_cast<std::size_t>(command.m_request) + 1] = std::string(command.m_name) + "_RSPCMD";
  }
  for (const auto& command : WITHOUT_ANSWER) names[static_cast<std::size_t>(command.m_request)] = command.m_name;
  return names;
}

TEST(CommandName, EveryId_IsAsTheStationsKnowIt) {
  const auto names = expected_names();
  for (std::size_t id = 0; id < names.size(); ++id) {
    EXPECT_EQ(amt_command_name(static_cast<std::uint8_t>(id)), names[id]) << id;
  }
}

TEST(CommandName, FirstAndLastId_AreInTheTable) {
  EXPECT_STREQ(amt_command_name(0), "AMT_NONE_CMD");
  EXPECT_STREQ(amt_command_name(255), "(undefined)");
}

TEST(CommandName, UnusedIds_AreUndefined) {
  for (const int id : {44, 157, 169, 182, 184, 189, 191, 192, 199, 200, 203, 215, 218, 222, 237, 242, 244, 255}) {
    EXPECT_STREQ(amt_command_name(static_cast<std::uint8_t>(id)), "(undefined)") << id;
  }
}

// Stations read it with this spelling.
TEST(CommandName, MisspelledOne_StaysMisspelled) {
  EXPECT_STREQ(amt_command_name(204), "CELL_RECIEVE_RSPDATA");
}

TEST(CommandName, KeyValue_HasNoAnswer) {
  EXPECT_STREQ(amt_command_name(43), "AMT_KEYVALUE_CMD");
  EXPECT_STREQ(amt_command_name(44), "(undefined)");
}

}  // namespace
