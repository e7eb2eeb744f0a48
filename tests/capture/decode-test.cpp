// `decode`: its lines, its filters, and what it finds wrong. Local time is UTC here.
#include <sys/eventfd.h>
#include <sys/stat.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>
#include <streambuf>
#include <thread>

#include "station/wire/atoms.h"
#include "tests/capture/lines.h"
#include "tests/station/scripted-phone.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

// What a program in another thread prints.
class locked_buffer_st : public std::streambuf {
 public:
  bool wait_for(const std::string& text) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < deadline) {
      {
        const std::lock_guard guard(m_lock);
        if (m_text.find(text) != std::string::npos) return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

 protected:
  int overflow(int one) override {
    const std::lock_guard guard(m_lock);
    m_text += static_cast<char>(one);
    return one;
  }
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    const std::lock_guard guard(m_lock);
    m_text.append(text, static_cast<std::size_t>(count));
    return count;
  }

 private:
  std::mutex m_lock;
  std::string m_text;
};

class Decode : public testing::Test {
 protected:
  Decode() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }
  outcome_st decode(const std::string& text, std::vector<std::string> options = {}) const {
    options.insert(options.begin(), {"decode", m_folder.write("c", text)});
    return run_station(options);
  }

  // A request with its answer, AT text that is refused, a request that nobody answers, noise, a damaged answer.
  static std::string session() {
    byte_string bad = VERSION_OK;
    bad.back() ^= 1;
    return capture_text(0, "sent", "pc", plain_hex(VERSION_REQUEST)) +
           capture_text(3, "received", "pc", plain_hex(PRE_RESPONSE + VERSION_OK)) +
           capture_text(500, "sent", "pc", plain_hex("AT^DBTADDR=1\r")) +
           capture_text(512, "received", "pc", plain_hex("\r\n+CME ERROR: 100\r\n")) +
           // 81 in two pieces.
           capture_text(600, "sent", "pc", "AABBCCDD0E000000020000000600BB510000") +
           capture_text(601, "sent", "pc", "44EFD8FF") + capture_text(900, "sent", "pc", plain_hex(VERSION_REQUEST)) +
           capture_text(901, "received", "pc", "FF0102") + capture_text(902, "received", "pc", plain_hex(bad)) +
           capture_text(1000, "received", "pc", plain_hex(VERSION_ERROR)) +
           capture_text(1100, "sent", "app", plain_hex(BARE_REQUEST));
  }

  temp_folder m_folder;
};

TEST_F(Decode, Session_IsOneLineForEachFrameOrText) {
  const auto got = decode(session());
  EXPECT_EQ(got.m_err, "");
  EXPECT_EQ(got.m_status, 0);
  EXPECT_EQ(got.m_out,
            "08:00:00.000        - pc -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module)\n"
            "08:00:00.003   +0.003 pc <- pre-response\n"
            "08:00:00.003   +0.000 pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module) 1:int=0(result)\n"
            "08:00:00.500   +0.497 pc -> text \"AT^DBTADDR=1\\r\"\n"
            "08:00:00.512   +0.012 pc <- text +CME ERROR: 100\n"
            "08:00:00.601   +0.089 pc -> frame 81 (0x51) AMT_WRITE_GAININ_CMD\n"
            "08:00:00.900   +0.299 pc -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module)\n"
            "08:00:00.902   +0.002 pc <- noise, 3 bytes FF0102\n"
            "08:00:00.902   +0.000 pc <- frame, bad checksum: 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module) "
            "1:int=0(result)\n"
            "08:00:01.000   +0.098 pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 1:int=1(result)\n"
            "08:00:01.100   +0.100 app -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module)\n");
}

TEST_F(Decode, IdFilter_ShowsARequestWithItsAnswers) {
  const auto got = decode(session(), {"--id", "45", "--link", "pc"});
  EXPECT_EQ(got.m_out,
            "08:00:00.000        - pc -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module)\n"
            "08:00:00.003   +0.000 pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module) 1:int=0(result)\n"
            "08:00:00.900   +0.299 pc -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module)\n"
            "08:00:00.902   +0.000 pc <- frame, bad checksum: 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module) "
            "1:int=0(result)\n"
            "08:00:01.000   +0.098 pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 1:int=1(result)\n");
  EXPECT_THAT(decode(session(), {"--id", "81", "--id", "46"}).m_out, HasSubstr("frame 81 "));
  EXPECT_EQ(decode(session(), {"--id", "3"}).m_out, "");
}

TEST_F(Decode, ErrorFilter_ShowsRefusalsDamageNoiseAndSilence) {
  EXPECT_EQ(decode(session(), {"--errors"}).m_out,
            "08:00:00.512   +0.012 pc <- text +CME ERROR: 100\n"
            "08:00:00.902   +0.002 pc <- noise, 3 bytes FF0102\n"
            "08:00:00.902   +0.000 pc <- frame, bad checksum: 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module) "
            "1:int=0(result)\n"
            "08:00:00.601   +0.089 pc -> frame 81 (0x51) AMT_WRITE_GAININ_CMD [no answer]\n"
            "08:00:01.000   +0.098 pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 1:int=1(result)\n"
            "08:00:01.100   +0.100 app -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module) [no answer]\n");
  EXPECT_THAT(decode(session(), {"--errors", "--id", "81"}).m_out, EndsWith("AMT_WRITE_GAININ_CMD [no answer]\n"));
}

