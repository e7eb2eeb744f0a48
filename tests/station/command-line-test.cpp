#include "station/program/command-line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "station/program/plan-commands.h"
#include "station/wire/exit-code.h"
#include "station/words/operations.h"
#include "station/words/words.h"
#include "tests/station/scripted-phone.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

outcome_st run(const std::vector<std::string>& arguments, int stop_fd = -1) {
  return run_station(arguments, stop_fd);
}

// A phone that waits for a request and answers it; what it received is checked against the request.
class CommandLine : public testing::Test {
 protected:
  void SetUp() override { m_phone.mark_in_step(); }

  outcome_st run_with_phone(std::vector<std::string> arguments, const byte_string& request, const byte_string& answer) {
    std::jthread phone([&] {
      EXPECT_EQ(m_phone.receive(request.size()), request);
      m_phone.send(answer);
    });
    return run_on_port(std::move(arguments));
  }

  outcome_st run_on_port(std::vector<std::string> arguments, int stop_fd = -1) {
    arguments.insert(arguments.begin(), {m_option, m_phone.path()});
    return run(arguments, stop_fd);
  }

  phone_line_st m_phone;
  std::string m_option = "--port";
};

class ApplicationLink : public CommandLine {
 protected:
  ApplicationLink() { m_option = "--app"; }
};

TEST_F(CommandLine, Frame_IsSentWrappedAndItsAnswerShown) {
  const auto got = run_with_phone({"frame", "45", "19:int=64"}, VERSION_REQUEST, PRE_RESPONSE + VERSION_OK);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("^[0-9:.]{12} -> frame 45 \\(0x2D\\) AMT_VERSION_CMD 19:int=64\n"
                                       "[0-9:.]{12} <- pre-response\n"
                                       "[0-9:.]{12} <- frame 46 \\(0x2E\\) AMT_VERSION_RSPCMD 19:int=64 1:int=0\n$"));
  EXPECT_EQ(got.m_err, "");
}

TEST_F(CommandLine, ErrorAnswer_IsStatusSeven) {
  const auto got = run_with_phone({"frame", "45", "19:int=64"}, VERSION_REQUEST, VERSION_ERROR);
  EXPECT_EQ(got.m_status, 7);
  EXPECT_EQ(got.m_err,
            "amt-station: error answer: result 1: the request failed\n"
            "  hint: the phone's log shows why (logcat; on a virtual phone: handset ctl log)\n");
}

TEST_F(CommandLine, BadChecksum_IsStatusSix) {
  byte_string bad = VERSION_OK;
  bad.back() ^= 1;
  EXPECT_EQ(run_with_phone({"frame", "45", "19:int=64"}, VERSION_REQUEST, bad).m_status, 6);
}

TEST_F(CommandLine, NoAnswer_IsStatusFive) {
  const auto got = run_on_port({"frame", "45", "--timeout", "30"});
  EXPECT_EQ(got.m_status, 5);
  EXPECT_THAT(got.m_err, HasSubstr("amt-station: no answer in the time given\n  hint: is it the right port"));
}

TEST_F(CommandLine, PhoneHangsUp_IsStatusEight) {
  std::jthread phone([&] {
    m_phone.receive(VERSION_REQUEST.size());
    m_phone.hang_up();
  });
  const auto got = run_on_port({"version", "whole"});
  EXPECT_EQ(got.m_status, 8);
  EXPECT_THAT(got.m_err, HasSubstr("the port went away"));
}

TEST_F(CommandLine, PortInUse_IsStatusFour) {
  std::jthread phone([&] {
    m_phone.receive(1);
    EXPECT_EQ(run({"--port", m_phone.path(), "at", "AT"}).m_status, 4);
    m_phone.send(bytes_from_text("OK\r\n"));
  });
  EXPECT_EQ(run_on_port({"at", "AT"}).m_status, 0);
}

TEST_F(CommandLine, NoPort_IsStatusThree) {
  EXPECT_EQ(run({"--port", "/dev/there-is-no-such-port", "at", "AT"}).m_status, 3);
}

