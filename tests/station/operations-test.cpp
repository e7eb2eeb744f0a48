#include "station/words/operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "station/words/table.h"
#include "station/words/words.h"
#include "tests/wire.h"

namespace {

using testing::HasSubstr;

constexpr stream_form_en PC = stream_form_en::WRAPPED;
constexpr stream_form_en APP = stream_form_en::BARE;

const station_word_st* find_word(const std::string& name) {
  for (const auto& word : station_words()) {
    if (name == word.m_name) return &word;
  }
  ADD_FAILURE() << "no word " << name;
  return nullptr;
}

std::vector<std::string> words_of(std::string_view line) {
  std::vector<std::string> words(1);
  for (const char character : line) {
    if (character == ' ') {
      words.emplace_back();
    } else {
      words.back() += character;
    }
  }
  return words;
}

struct built_st {
  std::string m_wrong;
  station_request_st m_request;
};

// The request of "bt-address set 0011"; on a PC link with --frame when asked.
built_st build(std::string_view line, stream_form_en form = PC, bool is_frame = false) {
  station_arguments_st arguments;
  arguments.m_words = words_of(line);
  const station_word_st* word = find_word(arguments.m_words[0]);
  arguments.m_words.erase(arguments.m_words.begin());
  arguments.m_form = form;
  arguments.m_is_frame = is_frame;
  built_st built;
  if (word != nullptr) built.m_wrong = station_build(*word, arguments, &built.m_request);
  return built;
}

std::string text_of(std::string_view line) {
  const built_st built = build(line);
  EXPECT_EQ(built.m_wrong, "") << line;
  EXPECT_FALSE(built.m_request.m_is_frame) << line;
  return built.m_request.m_text;
}

// The bare frame, which is the same on both links.
byte_string frame_of(std::string_view line, stream_form_en form) {
  const built_st built = build(line, form, true);
  EXPECT_EQ(built.m_wrong, "") << line;
  EXPECT_TRUE(built.m_request.m_is_frame) << line;
  return station_wire_bytes(built.m_request, APP);
}

std::optional<std::string> value_of_text(std::string_view line, std::vector<std::string> answer) {
  return station_value(build(line).m_request, {std::nullopt, std::move(answer)});
}

std::optional<std::string> value_of_frame(std::string_view line, stream_form_en form, std::string_view answer) {
  amt_frame_st frame{};
  std::ranges::copy(bytes_from_hex(answer), frame.begin());
  return station_value(build(line, form, true).m_request, {frame, {}});
}

TEST(OperationsText, EachCommand_GoesOutAsThePhoneReadsIt) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"bt-address", "AT^DBTADDR?\r"},
      {"bt-address get", "AT^DBTADDR?\r"},
      {"bt-address set 001122334455", "AT^DBTADDR=\"001122334455\"\r"},
      {"wifi-address", "AT^DWIFIADDR?\r"},
      {"wifi-address set 0011AAbb4455", "AT^DWIFIADDR=\"0011AAbb4455\"\r"},
      {"pcba-sn", "AT^DPCBACTRL=1\r"},
      {"pcba-sn set P123", "AT^DPCBACTRL=2,P123"},
      {"imei", "AT^DGSN?\r"},
      {"imei set 358240051111110", "AT^DCGSNW=358240051111110\r"},
      {"board-sn", "AT^DMSN\r"},
      {"board-sn set B77", "AT^DMSN=B77\r"},
      {"amt1-flag", "AT^DAMT1=2\r"},
      {"amt1-flag set 0", "AT^DAMT1=0\r"},
      {"amt1-flag set 1", "AT^DAMT1=1\r"},
      {"sw-version", "AT^DSVER\r"},
      {"check wifi", "AT^DDEVCONNCHK=0\r"},
      {"check gps", "AT^DDEVCONNCHK=1\r"},
      {"check bt", "AT^DDEVCONNCHK=3\r"},
      {"bluetooth on", "AT^DBTCTRL=1\r"},
      {"bluetooth off", "AT^DBTCTRL=0\r"},
      {"gps read 3", "AT^DGPSCTRL=2,3\r"},
      {"gps stop", "AT^DGPSCTRL=0\r"},
      {"wifi-tx 6 10 -20", "AT^DWLTSD=1,6,10,-20\r"},
      {"wifi-tx off", "AT^DWLTSD=0\r"},
      {"wifi-rx 6 10", "AT^DWLTRD=1,6,10\r"},
      {"wifi-rx off", "AT^DWLTRD=0\r"},
      {"idle", "AT^DENTERIDLE\r"},
      {"power-off", "AT^DAMTOFF\r"},
      {"boot-download", "AT^DBOOTDLFIN\r"},
  };
  for (const auto& [line, expected] : rows) EXPECT_EQ(text_of(line), expected) << line;
}

