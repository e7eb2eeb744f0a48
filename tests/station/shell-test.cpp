#include "station/program/shell.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/eventfd.h>

#include <fstream>

#include "tests/station/scripted-phone.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using texts = std::vector<std::string>;

texts split(const std::string& line) {
  std::string wrong;
  return station_split_line(line, &wrong).value_or(texts{"wrong: " + wrong});
}

TEST(ShellLine, Words_AreTakenApart) {
  EXPECT_THAT(split(" at  'AT^DAMT1=\"5\"' x\\ y \"a 'b\"\t# rest"),
              ElementsAre("at", "AT^DAMT1=\"5\"", "x y", "a 'b"));
  EXPECT_THAT(split("at ''"), ElementsAre("at", ""));
  EXPECT_THAT(split("a#b"), ElementsAre("a#b"));
  EXPECT_TRUE(split("   # nothing").empty());
}

TEST(ShellLine, OpenQuote_IsRefused) {
  EXPECT_THAT(split("at 'x"), ElementsAre("wrong: a quote stays open"));
}

class Shell : public ScriptedPhone {
 protected:
  outcome_st type(const std::string& lines, const script& steps, texts options = {}) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(::write(ends[1], lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    ::close(ends[1]);
    options.emplace_back("shell");
    const outcome_st got = run(options, steps, ends[0]);
    ::close(ends[0]);
    return got;
  }
};

constexpr char VERSION[] = "AT^DSVER\r";
constexpr char VERSION_ANSWER[] = "\r\n^DSVER: 7\r\n\r\nOK\r\n";
constexpr char BOOT[] = "AT^DBOOTDLFIN\r";
constexpr char BOOT_ANSWER[] = "\r\n^DBOOTDLFIN: 1\r\n\r\nOK\r\n";

TEST_F(Shell, SeveralWords_GoOverOnePort) {
  const auto got = type("sw-version\n\n# a comment\nboot-download", {{VERSION, VERSION_ANSWER}, {BOOT, BOOT_ANSWER}});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("\nsw-version: 7\n"));
  EXPECT_THAT(got.m_out, HasSubstr("\nboot-download: 1 (complete)\n"));
}

TEST_F(Shell, OptionsOfTheShell_AreThoseOfItsWords) {
  const auto got = type("sw-version\nboot-download\n", {{VERSION, VERSION_ANSWER}, {BOOT, BOOT_ANSWER}}, {"--value"});
  EXPECT_EQ(got.m_out, "7\n1\n");
}

TEST_F(Shell, WordThatFails_DoesNotEndItButIsItsStatus) {
  const auto got = type("sw-version\ndance\nboot-download\nexit\nidle\n",
                        {{VERSION, "\r\n+CME ERROR: 100\r\n"}, {BOOT, BOOT_ANSWER}});
  EXPECT_EQ(got.m_status, 2);
  EXPECT_THAT(got.m_err, HasSubstr("there is no word 'dance'"));
  EXPECT_THAT(got.m_out, HasSubstr("boot-download: 1"));
  EXPECT_THAT(got.m_out, Not(HasSubstr("DENTERIDLE")));
}

TEST_F(Shell, UnitThatIsGone_EndsTheSequence) {
  std::jthread phone([&] {
    m_phone.receive(std::string(VERSION).size());
    m_phone.hang_up();
  });
  const auto got = type("sw-version\nboot-download\n", {});
  EXPECT_EQ(got.m_status, 8);
  EXPECT_THAT(got.m_err, HasSubstr("the port went away"));
  EXPECT_THAT(got.m_out, Not(HasSubstr("DBOOTDLFIN")));
}

TEST_F(Shell, GivenUpRequest_IsFollowedByProbes) {
  const auto got = type("check wifi --timeout 50\ncheck bt\n",
                        script{{"AT^DDEVCONNCHK=0\r", ""}} + PROBES + script{{"AT^DDEVCONNCHK=3\r", "\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 5);
}

TEST_F(Shell, Interrupted_EndsAtOnce) {
  const int stop = ::eventfd(1, EFD_CLOEXEC);
  int ends[2] = {-1, -1};
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  EXPECT_EQ(run_station({"--port", m_phone.path(), "shell"}, stop, ends[0]).m_status, 130);
  for (const int fd : {stop, ends[0], ends[1]}) ::close(fd);
}

// Standard output, as far as the station is concerned.
int run_into(const char* path, const texts& arguments) {
  std::ofstream out(path);
  std::ostringstream err;
  const int status = station_run(arguments, {&out, &err, false, -1});
  EXPECT_EQ(err.str().find("standard output failed") != std::string::npos, status == 11);
  return status;
}

using Output = ScriptedPhone;

TEST_F(Output, Full_IsStatusEleven) {
  std::jthread phone([&] { play({{VERSION, VERSION_ANSWER}, {VERSION, VERSION_ANSWER}}); });
  EXPECT_EQ(run_into("/dev/full", {"--port", m_phone.path(), "sw-version"}), 11);
  EXPECT_EQ(run_into("/dev/full", {"--port", m_phone.path(), "--value", "sw-version"}), 11);
  EXPECT_EQ(run_into("/dev/full", {"--help"}), 11);
}

TEST_F(Output, Full_EndsAMonitor) {
  m_phone.send(bytes_from_text("\r\nRING\r\n"));
  EXPECT_EQ(run_into("/dev/full", {"--port", m_phone.path(), "monitor"}), 11);
}

TEST_F(Output, Value_IsAloneOnStandardOutput) {
  const auto got = run({"--value", "sw-version"}, {{VERSION, VERSION_ANSWER}});
  EXPECT_EQ(got.m_out, "7\n");
  EXPECT_THAT(got.m_err, HasSubstr("<- text ^DSVER: 7\n"));
}

using WaitForPhone = ScriptedPhone;

TEST_F(WaitForPhone, PhoneThatAnswers_EndsTheWait) {
  EXPECT_EQ(run({"wait-for-phone"}, {{"AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"}}).m_status, 0);
}

TEST_F(WaitForPhone, PhoneThatIsDeafAtFirst_IsAskedAgain) {
  const script deaf = {{"AT^DAMT1=2\r", ""}, {"AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"}};
  EXPECT_EQ(run({"wait-for-phone"}, deaf).m_status, 0);
}

TEST_F(WaitForPhone, PortThatComesLate_IsFound) {
  const std::string link = testing::TempDir() + "amt-station-wait-" + std::to_string(::getpid());
  std::jthread phone([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(::symlink(m_phone.path().c_str(), link.c_str()), 0);
    play({{"AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"}});
  });
  const auto got = run_station({"--port", link, "wait-for-phone"});
  phone.join();
  ::unlink(link.c_str());
  EXPECT_EQ(got.m_status, 0) << got.m_err;
}

TEST_F(WaitForPhone, SilentPhone_IsStatusFive) {
  EXPECT_EQ(run({"wait-for-phone", "--timeout", "100"}, {}).m_status, 5);
  EXPECT_EQ(run_station({"--port", "/dev/there-is-no-such-port", "wait-for-phone", "--timeout", "100"}).m_status, 3);
}

}  // namespace