TEST_F(CommandLine, AtText_GetsItsCarriageReturn) {
  const auto got =
      run_with_phone({"at", "AT^DSVER"}, bytes_from_text("AT^DSVER\r"), bytes_from_text("\r\n^DSVER: 7\r\n\r\nOK\r\n"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("-> text \"AT\\^DSVER\\\\r\"\n.* <- text \\^DSVER: 7\n.* <- text OK\n$"));
}

TEST_F(CommandLine, RawAtText_IsSentAsItIs) {
  EXPECT_EQ(run_with_phone({"at", "--raw", "[a,b]"}, bytes_from_text("[a,b]"), bytes_from_text("OK\r\n")).m_status, 0);
}

TEST_F(CommandLine, AtTextThatEndsInCarriageReturn_GetsNoSecondOne) {
  const auto got = run_with_phone({"at", "AT\r"}, bytes_from_text("AT\r"), bytes_from_text("OK\r\n"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("-> text \"AT\\r\"\n"));
}

TEST_F(CommandLine, AtTextThatLooksLikeAnOption_IsSentAfterTwoDashes) {
  EXPECT_EQ(run_with_phone({"at", "--", "--json"}, bytes_from_text("--json\r"), bytes_from_text("OK\r\n")).m_status, 0);
}

TEST_F(CommandLine, ErrorFrameForText_IsStatusSeven) {
  EXPECT_EQ(run_with_phone({"at", "AT^DAMT1=\"5\""}, bytes_from_text("AT^DAMT1=\"5\"\r"), TEXT_ERROR).m_status, 7);
}

TEST_F(CommandLine, Version_ShowsItsTextLast) {
  const byte_string request = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BB2D0900 EE1301040010000000");
  const auto got = run_with_phone({"version", "software"}, request, PRE_RESPONSE + VERSION_TEXT);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("\nversion: V1.0\n$"));
}

TEST_F(CommandLine, Json_IsOneObjectALineAndAResult) {
  const byte_string request = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BB2D0900 EE1301040010000000");
  const auto got = run_with_phone({"version", "16", "--json"}, request, PRE_RESPONSE + VERSION_TEXT);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_EQ(std::count(got.m_out.begin(), got.m_out.end(), '\n'), 4);
  EXPECT_THAT(got.m_out, HasSubstr("\"direction\":\"received\",\"kind\":\"pre-response\",\"hex\":"));
  EXPECT_THAT(got.m_out, ContainsRegex("\n\\{\"kind\":\"result\",\"schema\":2,\"word\":\"version\",\"exit\":0,"
                                       "\"value\":\"V1.0\",\"unit\":\"\"\\}\n$"));
}

TEST_F(CommandLine, JsonFailure_IsInTheResultToo) {
  const auto got = run_on_port({"at", "AT", "--timeout", "30", "--json"});
  EXPECT_EQ(got.m_status, 5);
  EXPECT_THAT(
      got.m_out,
      HasSubstr(R"({"kind":"result","schema":2,"word":"at","exit":5,"message":"no answer in the time given","hint":)"));
}

TEST_F(CommandLine, Hex_ShowsTheBytes) {
  EXPECT_THAT(run_with_phone({"at", "AT", "--hex"}, bytes_from_text("AT\r"), bytes_from_text("OK\r\n")).m_out,
              HasSubstr("    0000  41 54 0D                                         |AT.|\n"));
}

TEST_F(CommandLine, Word_SendsItsTextAndShowsTheValueLast) {
  const auto got = run_with_phone({"bt-address"}, bytes_from_text("AT^DBTADDR?\r"),
                                  bytes_from_text("\r\n^DBTADDR: \"001122334455\"\r\n\r\nOK\r\n"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("<- text OK\nbt-address: 001122334455\n$"));
}

TEST_F(CommandLine, WordThatWrites_SendsItsParameter) {
  const auto got = run_with_phone({"pcba-sn", "set", "P123"}, bytes_from_text("AT^DPCBACTRL=2,P123"),
                                  bytes_from_text("\r\nERROR\r\n"));
  EXPECT_EQ(got.m_status, 7);
}

TEST_F(CommandLine, WordAsAFrame_IsWrapped) {
  // Request 172, atom 110 = 1; answer 173, atom 111 = "AB", atom 1 = 0.
  const byte_string request = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAC0900 EE6E01040001000000");
  const auto got =
      run_with_phone({"bt-address", "get", "--frame", "--json", "--timeout", "100"}, request, PRE_RESPONSE);
  EXPECT_EQ(got.m_status, 5);
  EXPECT_THAT(got.m_out, HasSubstr("\"name\":\"AMT_BLUETOOTH_ADDRESS_CMD\""));
}

TEST_F(CommandLine, NegativeParameter_GoesAfterTwoDashes) {
  const auto got = run_with_phone({"wifi-tx", "--", "6", "10", "-20"}, bytes_from_text("AT^DWLTSD=1,6,10,-20\r"),
                                  bytes_from_text("\r\nOK\r\n"));
  EXPECT_EQ(got.m_status, 0);
}

TEST_F(CommandLine, Calibration_SendsItsFourValuesAfterTwoDashes) {
  // Request 226, atoms 146 to 149 = 1, -2, 3, 12; answer 227, atom 1 = 0.
  const byte_string request = bytes_from_hex(
      "AABBCCDD 32000000 02000000 2A00BBE22400 EE9201040001000000 EE93010400FEFFFFFF EE9401040003000000 "
      "EE950104000C000000 35805B6C");
  const byte_string done = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBE30900 EE0101040000000000 42939452");
  const auto got = run_with_phone({"adc", "--json", "--", "set", "1", "-2", "3", "12"}, request, PRE_RESPONSE + done);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("{\"kind\":\"result\",\"schema\":2,\"word\":\"adc\",\"exit\":0}\n"));
}

TEST_F(CommandLine, ConverterReading_IsInTheResult) {
  // Request 224; answer 225, atom 151 = 3600, atom 1 = 0.
  const byte_string request = bytes_from_hex("AABBCCDD 0E000000 02000000 0600BBE00000 B52F867A");
  const byte_string answer =
      bytes_from_hex("AABBCCDD 20000000 02000000 1800BBE11200 EE97010400100E0000 EE0101040000000000 518B9EAB");
  const auto got = run_with_phone({"adc", "get", "--json"}, request, PRE_RESPONSE + answer);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(
      got.m_out,
      HasSubstr("{\"kind\":\"result\",\"schema\":2,\"word\":\"adc\",\"exit\":0,\"value\":3600,\"unit\":\"counts\"}\n"));
}

TEST_F(CommandLine, GpsTest_IsAnsweredWithTheIdOfGpsControl) {
  // Request 176; answer 175, atom 1 = 0.
  const byte_string request = bytes_from_hex("AABBCCDD 0E000000 02000000 0600BBB00000 AF7CACF7");
  const byte_string done = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAF0900 EE0101040000000000 9B61FEEC");
  EXPECT_EQ(run_with_phone({"gps", "test"}, request, PRE_RESPONSE + done).m_status, 0);
}

// Request 170; answer 171, atom 1 = 0, and the same with atom 1 = 1.
const byte_string BLUETOOTH_START = bytes_from_hex("AABBCCDD 0E000000 02000000 0600BBAA0000 D14E89A3");
const byte_string BLUETOOTH_OK = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAB0900 EE0101040000000000 8F469038");
const byte_string BLUETOOTH_ERROR =
    bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAB0900 EE0101040001000000 B9B01DA0");

TEST_F(CommandLine, BluetoothStart_EndsWithTheFirstOfItsAnswers) {
  const auto got = run_with_phone({"bluetooth", "start"}, BLUETOOTH_START, PRE_RESPONSE + BLUETOOTH_OK);
  EXPECT_EQ(got.m_status, 0);
}

TEST_F(CommandLine, BluetoothStartThatExpectsTwo_FailsWithTheSecond) {
  const std::vector<std::string> line = {"bluetooth", "start", "--expect", "2"};
  EXPECT_EQ(run_with_phone(line, BLUETOOTH_START, PRE_RESPONSE + BLUETOOTH_OK + BLUETOOTH_OK).m_status, 0);
  EXPECT_EQ(run_with_phone(line, BLUETOOTH_START, PRE_RESPONSE + BLUETOOTH_OK + BLUETOOTH_ERROR).m_status, 7);
}

TEST_F(CommandLine, NoWait_EndsOnceSent) {
  EXPECT_EQ(run_on_port({"frame", "45", "19:int=64", "--no-wait"}).m_status, 0);
  EXPECT_EQ(m_phone.receive(VERSION_REQUEST.size()), VERSION_REQUEST);
}

TEST_F(CommandLine, Expect_CountsFramesAndTexts) {
  const auto got = run_with_phone({"at", "AT", "--expect", "3"}, bytes_from_text("AT\r"),
                                  bytes_from_text("OK\r\n") + PRE_RESPONSE + VERSION_OK + bytes_from_text("RING\r\n"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("<- text RING\n"));
}

TEST_F(CommandLine, Monitor_ShowsWhatComesForTheTimeGiven) {
  m_phone.send(bytes_from_text("\r\nRING\r\n") + VERSION_ERROR);
  const auto got = run_on_port({"monitor", "--timeout", "50"});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("<- text RING\n"));
  EXPECT_THAT(got.m_out, HasSubstr("AMT_VERSION_RSPCMD 1:int=1\n"));
}

TEST_F(CommandLine, MonitorThatExpects_FailsWhenLessComes) {
  m_phone.send(bytes_from_text("\r\nRING\r\n"));
  EXPECT_EQ(run_on_port({"monitor", "--timeout", "50", "--expect", "2"}).m_status, 5);
}

TEST_F(CommandLine, InterruptedMonitor_EndsWell) {
  const int stop = ::eventfd(1, EFD_CLOEXEC);
  EXPECT_EQ(run_on_port({"monitor"}, stop).m_status, 0);
  EXPECT_FALSE(m_phone.is_exclusive());
  ::close(stop);
}

TEST_F(CommandLine, InterruptedRequest_IsStatusOneHundredThirty) {
  const int stop = ::eventfd(1, EFD_CLOEXEC);
  EXPECT_EQ(run_on_port({"at", "AT"}, stop).m_status, 130);
  ::close(stop);
}

TEST_F(ApplicationLink, Frame_IsSentBareAndItsAnswerShown) {
  const auto got = run_with_phone({"frame", "45", "19:int=64"}, BARE_REQUEST, BARE_OK);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("^[0-9:.]{12} -> frame 45 \\(0x2D\\) AMT_VERSION_CMD 19:int=64\n"
                                       "[0-9:.]{12} <- frame 46 \\(0x2E\\) AMT_VERSION_RSPCMD 19:int=64 1:int=0\n$"));
}