struct frame_row_st {
  const char* m_line;
  stream_form_en m_form;
  const char* m_bytes;
};

TEST(OperationsFrame, EachRequest_HasItsAtoms) {
  const frame_row_st rows[] = {
      {"bt-address", PC, "0F00BBAC0900 EE6E01040001000000"},
      {"bt-address set 0123456789AB", APP, "2000BBAC1A00 EE6E01040002000000 EE6F020C00 303132333435363738394142"},
      {"wifi-address", PC, "0F00BBB90900 EE9801040000000000"},
      {"wifi-address set 0123456789AB", PC, "2000BBB91A00 EE9801040001000000 EE99020C00 303132333435363738394142"},
      {"pcba-sn", PC, "0C00BBC10600 EEBE03010001"},
      {"pcba-sn set AB", PC, "1300BBC10D00 EEBE03010002 EEBF0202004142"},
      {"imei", APP, "0600BB070000"},
      {"imei set 358240051111110", APP, "1A00BB051400 EE15020F00 333538323430303531313131313130"},
      {"board-sn", PC, "0600BB550000"},
      {"board-sn set 12", PC, "0D00BB570700 EE260202003132"},
      {"amt1-flag", APP, "0F00BBDB0900 EEC001040002000000"},
      {"amt1-flag set 1", APP, "0F00BBDB0900 EEC001040001000000"},
      {"sw-version", PC, "0F00BB2D0900 EE1301040010000000"},
      {"check wifi", PC, "0F00BBB90900 EE9801040002000000"},
      {"check gps", APP, "0F00BBAE0900 EE8C01040002000000"},
      {"check bt", APP, "0F00BBAC0900 EE6E01040003000000"},
      {"bluetooth on", APP, "0F00BBAC0900 EE6E0104000B000000"},
      {"bluetooth off", APP, "0F00BBAC0900 EE6E0104000A000000"},
      {"gps start", PC, "0F00BBAE0900 EE8C01040001000000"},
      {"gps read 3", APP, "0F00BBB20900 EE8D01040003000000"},
      {"gps stop", APP, "0F00BBAE0900 EE8C01040000000000"},
      {"gps test", PC, "0600BBB00000"},
      {"bluetooth start", PC, "0600BBAA0000"},
      {"wifi-rf on", PC, "0C00BBBB0600 EE9A03010001"},
      {"wifi-rf off", APP, "0C00BBBB0600 EE9A03010002"},
      {"wifi-tx 6 540 -20", PC, "2000BBBB1A00 EE9A03010003 EE9B03010006 EE9C0302001C02 EE9D030200ECFF"},
      {"wifi-tx off", PC, "0C00BBBB0600 EE9A03010004"},
      {"wifi-rx 6 540", APP, "1900BBBB1300 EE9A03010005 EE9B03010006 EE9C0302001C02"},
      {"wifi-rx off", APP, "0C00BBBB0600 EE9A03010006"},
      {"idle", APP, "0600BBF00000"},
      {"power-off", PC, "0600BBEC0000"},
      {"boot-download", PC, "0600BBF40000"},
      {"vibrate on", APP, "0C00BB230600 EE0F04010001"},
      {"vibrate off", APP, "0C00BB230600 EE0F04010000"},
      {"key-light on", APP, "0C00BB250600 EE0F04010001"},
      {"key-light off", APP, "0C00BB250600 EE0F04010000"},
      {"brightness 100", APP, "0F00BB390900 EE1A01040064000000"},
      {"audio on", APP, "0C00BB210600 EE0F04010001"},
      {"audio off", APP, "0C00BB210600 EE0F04010000"},
      {"battery", APP, "0600BB090000"},
      {"battery temperature", APP, "0600BB370000"},
      {"audio-loop on 3", APP, "1500BB1F0F00 EE0F04010001 EE1E01040003000000"},
      {"audio-loop on -1", APP, "1500BB1F0F00 EE0F04010001 EE1E010400FFFFFFFF"},
      {"audio-loop off", APP, "1500BB1F0F00 EE0F04010000 EE1E01040000000000"},
      {"lcd-color", APP, "0600BB1D0000"},
      {"adc", PC, "0600BBE00000"},
      {"adc get", PC, "0600BBE00000"},
      {"adc set 1 -2 2147483647 -2147483648", PC,
       "2A00BBE22400 EE9201040001000000 EE93010400FEFFFFFF EE94010400FFFFFF7F EE9501040000000080"},
      {"camera main", APP, "0600BB8B0000"},
      {"camera second", APP, "0600BB930000"},
      {"card", APP, "0600BB890000"},
      {"camera control 1", APP, "0F00BBB40900 EE7001040001000000"},
      {"camera control 2", APP, "0F00BBB40900 EE7001040002000000"},
      {"dev-info", APP, "0600BBEE0000"},
      {"sim-check", APP, "0600BB630000"},
      {"factory-date", APP, "0600BB410000"},
      {"serial-number", APP, "0600BBEA0000"},
      {"amt-support", APP, "0600BBC50000"},
      {"amt-mode 4", APP, "0F00BBC30900 EEC901040004000000"},
      {"channel 9", APP, "0F00BBE80900 EE9F01040009000000"},
      {"item read 0", APP, "0F00BBE40900 EE2701040000000000"},
      {"item read 35", APP, "0F00BBE40900 EE2701040023000000"},
      {"item write 1 0", APP, "1800BBE61200 EE2701040001000000 EE2401040000000000"},
      {"item write 36 2", APP, "1800BBE61200 EE2701040024000000 EE2401040002000000"},
      {"test-result read 12", APP, "0F00BB590900 EE270104000C000000"},
      {"test-result write 3 1", PC, "1800BB5B1200 EE2701040003000000 EE2401040001000000"},
      {"test-result write 3 1 RF", APP, "1F00BB5B1900 EE2701040003000000 EE2401040001000000 EE250202005246"},
  };
  std::set<std::string> words;
  for (const auto& row : rows) {
    EXPECT_EQ(frame_of(row.m_line, row.m_form), bytes_from_hex(row.m_bytes)) << row.m_line;
    words.insert(words_of(row.m_line)[0]);
  }
  for (const auto& word : station_operation_words()) EXPECT_TRUE(words.contains(word.m_name)) << word.m_name;
}

