// Captures with the real programs: kept on both sides of the wire, by a bridge and by a run; a writer that is killed;
// replays in both directions.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <thread>

#include "tests/capture/lines.h"
#include "tests/station-run/line-phone.h"
#include "tests/station/phone-line.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

using words = std::vector<std::string>;

// All bytes of a link that went in one direction.
byte_string bytes_of(const std::string& path, capture_link_en link, capture_direction_en direction) {
  byte_string all;
  for (const auto& [entry, line] : entries_of(read_whole_file(path))) {
    if (entry.m_link == link && entry.m_direction == direction)
      all.insert(all.end(), entry.m_bytes.begin(), entry.m_bytes.end());
  }
  return all;
}

class CapturePhone : public LineTest {
 protected:
  station_outcome program(words command) {
    command.insert(command.begin(), amt_station());
    beside_st started(command, m_folder.path("out"));
    const int status = started.wait();
    return {status, started.output(), ""};
  }
  station_outcome station(const std::string& port, words more) {
    more.insert(more.begin(), {"--port", port});
    return program(std::move(more));
  }
  // A session worth keeping: frames, AT text, an answer of the modem, a refusal.
  void keep_session(const std::string& port, const std::string& capture) {
    const auto word = [&](const words& more, int status) {
      words all = {"--capture", capture};
      all.insert(all.end(), more.begin(), more.end());
      const auto got = station(port, all);
      EXPECT_EQ(got.m_status, status) << got.m_out;
    };
    word({"version", "whole"}, 0);
    word({"imei"}, 0);
    word({"bt-address"}, 0);
    word({"at", "AT^DNONSENSE"}, 7);
  }
  std::string capture() const { return m_folder.path("line.jsonl"); }
};

TEST_F(CapturePhone, BothSidesOfTheWire_KeepTheSameBytes) {
  const std::string other = m_folder.path("phone.jsonl");
  const line_phone_st phone(m_folder, "both", {"--capture", other});
  const std::size_t before = bytes_of(other, capture_link_en::PC, capture_direction_en::SENT).size();
  EXPECT_GT(before, 0u);  // the wait for the phone
  keep_session(phone.port(), capture());
  const auto sent = bytes_of(capture(), capture_link_en::PC, capture_direction_en::SENT);
  const auto received = bytes_of(capture(), capture_link_en::PC, capture_direction_en::RECEIVED);
  auto other_sent = bytes_of(other, capture_link_en::PC, capture_direction_en::SENT);
  auto other_received = bytes_of(other, capture_link_en::PC, capture_direction_en::RECEIVED);
  ASSERT_GE(other_sent.size(), sent.size());
  ASSERT_GE(other_received.size(), received.size());
  EXPECT_EQ(to_hex(byte_string(other_sent.end() - static_cast<std::ptrdiff_t>(sent.size()), other_sent.end())),
            to_hex(sent));
  EXPECT_EQ(
      to_hex(byte_string(other_received.end() - static_cast<std::ptrdiff_t>(received.size()), other_received.end())),
      to_hex(received));
  // The modem was asked for the IMEI, and answered.
  const auto decoded =
      program({"decode", other, "--link", "modem"}).m_out + program({"decode", other, "--link", "at"}).m_out;
  EXPECT_THAT(decoded, HasSubstr(" -> text \"AT^DGSN?\\r\"\n"));
  EXPECT_THAT(decoded, HasSubstr(" <- text ^DGSN: "));
}