TEST_F(ApplicationLink, ErrorAnswer_IsStatusSeven) {
  const byte_string error = bytes_from_hex("0F00BB2E0900 EE0101040001000000");
  EXPECT_EQ(run_with_phone({"frame", "45", "19:int=64"}, BARE_REQUEST, error).m_status, 7);
}

TEST_F(ApplicationLink, Version_ShowsItsTextLast) {
  const byte_string request = bytes_from_hex("0F00BB2D0900 EE1301040010000000");
  const byte_string answer =
      bytes_from_hex("2400BB2E1E00 EE1301040010000000 EE120307000D56312E300A0A EE0101040000000000");
  const auto got = run_with_phone({"version", "software", "--json"}, request, answer);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("\n\\{\"kind\":\"result\",\"schema\":2,\"word\":\"version\",\"exit\":0,"
                                       "\"value\":\"V1.0\",\"unit\":\"\"\\}\n$"));
}

TEST_F(ApplicationLink, Word_IsAFrameAndItsValueIsInTheResult) {
  const auto got = run_with_phone({"card", "--json"}, bytes_from_hex("0600BB890000"),
                                  bytes_from_hex("1800BB8A1200 EE3701040000200000 EE0101040000000000"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(
      got.m_out,
      HasSubstr("{\"kind\":\"result\",\"schema\":2,\"word\":\"card\",\"exit\":0,\"value\":8192,\"unit\":\"KiB\"}\n"));
}

TEST_F(ApplicationLink, FlagAsTheOnlyAtom_IsTheValue) {
  const auto got = run_with_phone({"sim-check", "--json"}, bytes_from_hex("0600BB630000"),
                                  bytes_from_hex("0C00BB640600 EE2904010000"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(
      got.m_out,
      HasSubstr("{\"kind\":\"result\",\"schema\":2,\"word\":\"sim-check\",\"exit\":0,\"value\":0,\"unit\":\"\"}\n"));
}

TEST_F(ApplicationLink, CameraControl_ShowsItsResult) {
  const auto got = run_with_phone({"camera", "control", "2"}, bytes_from_hex("0F00BBB40900 EE7001040002000000"),
                                  bytes_from_hex("1800BBB51200 EE7101040003000000 EE0101040000000000"));
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, ContainsRegex("\ncamera: 3\n$"));
}

TEST_F(ApplicationLink, TestResultWithADescription_IsOneAtomMore) {
  const auto got =
      run_with_phone({"test-result", "write", "3", "1", "RF ok"},
                     bytes_from_hex("2200BB5B1C00 EE2701040003000000 EE2401040001000000 EE25020500 5246206F6B"),
                     bytes_from_hex("0F00BB5C0900 EE010104000A000000"));
  EXPECT_EQ(got.m_status, 7);
}

TEST_F(ApplicationLink, LargestFrame_GoesWhereAWrappedOneHasNoRoom) {
  const byte_string request = bytes_from_hex("0010BB01FA0F EE0102F50F") + byte_string(4085, 'x');
  const auto got =
      run_with_phone({"frame", "1", "1:str=" + std::string(4085, 'x')}, request, bytes_from_hex("0600BB020000"));
  EXPECT_EQ(got.m_status, 0);
}

TEST_F(ApplicationLink, Monitor_ShowsFramesAndNoise) {
  m_phone.send(bytes_from_text("\r\nRING\r\n") + BARE_OK);
  const auto got = run_on_port({"monitor", "--timeout", "50"});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("<- noise, 8 bytes 0D0A52494E470D0A\n"));
  EXPECT_THAT(got.m_out, HasSubstr("AMT_VERSION_RSPCMD 19:int=64 1:int=0\n"));
}

TEST_F(ApplicationLink, HalfAnAnswer_IsStatusSix) {
  const byte_string half(BARE_OK.begin(), BARE_OK.begin() + 20);
  EXPECT_EQ(run_with_phone({"frame", "45", "19:int=64", "--timeout", "100"}, BARE_REQUEST, half).m_status, 6);
}

TEST_F(ApplicationLink, PathThatIsASymbolicLink_IsFollowed) {
  const std::string link = testing::TempDir() + "amt-station-app-" + std::to_string(::getpid());
  ASSERT_EQ(::symlink(m_phone.path().c_str(), link.c_str()), 0);
  m_phone.send(BARE_OK);
  const auto got = run({"--app", link, "monitor", "--expect", "1", "--timeout", "10000"});
  ::unlink(link.c_str());
  EXPECT_EQ(got.m_status, 0);
}

TEST(CommandLineUsage, WrongArguments_AreStatusTwo) {
  const std::vector<std::vector<std::string>> rows = {
      {},
      {"--port", "x"},
      {"at", "AT"},
      {"--port", "x", "--app", "x", "monitor"},
      {"--app", "x", "at", "AT"},
      {"--app", "x", "adc"},
      {"--port", "x", "card"},
      {"--port", "x", "lcd-color"},
      {"--app", "x", "lcd-color", "red"},
      {"--app", "x", "audio-loop", "on"},
      {"--app", "x", "camera", "control", "3"},
      {"--app", "x", "channel", "10"},
      {"--app", "x", "item", "write", "0", "1"},
      {"--port", "x", "adc", "set", "1", "2", "3"},
      {"--port", "x", "adc", "set", "1", "2", "3", "4", "5"},
      {"--port", "x", "check"},
      {"--port", "x", "gps"},
      {"--port", "x", "sw-version", "get"},
      {"--port", "x", "at", "--frame", "AT"},
      {"--port", "x", "dance"},
      {"--port", "x", "at"},
      {"--port", "x", "at", "a", "b"},
      {"--port", "x", "at", "--raw", ""},
      {"--port", "x", "at", "--loud", "AT"},
      {"--port", "x", "frame"},
      {"--port", "x", "frame", "256"},
      {"--port", "x", "frame", "45", "19:int"},
      {"--port", "x", "frame", "45", "1:str=" + std::string(5000, 'x')},
      {"--port", "x", "frame", "45", "1:str=" + std::string(4070, 'x')},
      {"--port", "x", "version", "soft"},
      {"--port", "x", "monitor", "AT"},
      {"--port", "x", "monitor", "--no-wait"},
      {"--port", "x", "monitor", "--timeout", "0"},
      {"--port", "x", "monitor", "--timeout", "-1"},
      {"--port", "x", "monitor", "--timeout", "soon"},
      {"--port", "x", "monitor", "--expect", "0"},
      {"--port", "x", "monitor", "--baud", "12345"},
      {"--port", "x", "at", "AT", "--no-wait", "--expect", "1"},
  };
  for (const auto& row : rows) {
    const auto got = run(row);
    EXPECT_EQ(got.m_status, 2) << testing::PrintToString(row);
    EXPECT_NE(got.m_err, "") << testing::PrintToString(row);
  }
}

TEST(CommandLineUsage, LargestFrame_IsNoWrongUsage) {
  EXPECT_EQ(run({"--port", "/dev/there-is-no-such-port", "frame", "1", "1:str=" + std::string(4069, 'x')}).m_status, 3);
}

TEST(CommandLineHelp, Asked_NamesEveryWordAndEveryExitCode) {
  const auto got = run({"--help"});
  EXPECT_EQ(got.m_status, 0);
  for (const auto& word : station_words()) EXPECT_THAT(got.m_out, HasSubstr(std::string("\n  ") + word.m_name + " "));
  EXPECT_THAT(got.m_out, HasSubstr(station_exit_help(station_command_en::WORD)));
}

// A failure names what is missing; the manual itself would bury it.
bool is_in(const std::string& manual, const std::string& text) {
  return manual.find(text) != std::string::npos;
}

TEST(CommandLineManual, Printed_NamesEveryWordAndEveryExitCode) {
  std::string manual;
  for (const char* name : {"station.md", "words.md", "output.md"}) {
    std::ifstream file(std::string(MANUALS) + name);
    manual.append(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  for (const auto& word : station_words()) {
    EXPECT_TRUE(is_in(manual, std::string("| `") + word.m_name)) << word.m_name;
  }
  for (const auto& row : station_plan_commands()) {
    EXPECT_TRUE(is_in(manual, std::string("`") + row.m_name + "`")) << row.m_name;
  }
  EXPECT_TRUE(is_in(manual, "](plans.md)") && is_in(manual, "](results.md)"));
  for (const auto& row : STATION_EXITS) {
    if (row.m_command != station_command_en::WORD) continue;
    EXPECT_TRUE(is_in(manual, "| " + std::to_string(row.m_code) + " | " + row.m_meaning + " |")) << row.m_meaning;
  }
}

TEST(CommandLineWords, EveryRow_MakesSense) {
  std::set<std::string> names;
  for (const auto& word : station_words()) {
    EXPECT_TRUE(names.insert(word.m_name).second) << word.m_name;
    EXPECT_NE(std::string(word.m_help), "") << word.m_name;
    EXPECT_LE(word.m_least, word.m_most) << word.m_name;
    EXPECT_EQ(word.m_most == 0, station_usage(word).empty()) << word.m_name;
  }
}

}  // namespace