TEST(OperationsForm, PcLinkWithoutAText_GetsTheFrame) {
  EXPECT_TRUE(build("gps start").m_request.m_is_frame);
  EXPECT_TRUE(build("wifi-rf on").m_request.m_is_frame);
  EXPECT_TRUE(build("adc").m_request.m_is_frame);
  EXPECT_TRUE(build("gps test").m_request.m_is_frame);
  EXPECT_TRUE(build("bluetooth start").m_request.m_is_frame);
}

TEST(OperationsForm, ApplicationLink_GetsTheFrameUnasked) {
  EXPECT_TRUE(build("check gps", APP).m_request.m_is_frame);
}

TEST(OperationsForm, RadioRequestsOfBothLinks_GoToTheApplicationsToo) {
  EXPECT_EQ(frame_of("gps test", APP), bytes_from_hex("0600BBB00000"));
  EXPECT_EQ(frame_of("bluetooth start", APP), bytes_from_hex("0600BBAA0000"));
}

TEST(OperationsForm, WrongLink_IsRefused) {
  EXPECT_EQ(build("adc set 1 2 3 4", APP).m_wrong, "adc: this is for the PC link: use --port");
  for (const char* line :
       {"lcd-color", "audio-loop off", "camera control 1", "sim-check", "factory-date", "serial-number", "amt-support",
        "amt-mode 4", "channel 1", "item read 1", "item write 1 1", "test-result read 1"}) {
    EXPECT_THAT(build(line).m_wrong, HasSubstr("this is for the application's link: use --app")) << line;
  }
  EXPECT_EQ(build("vibrate on").m_wrong, "vibrate: this is for the application's link: use --app");
  EXPECT_EQ(build("vibrate on", PC, true).m_wrong, "vibrate: this is for the application's link: use --app");
  EXPECT_EQ(build("adc", APP).m_wrong, "adc: this is for the PC link: use --port");
  EXPECT_EQ(build("sw-version", APP).m_wrong, "sw-version: this is for the PC link: use --port");
  EXPECT_EQ(build("pcba-sn", APP).m_wrong, "pcba-sn: this is for the PC link: use --port");
  EXPECT_EQ(build("amt1-flag", PC, true).m_wrong, "amt1-flag: the PC link has no frame for this");
}