// A slow modem's text may come after a later frame was answered.
TEST_F(Decode, TextAndFrames_AreAnsweredApart) {
  const std::string text = capture_text(0, "sent", "pc", plain_hex("AT^DGSN?\r")) +
                           capture_text(1, "sent", "pc", plain_hex(VERSION_REQUEST)) +
                           capture_text(2, "received", "pc", plain_hex(VERSION_OK)) +
                           capture_text(3, "received", "pc", plain_hex("\r\nOK\r\n"));
  EXPECT_EQ(decode(text, {"--errors"}).m_out, "");
}

TEST_F(Decode, Phones_AreNamedAndFiltered) {
  const std::string text = capture_text(0, "sent", "pc", plain_hex("AT\r"), "A") +
                           capture_text(5, "sent", "pc", plain_hex("AT\r"), "B") +
                           capture_text(9, "received", "pc", plain_hex("OK\r\n"), "A");
  EXPECT_EQ(decode(text).m_out,
            "08:00:00.000        - A pc -> text \"AT\\r\"\n"
            "08:00:00.005        - B pc -> text \"AT\\r\"\n"
            "08:00:00.009   +0.009 A pc <- text OK\n");
  EXPECT_EQ(decode(text, {"--phone", "B"}).m_out, "08:00:00.005        - B pc -> text \"AT\\r\"\n");
}

// A name that was mistyped is not a phone that said nothing.
TEST_F(Decode, PhoneThatTheCaptureLacks_IsWrongUsage) {
  const auto got = decode(capture_text(0, "sent", "pc", plain_hex("AT\r"), "A"), {"--phone", "B"});
  EXPECT_EQ(got.m_status, 2);
  EXPECT_EQ(got.m_out, "");
  EXPECT_THAT(got.m_err, EndsWith(": the capture has no phone B\n"));
}

TEST_F(Decode, Json_IsAnObjectForEach) {
  const auto got = decode(capture_text(0, "sent", "pc", plain_hex(VERSION_REQUEST), "A") +
                              capture_text(3, "received", "pc", plain_hex(NO_ATOMS), "A"),
                          {"--json"});
  EXPECT_EQ(got.m_out,
            R"({"time":"2026-03-01T08:00:00.000Z","direction":"sent","kind":"frame","phone":"A","link":"pc","id":45,)"
            R"("name":"AMT_VERSION_CMD","atoms":[{"id":19,"type":"int","name":"module","value":64}],"hex":")" +
                plain_hex(VERSION_REQUEST) + "\"}\n" +
                R"({"time":"2026-03-01T08:00:00.003Z","direction":"received","kind":"frame","phone":"A","link":"pc",)"
                R"("since_ns":3000000,"id":46,"name":"AMT_VERSION_RSPCMD","atoms":[],"hex":")" +
                plain_hex(NO_ATOMS) + "\"}\n");
}

TEST_F(Decode, Hex_ShowsTheBytes) {
  EXPECT_THAT(decode(capture_text(0, "received", "pc", plain_hex("OK\r\n")), {"--hex"}).m_out,
              HasSubstr("<- text OK\n    0000  4F 4B 0D 0A                                      |OK..|\n"));
}

TEST_F(Decode, BadLines_AreReportedAndEndInTwelve) {
  const auto got = decode("x\n" + capture_text(0, "received", "pc", plain_hex("OK\r\n")));
  EXPECT_EQ(got.m_status, 12);
  EXPECT_THAT(got.m_out, EndsWith("<- text OK\n"));
  EXPECT_EQ(got.m_err, "amt-station: " + m_folder.path("c") + ":1: this is no JSON object\n");
}

TEST_F(Decode, FileOfNonsense_FillsNoScreen) {
  std::string text;
  for (int n = 0; n < 100; ++n) text += "x\n";
  const auto got = decode(text);
  EXPECT_EQ(std::ranges::count(got.m_err, '\n'), 21);
  EXPECT_THAT(got.m_err, EndsWith("100 lines are no lines of a capture\n"));
}

TEST_F(Decode, WrongUsage_IsStatusTwo) {
  EXPECT_EQ(decode("", {"--link", "usb"}).m_status, 2);
  EXPECT_EQ(decode("", {"--id", "256"}).m_status, 2);
  EXPECT_EQ(decode("", {"--id", "x"}).m_status, 2);
  EXPECT_EQ(decode("", {"--json", "--hex"}).m_status, 2);
  EXPECT_EQ(run_station({"decode"}).m_status, 2);
  EXPECT_EQ(run_station({"decode", m_folder.path("none")}).m_status, 12);
  EXPECT_THAT(run_station({"--help"}).m_out, HasSubstr("decode FILE"));
}

