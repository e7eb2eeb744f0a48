// The simulated modem's answers to the service's own questions: its AT commands, and the radio behind "AT^DTTEST=".
#include <gtest/gtest.h>

#include "handset/modem/at.h"

namespace {

using handset::modem_state;
using handset::modem_switches;

const modem_switches OBEY{};
const std::string OK = "\r\nOK\r\n";
const std::string ERROR = "\r\nERROR\r\n";

std::string ask(modem_state& state, std::string_view line) {
  return answer_at_line(state, OBEY, line);
}
// The hexadecimal text that answers a radio request; the whole answer when it is none.
std::string ask_radio(modem_state& state, const std::string& request, const modem_switches& switches = OBEY) {
  const std::string answer = answer_at_line(state, switches, "AT^DTTEST=" + request);
  const std::string begin = "\r\n^DTTEST: ";
  const std::string end = "\r\n" + OK;
  if (!answer.starts_with(begin) || !answer.ends_with(end)) return answer;
  return answer.substr(begin.size(), answer.size() - begin.size() - end.size());
}

struct line_row {
  const char* line;
  const char* answer;
};
class ModemLine : public testing::TestWithParam<line_row> {};

TEST_P(ModemLine, OnAFreshModem_IsAnswered) {
  modem_state state;
  EXPECT_EQ(ask(state, GetParam().line), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ModemLine,
    testing::Values(line_row{"AT^DMCC?", "\r\n^DMCC: 2,2,1,3\r\n\r\nOK\r\n"},
                    line_row{"AT^DTOC", "\r\n^DTOC: 1\r\n\r\nOK\r\n"},
                    line_row{"AT^DMFD\?\?", "\r\n^DMFD: 20130121\r\n\r\nOK\r\n"},
                    line_row{"AT^DCMR=17",
                             "\r\n^DCMR: 17,0D4C312D312E30"
                             "0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A"
                             "0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A\r\n\r\nOK\r\n"},
                    line_row{"AT^DCMR=19", "\r\nERROR\r\n"}, line_row{"AT^DSWAMT=4", "\r\nOK\r\n"},
                    line_row{"AT^DATOMR=1,7", "\r\n^DATOMR: 7,0\r\n\r\nOK\r\n"},
                    line_row{"AT^DATOMR=1,0", "\r\nERROR\r\n"}, line_row{"AT^DATOMR=1,21", "\r\nERROR\r\n"},
                    line_row{"AT^DATOMW=20,1", "\r\nOK\r\n"}, line_row{"AT^DATOMW=21,1", "\r\nERROR\r\n"},
                    line_row{"AT^DATOMW=3", "\r\nERROR\r\n"}, line_row{"AT^DTTEST=", "\r\nERROR\r\n"},
                    line_row{"AT^DTTEST=0", "\r\nERROR\r\n"}, line_row{"AT^DTTEST=0G", "\r\nERROR\r\n"}));

TEST(ModemLine, VerdictWithCommasInItsText_IsReadBack) {
  modem_state state;
  EXPECT_EQ(ask(state, "AT^DATOMW=12,2,RF, band 3"), OK);
  EXPECT_EQ(ask(state, "AT^DATOMR=1,12"), "\r\n^DATOMR: 12,2,RF, band 3\r\n" + OK);
}

TEST(ModemLine, Refusal_IsAsChosen) {
  modem_state state;
  EXPECT_EQ(answer_at_line(state, {.refuse = true, .refusal = "+CME ERROR: 100"}, "AT"), "\r\n+CME ERROR: 100\r\n");
}

TEST(ModemLine, CutChannelSwitch_IsAWholeLine) {
  EXPECT_TRUE(handset::is_line_without_end("AT^DMPCHN=12"));
  EXPECT_FALSE(handset::is_line_without_end("AT^DMPCHN=1"));
  EXPECT_FALSE(handset::is_line_without_end("AT^DMSN"));
}

struct radio_row {
  const char* request;
  const char* response;
};
class ModemRadio : public testing::TestWithParam<radio_row> {};

// IMEI 123456789012345, board number B7; table 1 in memory is AA BB, table 2 in flash CC.
TEST_P(ModemRadio, OnAKnownModem_IsAnswered) {
  modem_state state;
  state.imei = "123456789012345";
  state.board_number = "B7";
  state.radio.memory_tables[1] = "\xAA\xBB";
  state.radio.flash_tables[2] = "\xCC";
  EXPECT_EQ(ask_radio(state, GetParam().request), GetParam().response);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ModemRadio,
    testing::Values(radio_row{"07", "0800000000313233343536373839303132333435"},
                    radio_row{"17", "1800000001"},  // nothing is received while the receiver is off
                    radio_row{"19", "1A0000000000000000"},
                    radio_row{"2D12000000",
                              "2E00000000000000120D484C532D312E30"
                              "0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A"
                              "0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A"},
                    radio_row{"2F01000000", "300000000002000000AABB"},
                    radio_row{"2F02000000", "300000000010000000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"},
                    radio_row{"2F010000", "3000000001"}, radio_row{"3B", "3C0000000000000080"},
                    radio_row{"3D02000000", "3E0000000001000000CC"}, radio_row{"4D", "4E000000000500000049512D4237"},
                    radio_row{"63", "640000000001"}, radio_row{"69010203", "6A0000000003000000010203"},
                    radio_row{"6D02000000", "6E0000000001"}, radio_row{"6D01000000", "6E0000000000"},
                    radio_row{"7101000000", "720000000002000000AABB"},
                    radio_row{"970300010203", "98000000000300010203"}, radio_row{"970200010203", "9800000001"},
                    radio_row{"DD5566", "DD0000000002005566"}, radio_row{"2A", "2B00000000"},
                    radio_row{"FF", "0000000000"}));

TEST(ModemRadio, Transmitter_IsSeenInPowerAndAdc) {
  modem_state state;
  EXPECT_EQ(ask_radio(state, "0B 64000000"), ERROR);  // no blanks in hexadecimal text
  EXPECT_EQ(ask_radio(state, "0B6400000005000000"), "0C00000000");
  EXPECT_EQ(state.radio.tx_frequency, 100u);
  EXPECT_EQ(ask_radio(state, "19"), "1A0000000000000005");
  EXPECT_EQ(ask_radio(state, "0F07000000"), "1000000000");
  EXPECT_EQ(ask_radio(state, "1165000000"), "1200000000");
  EXPECT_EQ(state.radio.tx_frequency, 101u);
  EXPECT_EQ(ask_radio(state, "3B"), "3C0000000000000107");
  EXPECT_EQ(ask_radio(state, "0D"), "0E00000000");
  EXPECT_EQ(ask_radio(state, "19"), "1A0000000000000000");
}

TEST(ModemRadio, Receiver_CountsUpFromItsFrequency) {
  modem_state state;
  EXPECT_EQ(ask_radio(state, "1310000000"), "1400000000");
  EXPECT_EQ(ask_radio(state, "17"), "180000000000000008080000001011121314151617");
  EXPECT_EQ(ask_radio(state, "1BFE000000"), "1C00000000");
  EXPECT_EQ(ask_radio(state, "17"), "18000000000000000808000000FEFF000102030405");
  EXPECT_EQ(ask_radio(state, "15"), "1600000000");
  EXPECT_EQ(ask_radio(state, "17"), "1800000001");
}

TEST(ModemRadio, Tables_GoFromMemoryToFlashAndBack) {
  modem_state state;
  EXPECT_EQ(ask_radio(state, "3109000000AABB"), "3200000000");
  EXPECT_EQ(ask_radio(state, "6F08000000"), "7000000001");  // there is no table 8
  EXPECT_EQ(ask_radio(state, "6F09000000"), "7000000000");
  state.radio.memory_tables.clear();
  EXPECT_EQ(ask_radio(state, "6B"), "6C00000000");
  EXPECT_EQ(ask_radio(state, "2F09000000"), "300000000002000000AABB");
}

TEST(ModemRadio, OtherRequest_KeepsItsValues) {
  modem_state state;
  EXPECT_EQ(ask_radio(state, "490102"), "4A00000000");
  EXPECT_EQ(state.radio.settings.at(73), "\x01\x02");
}

TEST(ModemRadio, ResultOnDemand_IsAllThereIsAndNothingIsDone) {
  modem_state state;
  EXPECT_EQ(ask_radio(state, "05393939", {.radio_result = 0x102}), "0600000102");
  EXPECT_EQ(state.imei, "");
}

}  // namespace