TEST(OperationsArguments, WrongOnes_AreRefused) {
  for (const char* line : {"bt-address put",     "bt-address set",
                           "bt-address get 1",   "bt-address set 1 2",
                           "amt1-flag set 2",    "amt1-flag set x",
                           "amt1-flag set -1",   "check",
                           "check fm",           "gps",
                           "gps read",           "gps read 256",
                           "gps read 1x",        "wifi-tx",
                           "wifi-tx 6",          "wifi-tx 6 10",
                           "wifi-tx 256 10 10",  "wifi-tx 6 65536 1",
                           "wifi-tx 6 10 32768", "wifi-tx off 1",
                           "wifi-rx 6",          "bluetooth maybe"}) {
    EXPECT_NE(build(line).m_wrong, "") << line;
  }
  EXPECT_NE(build("brightness -1", APP).m_wrong, "");
  EXPECT_NE(build("brightness 2147483648", APP).m_wrong, "");
  for (const char* line : {"audio-loop on",
                           "audio-loop on x",
                           "audio-loop on 2147483648",
                           "audio-loop off 0",
                           "camera control",
                           "camera control 0",
                           "camera control 3",
                           "camera main 1",
                           "amt-mode x",
                           "amt-mode 2147483648",
                           "channel -1",
                           "channel 10",
                           "item",
                           "item read",
                           "item read -1",
                           "item read 36",
                           "item write 0 1",
                           "item write 37 1",
                           "item write 1 3",
                           "item write 1",
                           "test-result read 20",
                           "test-result write 3",
                           "test-result write 20 1",
                           "test-result write 3 3",
                           "test-result write 3 1 "}) {
    EXPECT_NE(build(line, APP).m_wrong, "") << line;
  }
  for (const char* line : {"adc read", "adc set", "adc set 1 2 3", "adc set 1 2 3 4 5", "adc set 1 2 3 2147483648",
                           "adc set -2147483649 2 3 4", "adc set 1 2 3 4x", "gps test 1", "bluetooth start now"}) {
    EXPECT_NE(build(line).m_wrong, "") << line;
  }
  EXPECT_EQ(build("camera control 3", APP).m_wrong,
            "camera: CONTROL must be a number from 1 to 2; --force sends it all the same");
}

struct limit_row_st {
  const char* m_start;
  bool m_is_frame;
  std::size_t m_most;
};

TEST(OperationsArguments, TextThatThePhoneWouldCut_IsRefused) {
  for (const auto& row : {limit_row_st{"pcba-sn set ", false, 29}, limit_row_st{"pcba-sn set ", true, 29},
                          limit_row_st{"board-sn set ", true, 20}}) {
    EXPECT_EQ(build(row.m_start + std::string(row.m_most, 'x'), PC, row.m_is_frame).m_wrong, "") << row.m_start;
    const std::string wrong = build(row.m_start + std::string(row.m_most + 1, 'x'), PC, row.m_is_frame).m_wrong;
    EXPECT_THAT(wrong, HasSubstr("must have 1 to " + std::to_string(row.m_most) + " characters")) << row.m_start;
  }
  EXPECT_NE(build("pcba-sn set ").m_wrong, "");
}