TEST_F(Decode, StandardInput_IsADash) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const std::string text = capture_text(0, "received", "pc", plain_hex("OK\r\n"));
  ASSERT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  ::close(ends[1]);
  EXPECT_THAT(run_station({"decode", "-"}, -1, ends[0]).m_out, EndsWith("<- text OK\n"));
  ::close(ends[0]);
}

// `decode --follow` beside the test.
class Follow : public Decode {
 protected:
  ~Follow() override { ::close(m_stop); }
  void start(const std::string& path) {
    m_follower = std::jthread([this, path] {
      m_status = station_run({"decode", path, "--follow"}, {&m_out, &m_err, false, m_stop});
    });
  }
  void stop() {
    const std::uint64_t one = 1;
    ASSERT_EQ(::write(m_stop, &one, sizeof one), 8);
    m_follower.join();
  }
  static std::string text(int ms, std::string_view bytes) {
    return capture_text(ms, "received", "pc", plain_hex(bytes));
  }

  int m_status = -1;
  locked_buffer_st m_shown;
  locked_buffer_st m_said;

 private:
  const int m_stop = ::eventfd(0, EFD_CLOEXEC);
  std::ostream m_out{&m_shown};
  std::ostream m_err{&m_said};
  std::jthread m_follower;
};

// One looks on beside a run: what is written shows up, a part that gets no longer too, and Ctrl-C is a good end.
TEST_F(Follow, FileThatGrows_IsShownMeanwhile) {
  const std::string path = m_folder.write("c", text(0, "ONE\r\n"));
  start(path);
  EXPECT_TRUE(m_shown.wait_for("<- text ONE\n"));
  std::ofstream(path, std::ios::app) << text(9, "TWO\r\n");
  EXPECT_TRUE(m_shown.wait_for("<- text TWO\n"));
  std::ofstream(path, std::ios::app) << text(11, "THREE");
  EXPECT_TRUE(m_shown.wait_for("<- text THREE\n"));
  stop();
  EXPECT_EQ(m_status, 0);
}

TEST_F(Follow, FileThatIsNotThereYet_IsWaitedFor) {
  start(m_folder.path("later"));
  EXPECT_TRUE(m_said.wait_for("amt-station: waiting for " + m_folder.path("later") + "\n"));
  m_folder.write("later", text(0, "ONE\r\n"));
  EXPECT_TRUE(m_shown.wait_for("<- text ONE\n"));
  stop();
  EXPECT_EQ(m_status, 0);
}

TEST_F(Follow, FileThatIsNeverThere_EndsWithAnInterrupt) {
  start(m_folder.path("never"));
  EXPECT_TRUE(m_said.wait_for("waiting for "));
  stop();
  EXPECT_EQ(m_status, 0);
}

TEST_F(Follow, FileThatIsReplacedOrCut_IsReadFromItsBeginning) {
  const std::string path = m_folder.write("c", text(0, "ONE\r\n") + text(1, "PART"));
  start(path);
  EXPECT_TRUE(m_shown.wait_for("<- text ONE\n"));
  std::filesystem::rename(m_folder.write("new", text(0, "TWO\r\n") + text(1, "NEW\r\n")), path);
  EXPECT_TRUE(m_shown.wait_for("<- text NEW\n"));
  EXPECT_TRUE(m_shown.wait_for("<- text TWO\n"));   // not joined with what came before
  EXPECT_TRUE(m_shown.wait_for("<- text PART\n"));  // which is not lost
  EXPECT_TRUE(m_said.wait_for(path + " is another file now, or was cut: from its beginning\n"));
  m_folder.write("c", text(0, "CUT\r\n"));
  EXPECT_TRUE(m_shown.wait_for("<- text CUT\n"));
  stop();
  EXPECT_EQ(m_status, 0);
}

// Nobody writes to the pipe, and Ctrl-C ends the wait.
TEST_F(Follow, PipeWithoutAWriter_IsNoTrap) {
  ASSERT_EQ(::mkfifo(m_folder.path("pipe").c_str(), 0600), 0);
  start(m_folder.path("pipe"));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  stop();
  EXPECT_EQ(m_status, 0);
}

// The names come from the codec's list of atoms, in which one is added at times.
TEST(AtomNames, EachAtomOfTheCodec_HasItsName) {
  const std::string text = read_whole_file(PROJECT_FOLDER "/amt/amt-convert/ids.h");
  const std::regex row("  AMT_ATOM_([A-Z0-9_]+) = ([0-9]+),");
  int count = 0;
  for (std::sregex_iterator at(text.begin(), text.end(), row), end; at != end; ++at, ++count) {
    std::string name = at->str(1);
    std::ranges::transform(name, name.begin(),
                           [](char one) { return one == '_' ? '-' : static_cast<char>(std::tolower(one)); });
    EXPECT_EQ(station_atom_name(static_cast<std::uint8_t>(std::stoi(at->str(2)))), name);
  }
  EXPECT_GT(count, 50);
  EXPECT_STREQ(station_atom_name(255), "");
}

}  // namespace