TEST_F(CapturePhone, KilledMonitor_LeavesAllThatItHeard) {
  const line_phone_st phone(m_folder, "killed");
  beside_st monitor({amt_station(), "--port", phone.port(), "--capture", capture(), "monitor"},
                    m_folder.path("monitor"));
  for (const char* text : {"ONE", "TWO", "THREE"}) {
    // Until the monitor has the port, nobody hears it.
    for (int tries = 0; tries < 1000 && monitor.output().find(text) == std::string::npos; ++tries) {
      phone.control({"modem", "say", text});
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  monitor.send_signal(SIGKILL);
  EXPECT_EQ(monitor.wait(), 128 + SIGKILL);
  EXPECT_EQ(read_whole_file(capture()).back(), '\n');
  const auto got = program({"decode", capture()});
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  for (const char* text : {"<- text ONE\n", "<- text TWO\n", "<- text THREE\n"})
    EXPECT_THAT(got.m_out, HasSubstr(text));
}

// Two terminals joined: what is written to one is read from the other, as on a cable between two serial ports.
class null_modem_st {
 public:
  null_modem_st() : m_thread([this] { carry(); }) {}
  ~null_modem_st() { m_is_over = true; }
  const std::string& left() const { return m_left.path(); }
  const std::string& right() const { return m_right.path(); }

 private:
  void carry() {
    while (!m_is_over) {
      std::array<pollfd, 2> fds = {{{m_left.master(), POLLIN, 0}, {m_right.master(), POLLIN, 0}}};
      ::poll(fds.data(), fds.size(), 50);
      pass(fds[0], m_right.master());
      pass(fds[1], m_left.master());
    }
  }
  static void pass(const pollfd& from, int to) {
    std::array<char, 4096> chunk{};
    if ((from.revents & POLLIN) == 0) return;
    const ssize_t count = ::read(from.fd, chunk.data(), chunk.size());
    if (count <= 0) return;
    EXPECT_EQ(::write(to, chunk.data(), static_cast<std::size_t>(count)), count);
  }

  phone_line_st m_left;
  phone_line_st m_right;
  std::atomic<bool> m_is_over = false;
  std::jthread m_thread;
};

TEST_F(CapturePhone, StationBehindABridge_NoticesNothingAndIsKept) {
  const line_phone_st phone(m_folder, "bridge");
  const null_modem_st cable;
  beside_st bridge({amt_station(), "bridge", cable.right(), phone.port(), "--capture", capture()},
                   m_folder.path("bridge"));
  ASSERT_TRUE(bridge.wait_output("are joined")) << bridge.output();
  EXPECT_EQ(station(phone.port(), {"imei"}).m_status, 4);  // the port is the bridge's
  const auto got = station(cable.left(), {"version", "whole"});
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  bridge.send_signal(SIGINT);
  EXPECT_EQ(bridge.wait(), 0);
  const auto decoded = program({"decode", capture(), "--id", "45"});
  EXPECT_THAT(decoded.m_out, HasSubstr("pc -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64(module)\n"));
  EXPECT_THAT(decoded.m_out, HasSubstr("pc <- frame 46 (0x2E) AMT_VERSION_RSPCMD 19:int=64(module)"));
}

TEST_F(CapturePhone, RunOfSeveralPhones_KeepsEachUnderItsName) {
  const line_phone_st a(m_folder, "runA");
  const line_phone_st b(m_folder, "runB");
  const std::string plan =
      write_plan(one_step("converter", "word = \"adc\"") + one_step("address", "word = \"bt-address\""));
  words arguments = run_arguments(plan, {"A=" + a.port(), "B=" + b.port()});
  arguments.insert(arguments.end(), {"--capture", capture()});
  EXPECT_EQ(program(arguments).m_status, 0);
  for (const char* name : {"A", "B"}) {
    const auto got = program({"decode", capture(), "--phone", name});
    EXPECT_THAT(got.m_out, HasSubstr(std::string(" ") + name + " pc -> text \"AT^DBTADDR?\\r\"\n"));
    EXPECT_THAT(got.m_out, HasSubstr(std::string(" ") + name + " pc <- text OK\n"));
  }
  EXPECT_EQ(program({"decode", capture(), "--errors"}).m_out, "");
}

TEST_F(CapturePhone, ReplayToThePhone_TellsWhatChanged) {
  const line_phone_st phone(m_folder, "again");
  keep_session(phone.port(), capture());
  const words again = {"replay", capture(), "--port", phone.port()};
  const auto same = program(again);
  EXPECT_EQ(same.m_status, 0) << same.m_out;
  EXPECT_THAT(same.m_out, HasSubstr(", 0 different\n"));
  phone.control({"modem", "imei", "358240051111128"});
  const auto changed = program(again);
  EXPECT_EQ(changed.m_status, 1);
  EXPECT_THAT(changed.m_out, HasSubstr("+  text ^DGSN: 358240051111128\n"));
  words allowed = again;
  allowed.insert(allowed.end(), {"--may-differ", "serial-numbers"});
  const auto got = program(allowed);
  EXPECT_EQ(got.m_status, 0) << got.m_out;
}

// A capture of this project's own phone that is kept: what it once said it says still.
TEST_F(CapturePhone, GoldenSession_IsStillAnsweredSo) {
  const line_phone_st phone(m_folder, "golden");
  const auto got = program({"replay", PROJECT_FOLDER "/tests/capture/golden.jsonl", "--port", phone.port()});
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  EXPECT_THAT(got.m_out, Not(HasSubstr(" 0 answers")));
}

// `handset run --replay` of a capture.
class PlayedPhone : public CapturePhone {
 protected:
  void play(const std::string& path, const words& more = {}) {
    words command = {std::string(PROGRAM_FOLDER "/handset"), "run", "--replay", path};
    command.insert(command.end(), more.begin(), more.end());
    m_played.emplace(command, m_folder.path("played"));
    ASSERT_TRUE(m_played->wait_output("Ctrl-C ends the replay")) << m_played->output();
    m_port = text_after(m_played->output(), "PC tty:");
  }
  std::string golden() const { return PROJECT_FOLDER "/tests/capture/golden.jsonl"; }
  // The words of the golden session.
  void send_session() {
    EXPECT_EQ(station(m_port, {"version", "whole"}).m_status, 0);
    EXPECT_THAT(station(m_port, {"imei", "--value"}).m_out, EndsWith("490154203237518\n"));
    EXPECT_EQ(station(m_port, {"bt-address"}).m_status, 0);
    EXPECT_EQ(station(m_port, {"at", "AT^DNONSENSE"}).m_status, 7);
  }

  std::optional<beside_st> m_played;
  std::string m_port;
};

TEST_F(PlayedPhone, StationThatSendsTheSame_GetsTheSameAndItEndsWell) {
  play(golden(), {"--fast", "--capture", capture()});
  send_session();
  EXPECT_EQ(m_played->wait(), 0) << m_played->output();
  EXPECT_THAT(m_played->output(), HasSubstr(", 0 differences\n"));
  for (const auto direction : {capture_direction_en::SENT, capture_direction_en::RECEIVED}) {
    EXPECT_EQ(to_hex(bytes_of(capture(), capture_link_en::PC, direction)),
              to_hex(bytes_of(golden(), capture_link_en::PC, direction)));
  }
}

TEST_F(PlayedPhone, StationThatSendsOtherwise_IsToldOnceAndServedOn) {
  play(golden(), {"--fast"});
  EXPECT_EQ(station(m_port, {"version", "whole"}).m_status, 0);
  EXPECT_EQ(station(m_port, {"imei"}).m_status, 0);
  EXPECT_EQ(station(m_port, {"at", "AT^DBTADDR=?"}).m_status, 0);
  EXPECT_EQ(station(m_port, {"at", "AT^DNONSENSE"}).m_status, 7);
  EXPECT_EQ(m_played->wait(), 1);
  const std::string output = m_played->output();
  EXPECT_THAT(output, HasSubstr("replay: the first difference is on the link pc: line "));
  EXPECT_THAT(output, HasSubstr("  came text \"AT^DBTADDR=?\" "));
  EXPECT_THAT(output, HasSubstr(", 1 differences\n"));
}

TEST_F(PlayedPhone, LooseReplay_SaysNothingAndEndsWell) {
  play(golden(), {"--fast", "--loose"});
  station(m_port, {"imei"});
  m_played->send_signal(SIGINT);
  EXPECT_EQ(m_played->wait(), 0);
  EXPECT_THAT(m_played->output(), Not(HasSubstr("difference is")));
}

// The service runs, and its modem is played.
TEST_F(CapturePhone, PlayedModem_AnswersAsThen) {
  {
    const line_phone_st phone(m_folder, "then", {"--capture", capture()});
    phone.control({"modem", "imei", "358240051111110"});
    EXPECT_EQ(station(phone.port(), {"imei"}).m_status, 0);
  }
  const line_phone_st phone(m_folder, "now", {"--replay-modem", capture(), "--fast"});
  EXPECT_THAT(station(phone.port(), {"imei", "--value"}).m_out, EndsWith("358240051111110\n"));
  EXPECT_THAT(phone.output(), Not(HasSubstr("difference")));
  station(phone.port(), {"at", "AT^DOTHER", "--timeout", "100"});
  EXPECT_TRUE(phone.wait_output("replay: the first difference is on the link modem: ")) << phone.output();
}

// The times of the capture: half a second until the answer.
TEST_F(PlayedPhone, AnswerOfASlowPhone_TakesAsLongAgain) {
  const std::string text = capture_text(0, "sent", "pc", plain_hex("AT^DSVER\r")) +
                           capture_text(500, "received", "pc", plain_hex("\r\n^DSVER: 7\r\n")) +
                           capture_text(501, "received", "pc", plain_hex("\r\nOK\r\n"));
  play(m_folder.write("slow", text));
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(station(m_port, {"at", "AT^DSVER"}).m_status, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
  EXPECT_EQ(m_played->wait(), 0);
}

TEST_F(PlayedPhone, CaptureThatCannotBePlayed_IsRefused) {
  const auto status = [this](const std::string& path, const words& more = {}) {
    words command = {std::string(PROGRAM_FOLDER "/handset"), "run", "--replay", path};
    command.insert(command.end(), more.begin(), more.end());
    beside_st started(command, m_folder.path("refused"));
    return started.wait();
  };
  EXPECT_EQ(status(m_folder.path("none")), 1);
  EXPECT_EQ(status(m_folder.write("bad", "nonsense\n")), 1);
  EXPECT_EQ(status(m_folder.write("modem", capture_text(0, "sent", "modem", "41"))), 2);
  EXPECT_EQ(status(m_folder.write("two",
                                  capture_text(0, "sent", "pc", "41", "A") + capture_text(0, "sent", "pc", "41", "B"))),
            2);
  EXPECT_EQ(status(golden(), {"--mode", "usb"}), 2);
  const std::string own = m_folder.write("own", read_whole_file(golden()));
  EXPECT_EQ(status(own, {"--capture", own}), 2);
  EXPECT_EQ(read_whole_file(own), read_whole_file(golden()));
  beside_st alone({PROGRAM_FOLDER "/handset", "run", "--fast"}, m_folder.path("alone"));
  EXPECT_EQ(alone.wait(), 2);
}

}  // namespace