struct mistake_row_st {
  const char* m_line;
  const char* m_wrong;
};

TEST(OperationsArguments, Mistake_IsNamed) {
  for (const auto& row : {
           mistake_row_st{"bt-address put",
                          "bt-address: there is no operation 'put'; usage: bt-address [get] | set ADDRESS"},
           {"bt-address set", "bt-address: ADDRESS is missing; usage: bt-address [get] | set ADDRESS"},
           {"bt-address get 1", "bt-address: '1' is too much; usage: bt-address [get] | set ADDRESS"},
           {"gps", "gps: its operation is missing; usage: gps start | read SLOT | stop | test"},
           {"gps read", "gps: SLOT is missing; usage: gps start | read SLOT | stop | test"},
           {"wifi-tx 6 10", "wifi-tx: POWER is missing; usage: wifi-tx CHANNEL RATE (100 kbit/s) POWER (dBm) | off"},
       }) {
    EXPECT_EQ(build(row.m_line).m_wrong, row.m_wrong) << row.m_line;
  }
}

TEST(OperationsArguments, AddressThatIsNotTwelveDigits_IsRefused) {
  for (const char* address : {"00112233445", "0011223344556", "00112233445G", "00:11:22:33:44"}) {
    for (const char* word : {"bt-address set ", "wifi-address set "}) {
      EXPECT_EQ(build(std::string(word) + address).m_wrong,
                std::string(word).substr(0, std::string(word).find(' ')) +
                    ": ADDRESS must have exactly 12 hexadecimal digits; --force sends it all the same");
    }
  }
}

TEST(OperationsArguments, ImeiWithoutItsCheckDigit_IsRefused) {
  EXPECT_EQ(build("imei set 358240051111110").m_wrong, "");
  EXPECT_EQ(build("imei set 490154203237518").m_wrong, "");
  for (const char* number : {"35824005111111", "3582400511111101", "35824005111111x", "+35824005111111"}) {
    EXPECT_THAT(build(std::string("imei set ") + number).m_wrong, HasSubstr("must have exactly 15 digits")) << number;
  }
  EXPECT_THAT(build("imei set 358240051111111").m_wrong, HasSubstr("must end in its check digit, which is 0"));
  EXPECT_THAT(build("imei set 490154203237511").m_wrong, HasSubstr("must end in its check digit, which is 8"));
}

TEST(OperationsArguments, ForcedValue_IsSentAsItIs) {
  station_arguments_st arguments;
  arguments.m_words = {"set", "12,\"3"};
  arguments.m_is_forced = true;
  station_request_st request;
  EXPECT_EQ(station_build(*find_word("imei"), arguments, &request), "");
  EXPECT_EQ(request.m_text, "AT^DCGSNW=12,\"3\r");
}

TEST(OperationsArguments, DescriptionThatThePhoneWouldCut_IsRefused) {
  EXPECT_EQ(build("test-result write 3 1 " + std::string(127, 'x'), APP).m_wrong, "");
  EXPECT_EQ(build("test-result write 3 1 " + std::string(128, 'x'), APP).m_wrong,
            "test-result: DESCRIPTION must have 1 to 127 characters; --force sends it all the same");
}

TEST(OperationsArguments, CalibrationThatThePhoneWouldCut_IsRefused) {
  EXPECT_EQ(build("adc set -100000000 -200000000 -300000000 40000000").m_wrong, "");
  EXPECT_EQ(build("adc set -100000000 -200000000 -300000000 400000000").m_wrong,
            "adc: the values must have at most 38 characters together; --force sends it all the same");
}

