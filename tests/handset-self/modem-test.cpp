#include <gtest/gtest.h>

#include "handset/modem/brain.h"

namespace {

using handset::modem_switches;
using namespace std::string_literals;
using answers = std::vector<std::string>;

const modem_switches OBEY{};
const modem_switches REFUSE{.refuse = true};

struct knowledge {
  handset::modem_state known;
};
// A modem with one link.
struct modem_brain : private knowledge, handset::modem_brain {
  modem_brain() : handset::modem_brain(known) {}
};

const std::string OK = "\r\nOK\r\n";

// Request 5 with string atom 21 "1234": the wrapped form, its checksum unlooked at by the modem.
const std::string WRITE_IMEI =
    "\xAA\xBB\xCC\xDD\x17\0\0\0\x02\0\0\0\x0F\0\xBB\x05\x09\0\xEE\x15\x02\x04\0"
    "1234\0\0\0\0"s;

// The answers to everything when each byte comes alone.
answers byte_by_byte(modem_brain& brain, std::string_view input) {
  answers all;
  for (const char byte : input) {
    for (auto& answer : brain.receive({&byte, 1}, OBEY)) all.push_back(answer);
  }
  return all;
}

struct at_row {
  const char* input;
  const char* answer;
};
class ModemAt : public testing::TestWithParam<at_row> {};

TEST_P(ModemAt, WholeOrByteByByte_IsAnsweredOnce) {
  modem_brain whole;
  EXPECT_EQ(whole.receive(GetParam().input, OBEY), answers{GetParam().answer});
  modem_brain cut;
  EXPECT_EQ(byte_by_byte(cut, GetParam().input), answers{GetParam().answer});
  EXPECT_EQ(cut.state.noise_bytes, 0u);
}

INSTANTIATE_TEST_SUITE_P(Rows, ModemAt,
                         testing::Values(at_row{"AT\r", "\r\nOK\r\n"}, at_row{"at\r", "\r\nOK\r\n"},
                                         at_row{"AT\r\n", "\r\nOK\r\n"}, at_row{"AT;^DLKS=1\r", "\r\nOK\r\n"},
                                         at_row{"AT^DLKS=0\r", "\r\nOK\r\n"}, at_row{"AT^DMPCHN=2\r", "\r\nOK\r\n"},
                                         at_row{"AT^DCGSNW=1\r", "\r\nOK\r\n"}, at_row{"AT^DMSN=1\r", "\r\nOK\r\n"},
                                         at_row{"AT^DGSN?\r", "\r\n^DGSN: \r\n\r\nOK\r\n"},
                                         at_row{"AT^DMSN\r", "\r\n^DMSN: \r\n\r\nOK\r\n"},
                                         at_row{"AT^DLKS=2\r", "\r\nERROR\r\n"}, at_row{"AT^DNONE\r", "\r\nERROR\r\n"},
                                         at_row{"AT^DMSNX\r", "\r\nERROR\r\n"}));

TEST(ModemState, WrittenIdentity_IsReadBack) {
  modem_brain brain;
  EXPECT_EQ(brain.receive("AT^DCGSNW=123456789012345\rAT^DMSN=B 77\rAT^DGSN?\rAT^DMSN\r", OBEY),
            (answers{OK, OK, "\r\n^DGSN: 123456789012345\r\n" + OK, "\r\n^DMSN: B 77\r\n" + OK}));
  EXPECT_EQ(brain.state.at_lines, 4u);
}

TEST(ModemState, Refused_KeepsNothing) {
  modem_brain brain;
  EXPECT_EQ(brain.receive("AT^DMSN=B1\r", REFUSE), answers{"\r\nERROR\r\n"});
  EXPECT_EQ(brain.state.board_number, "");
}

TEST(ModemFrame, WriteImei_IsKeptAndAnsweredWithResultZero) {
  modem_brain brain;
  const auto given = byte_by_byte(brain, WRITE_IMEI);
  ASSERT_EQ(given.size(), 1u);
  EXPECT_EQ(given[0].substr(0, 27),
            "\xAA\xBB\xCC\xDD\x17\0\0\0\x02\0\0\0\x0F\0\xBB\x06\x09\0\xEE\x01\x01\x04\0\0\0\0\0"s);
  EXPECT_EQ(given[0].size(), 31u);
  EXPECT_EQ(brain.state.imei, "1234");
}

TEST(ModemFrame, ReadImei_CarriesItInAtom21) {
  modem_brain brain;
  brain.state.imei = "99";
  const auto given = brain.receive("\xAA\xBB\xCC\xDD\x0E\0\0\0\x02\0\0\0\x06\0\xBB\x07\0\0\0\0\0\0"s, OBEY);
  ASSERT_EQ(given.size(), 1u);
  EXPECT_EQ(given[0].substr(12, 22),
            "\x16\0\xBB\x08\x10\0\xEE\x01\x01\x04\0\0\0\0\0\xEE\x15\x02\x02\0"
            "99"s);
}

TEST(ModemFrame, Refused_HasResultOne) {
  modem_brain brain;
  const auto given = brain.receive(WRITE_IMEI, REFUSE);
  ASSERT_EQ(given.size(), 1u);
  EXPECT_EQ(given[0].substr(18, 9), "\xEE\x01\x01\x04\0\x01\0\0\0"s);
  EXPECT_EQ(brain.state.imei, "");
}

TEST(ModemInput, RequestsJoinedWithNoise_AreAllAnswered) {
  modem_brain brain;
  EXPECT_EQ(brain.receive("xyzAT\r\xAA\xBB" + WRITE_IMEI + "AxAT\x01" + "AT\r", OBEY).size(), 3u);
  EXPECT_EQ(brain.state.noise_bytes, 3u + 2u + 2u + 3u);
  EXPECT_EQ(brain.state.frames, 1u);
  EXPECT_EQ(brain.state.at_lines, 2u);
}

struct length_row {
  const char* legend;
  std::string length;
};
class ModemLength : public testing::TestWithParam<length_row> {};

TEST_P(ModemLength, Impossible_IsNoiseAndTheNextLineIsAnswered) {
  modem_brain brain;
  EXPECT_EQ(brain.receive("\xAA\xBB\xCC\xDD" + GetParam().length + "zz" + "AT\r", OBEY), answers{OK});
}

INSTANTIATE_TEST_SUITE_P(Rows, ModemLength,
                         testing::Values(length_row{"no room for a frame's head: 13", "\x0D\0\0\0"s},
                                         length_row{"longest frame + 1: 4105", "\x09\x10\0\0"s},
                                         length_row{"all ones", "\xFF\xFF\xFF\xFF"s}));

TEST(ModemInput, PartialDropped_IsNoiseAndTheNextLineIsAnswered) {
  modem_brain brain;
  EXPECT_EQ(brain.receive(WRITE_IMEI.substr(0, 20), OBEY), answers{});
  EXPECT_TRUE(brain.has_partial());
  brain.drop_partial();
  EXPECT_EQ(brain.state.noise_bytes, 20u);
  EXPECT_EQ(brain.receive("AT\r", OBEY), answers{OK});
}

TEST(ModemInput, EndlessLine_IsDropped) {
  modem_brain brain;
  EXPECT_EQ(brain.receive("AT" + std::string(5000, 'x'), OBEY), answers{});
  EXPECT_FALSE(brain.has_partial());
  EXPECT_EQ(brain.state.noise_bytes, 5002u);
}

}  // namespace
