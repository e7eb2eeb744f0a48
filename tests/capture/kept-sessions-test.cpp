// The sessions that the tests keep are captures, and the programs take them as such: `amt-station replay` sends each to
// a phone, once to one that `handset run --replay` plays from it, and once to the real service, whose modem is played
// from it. tests/handset/transcript-test.cpp holds what the service logs meanwhile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>

#include "tests/station-run/line-phone.h"

namespace {

using testing::HasSubstr;
using testing::Not;

using words = std::vector<std::string>;

struct kept_session {
  const char* name;
  words service;  // options of `handset run` that make the service's phone the one of then
  bool is_app = false;
  bool keeps_times = false;  // requests without an end are told apart by the time between them
};

const words BOARD = {"--bare", "--prop", "ro.build.display.id=VX5210-4.2"};

words joined(words all, const words& more) {
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

const std::string TRANSCRIPTS = PROJECT_FOLDER "/tests/handset/transcripts/";

const kept_session SESSIONS[] = {
    {"first-session", joined(BOARD, {"--replay-modem", TRANSCRIPTS + "first-session.jsonl", "--fast"})},
    {"errors", joined(BOARD, {"--replay-modem", TRANSCRIPTS + "errors.jsonl", "--fast"}), false, true},
    {"application", joined(BOARD, {"--mode", "normal", "--replay-modem", TRANSCRIPTS + "application.jsonl", "--fast"}),
     true},
    {"device-tests", BOARD},
};

class KeptSession : public testing::TestWithParam<kept_session> {
 protected:
  void TearDown() override {
    if (HasFailure()) m_phone->send_signal(SIGINT);  // it waits for the rest
    EXPECT_EQ(m_phone->wait(), 0) << m_phone->output();
  }

  std::string capture() const { return TRANSCRIPTS + GetParam().name + ".jsonl"; }
  void start(const words& more) {
    m_phone.emplace(joined({std::string(PROGRAM_FOLDER "/handset"), "run"}, more), m_folder.path("phone"));
    ASSERT_TRUE(m_phone->wait_output("Ctrl-C ends the ")) << m_phone->output();
  }
  std::string terminal() const { return text_after(m_phone->output(), GetParam().is_app ? "APP tty:" : "PC tty:"); }
  void expect_same() {
    words command = {amt_station(), "replay", capture(), GetParam().is_app ? "--app" : "--port", terminal()};
    if (GetParam().keeps_times) command.emplace_back("--times");
    beside_st station(command, m_folder.path("station"));
    EXPECT_EQ(station.wait(), 0) << station.output() << m_phone->output();
    EXPECT_THAT(station.output(), HasSubstr(", 0 different\n"));
  }

  temp_folder m_folder;
  std::optional<beside_st> m_phone;
};

TEST_P(KeptSession, PlayedAsAPhone_IsAnsweredByItself) {
  start({"--replay", capture(), "--fast"});
  expect_same();
}

TEST_P(KeptSession, SentToTheService_IsAnsweredAsThen) {
  start(GetParam().service);
  expect_same();
  EXPECT_THAT(m_phone->output(), Not(HasSubstr("difference")));
  m_phone->send_signal(SIGINT);
}

INSTANTIATE_TEST_SUITE_P(All, KeptSession, testing::ValuesIn(SESSIONS), [](const auto& one) {
  std::string name = one.param.name;
  std::ranges::replace(name, '-', '_');
  return name;
});

TEST(KeptSessions, Folder_HasNoOtherCapture) {
  std::set<std::string> kept;
  for (const auto& entry : std::filesystem::directory_iterator(TRANSCRIPTS)) {
    if (entry.path().extension() == ".jsonl") kept.insert(entry.path().stem());
  }
  std::set<std::string> known;
  for (const auto& session : SESSIONS) known.insert(session.name);
  EXPECT_EQ(kept, known);
}

}  // namespace