TEST(OperationsArguments, TextThatWouldEndTheCommand_GoesInAFrameOnly) {
  for (const char* line : {"pcba-sn set A,B", "pcba-sn set A\"B", "board-sn set 1\r2", "pcba-sn set A\x7F"}) {
    EXPECT_THAT(build(line).m_wrong, HasSubstr("can only go in a frame")) << line;
    EXPECT_EQ(build(line, PC, true).m_wrong, "") << line;
  }
}

TEST(OperationsArguments, Braces_AreSentAsTheyAre) {
  EXPECT_EQ(text_of("pcba-sn set {1}{x"), "AT^DPCBACTRL=2,{1}{x");
}

TEST(OperationsValue, InformationLine_IsTakenWithoutNameAndQuotes) {
  EXPECT_EQ(value_of_text("bt-address", {"^DBTADDR: \"0011\"", "OK"}), "0011");
  EXPECT_EQ(value_of_text("board-sn", {"^DMSN:B77", "OK"}), "B77");
  EXPECT_EQ(value_of_text("sw-version", {"RING", "^DSVER: V 1", "OK"}), "V 1");
  EXPECT_EQ(value_of_text("gps read 3", {"^DGPSCTRL: 3,42", "OK"}), "3,42");
  EXPECT_EQ(value_of_text("bt-address", {"^DBTADDR: \"", "OK"}), "\"");
}

TEST(OperationsValue, EmptyValue_IsOne) {
  EXPECT_EQ(value_of_text("imei", {"^DGSN: ", "OK"}), "");
  EXPECT_EQ(value_of_text("bt-address", {"^DBTADDR: \"\"", "OK"}), "");
  EXPECT_EQ(value_of_frame("imei", APP, "0B00BB080500 EE15020000"), "");
}

TEST(OperationsValue, NoInformationLine_IsNone) {
  EXPECT_EQ(value_of_text("bt-address", {"OK"}), std::nullopt);
  EXPECT_EQ(value_of_text("bt-address", {"^DWIFIADDR: \"0011\"", "OK"}), std::nullopt);
  EXPECT_EQ(value_of_text("check bt", {"^DBTADDR: \"0011\"", "OK"}), std::nullopt);
}

TEST(OperationsValue, AtomsOfTheAnswer_AreItsValue) {
  EXPECT_EQ(value_of_frame("bt-address", PC, "0D00BBAD0700 EE6F0202004142"), "AB");
  EXPECT_EQ(value_of_frame("imei", APP, "0E00BB080800 EE1503030031320A"), "12");
  EXPECT_EQ(value_of_frame("dev-info", APP, "0E00BBEF0800 EEC803030031003200"), "1");
  EXPECT_EQ(value_of_frame("battery temperature", APP, "0F00BB380900 EE16010400F6FFFFFF"), "-10");
  EXPECT_EQ(value_of_frame("gps read 3", APP, "1800BBB31200 EE9001040028000000 EE8D01040003000000"), "3,40");
  EXPECT_EQ(value_of_frame("card", APP, "0F00BB8A0900 EE3701040000000000"), "0");
  EXPECT_EQ(value_of_frame("adc get", PC, "1800BBE11200 EE97010400100E0000 EE0101040000000000"), "3600");
  EXPECT_EQ(value_of_frame("camera control 1", APP, "1800BBB51200 EE7101040003000000 EE0101040000000000"), "3");
  EXPECT_EQ(value_of_frame("factory-date", APP, "1600BB421000 EE1B0202003132 EE0101040000000000"), "12");
  EXPECT_EQ(value_of_frame("serial-number", APP, "1600BBEB1000 EEA30302004237 EE0101040000000000"), "B7");
  EXPECT_EQ(value_of_frame("amt-support", APP, "1800BBC61200 EECA01040002000000 EE0101040000000000"), "2");
  EXPECT_EQ(value_of_frame("item read 3", APP, "1800BBE51200 EE2701040003000000 EE2401040001000000"), "1");
}

TEST(OperationsValue, Flag_IsANumber) {
  EXPECT_EQ(value_of_frame("sim-check", APP, "0C00BB640600 EE2904010001"), "1");
  EXPECT_EQ(value_of_frame("sim-check", APP, "0C00BB640600 EE2904010000"), "0");
}

TEST(OperationsValue, StationResult_HasItsDescriptionAfterIt) {
  constexpr char START[] = "2100BB5A1B00 EE2701040003000000 EE2401040001000000 ";
  EXPECT_EQ(value_of_frame("test-result read 3", APP, std::string(START) + "EE250204004F4B2031"), "1,OK 1");
  EXPECT_EQ(value_of_frame("test-result read 3", APP, "1D00BB5A1700 EE2701040003000000 EE2401040001000000 EE25020000"),
            "1,");
}

TEST(OperationsValue, OtherFrameOrNoAtom_IsNone) {
  EXPECT_EQ(value_of_frame("bt-address", PC, "0D00BBAE0700 EE6F0202004142"), std::nullopt);
  EXPECT_EQ(value_of_frame("bt-address", PC, "0F00BBAD0900 EE0101040000000000"), std::nullopt);
  EXPECT_EQ(value_of_frame("vibrate on", APP, "0F00BB240900 EE0101040000000000"), std::nullopt);
  EXPECT_EQ(value_of_frame("gps test", APP, "0F00BBAF0900 EE0101040000000000"), std::nullopt);
  EXPECT_EQ(value_of_frame("sim-check", APP, "0F00BB640900 EE010104000A000000"), std::nullopt);
  EXPECT_EQ(station_value(build("card", APP).m_request, {}), std::nullopt);
}

TEST(OperationsTable, EveryValue_HasItsParts) {
  for (const auto& word : station_operation_words()) {
    for (const auto& row : word.m_operations) {
      EXPECT_TRUE(row.m_line == nullptr || !row.m_parts.empty()) << word.m_name << row.m_name;
      EXPECT_TRUE(row.m_parts.empty() || row.m_answer_atoms[0] != 0) << word.m_name << row.m_name;
      for (const auto& part : row.m_parts) EXPECT_NE(part.m_kind, station_kind_en::NONE) << word.m_name;
    }
  }
}

TEST(OperationsTable, EveryReadBack_IsAnOperationWithAValue) {
  const std::vector<std::string> parameters = {"1", "2", "text"};
  for (const auto& word : station_operation_words()) {
    for (const auto& row : word.m_operations) {
      if (row.m_read_back == nullptr) continue;
      const station_read_back_st back = row.m_read_back(parameters);
      std::span<const std::string> words(back.m_words);
      std::string wrong;
      const station_operation_st* reading = station_find_operation(word, &words, &wrong);
      ASSERT_NE(reading, nullptr) << word.m_name << ": " << wrong;
      EXPECT_NE(reading->kind(), station_kind_en::NONE) << word.m_name;
    }
  }
}

TEST(OperationsTable, EveryNumber_StatesItsUnit) {
  const std::map<std::string, std::string> units = {
      {"battery", "uV"}, {"adc", "counts"}, {"card", "KiB"}, {"sim-check", ""}, {"amt-support", ""}};
  for (const auto& [name, unit] : units) {
    EXPECT_EQ(find_word(name)->m_operations[0].kind(), station_kind_en::NUMBER) << name;
    EXPECT_EQ(find_word(name)->m_operations[0].unit(), unit) << name;
  }
  EXPECT_STREQ(find_word("battery")->m_operations[1].unit(), "0.1 degC");
  EXPECT_STREQ(find_word("gps")->m_operations[1].m_parts[1].m_unit.m_raw, "dB-Hz");
}

TEST(OperationsTable, EveryRow_CanBeAskedForOnSomeLink) {
  for (const auto& word : station_operation_words()) {
    ASSERT_FALSE(word.m_operations.empty()) << word.m_name;
    for (const auto& row : word.m_operations) {
      EXPECT_NE(row.m_links, station_links_en::NONE) << word.m_name << row.m_name;
      EXPECT_THAT(station_usage(word), HasSubstr(row.m_name)) << word.m_name;
    }
    const auto parameters = word.m_operations[0].m_parameters;
    EXPECT_TRUE(word.m_least != 0 || parameters[0] == nullptr) << word.m_name << " cannot stand alone";
  }
}

}  // namespace
