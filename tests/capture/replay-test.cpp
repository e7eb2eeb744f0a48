// `replay`, `bridge` and --capture on a phone that is a script.
#include <sys/eventfd.h>

#include <fstream>

#include "tests/capture/lines.h"
#include "tests/station/scripted-phone.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::HasSubstr;

class Replay : public ScriptedPhone {
 protected:
  outcome_st replay(const std::string& capture, const script& steps, std::vector<std::string> options = {}) {
    std::jthread phone([&] { play(steps); });
    options.insert(options.begin(), {"replay", m_folder.write("c", capture), "--port", m_phone.path()});
    return run_station(options);
  }

  static std::string line(int ms, const std::string& direction, const std::string& text,
                          const std::string& phone = "") {
    return capture_text(ms, direction, "pc", plain_hex(text), phone);
  }
  static std::string session() {
    return line(0, "sent", "AT^DSVER\r") + line(4, "received", "\r\n^DSV") +
           line(5, "received", "ER: 7\r\n\r\nOK\r\n") + line(9, "sent", "AT^DGSN?\r") +
           line(12, "received", "\r\n^DGSN: 1\r\n\r\nOK\r\n");
  }

  temp_folder m_folder;
};

TEST_F(Replay, PhoneThatAnswersTheSame_IsStatusZero) {
  const auto got =
      replay(session(), {{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}, {"AT^DGSN?\r", "\r\n^DGSN: 1\r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 0) << got.m_err;
  EXPECT_EQ(got.m_out, "replay: 2 of 2 requests sent, 4 answers in the capture, 0 different\n");
}

TEST_F(Replay, PhoneThatAnswersOtherwise_IsShownAndIsStatusOne) {
  const script steps = {{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}, {"AT^DGSN?\r", "\r\n^DGSN: 2\r\n\r\nOK\r\n"}};
  const auto got = replay(session(), steps);
  EXPECT_EQ(got.m_status, 1);
  EXPECT_EQ(got.m_out,
            "line 4: -> text \"AT^DGSN?\\r\"\n"
            "line 5: -  text ^DGSN: 1\n"
            "        +  text ^DGSN: 2\n"
            "           the text differs\n"
            "replay: 2 of 2 requests sent, 4 answers in the capture, 1 different\n");
  EXPECT_EQ(replay(session(), steps, {"--may-differ", "serial-numbers"}).m_status, 0);
  EXPECT_EQ(replay(session(), steps, {"--rules", m_folder.write("r", "# all\ntext \\^DGSN: .*\n")}).m_status, 0);
}

TEST_F(Replay, AnswerThatDoesNotCome_IsShownAsMissing) {
  const auto got = replay(line(0, "sent", "AT^DGSN?\r") + line(2, "received", "\r\n^DGSN: 1\r\n\r\nOK\r\n"),
                          {{"AT^DGSN?\r", "\r\n^DGSN: 1\r\n"}}, {"--timeout", "100", "--all"});
  EXPECT_EQ(got.m_status, 1);
  EXPECT_EQ(got.m_out,
            "line 1: -> text \"AT^DGSN?\\r\"\n"
            "line 2: <- text ^DGSN: 1\n"
            "line 2: -  text OK\n"
            "           it did not come\n"
            "replay: 1 of 1 requests sent, 2 answers in the capture, 1 different\n");
}

TEST_F(Replay, AnswerThatTheCaptureLacks_IsShownAsNew) {
  const auto got =
      replay(line(0, "sent", "AT\r") + line(2, "received", "\r\nOK\r\n"), {{"AT\r", "\r\nOK\r\n\r\nRING\r\n"}});
  EXPECT_EQ(got.m_status, 1);
  EXPECT_THAT(got.m_out, HasSubstr("+  text RING\n   the capture has nothing like it here\n"));
}

TEST_F(Replay, DamagedRequest_IsSentAsItWas) {
  byte_string bad = VERSION_REQUEST;
  bad.back() ^= 1;
  const auto got =
      replay(capture_text(0, "sent", "pc", plain_hex(bad)) + capture_text(1, "received", "pc", plain_hex(VERSION_OK)),
             {{std::string(bad.begin(), bad.end()), std::string(VERSION_OK.begin(), VERSION_OK.end())}});
  EXPECT_EQ(got.m_status, 0) << got.m_out;
}

TEST_F(Replay, TimesOfTheCapture_AreKeptWhenAsked) {
  const std::string text = line(0, "sent", "AT\r") + line(1, "received", "OK\r\n") + line(400, "sent", "AT\r") +
                           line(401, "received", "OK\r\n");
  const script steps = {{"AT\r", "OK\r\n"}, {"AT\r", "OK\r\n"}};
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(replay(text, steps, {"--times"}).m_status, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(400));
}

TEST_F(Replay, CaptureThatCannotBeUsed_SendsNothing) {
  EXPECT_EQ(replay("nonsense\n" + session(), {}).m_status, 12);
  EXPECT_EQ(replay(line(0, "received", "OK\r\n"), {}).m_status, 12);
  EXPECT_EQ(replay("", {}).m_status, 12);
  const std::string two = line(0, "sent", "AT\r", "A") + line(1, "sent", "AT\r", "B");
  const auto got = replay(two, {});
  EXPECT_EQ(got.m_status, 2);
  EXPECT_EQ(got.m_err, "amt-station: the capture has the phones A, B: choose one with --phone\n");
  EXPECT_EQ(replay(two, {{"AT\r", ""}}, {"--phone", "B"}).m_status, 0);
  EXPECT_EQ(replay(session(), {}, {"--may-differ", "time 1"}).m_status, 2);
  EXPECT_EQ(replay(session(), {}, {"--rules", m_folder.path("none")}).m_status, 2);
  EXPECT_EQ(replay(session(), {}, {"--rules", m_folder.path(".")}).m_status, 2);
  EXPECT_EQ(replay(session(), {}, {"--rules", m_folder.write("long", std::string(2U << 20U, '#'))}).m_status, 2);
  EXPECT_EQ(replay(session(), {}, {"--phone", "A"}).m_err,
            "amt-station: the capture names no phone: choose none with --phone\n");
  EXPECT_EQ(replay(session(), {}, {"--capture", m_folder.path("c")}).m_status, 2);
  EXPECT_EQ(run_station({"replay", m_folder.path("c")}).m_status, 2);
  EXPECT_EQ(run_station({"replay", m_folder.write("c", session()), "--port", m_folder.path("none")}).m_status, 3);
}

TEST_F(Replay, PhoneThatGoesAway_IsStatusEight) {
  std::jthread phone([&] {
    m_phone.receive(9);
    m_phone.hang_up();
  });
  EXPECT_EQ(run_station({"replay", m_folder.write("c", session()), "--port", m_phone.path()}).m_status, 8);
}

// What passes on a port, with an arrow where the direction changes.
std::string passed(const std::string& path) {
  std::string all;
  std::optional<capture_direction_en> latest;
  for (const auto& [entry, line] : entries_of(read_whole_file(path))) {
    if (latest != entry.m_direction) all += entry.m_direction == capture_direction_en::SENT ? "->" : "<-";
    latest = entry.m_direction;
    all += std::string(entry.m_bytes.begin(), entry.m_bytes.end());
  }
  return all;
}

TEST_F(Replay, CaptureOfAWord_HasEveryByteInItsOrder) {
  const std::string path = m_folder.path("kept");
  m_phone.mark_in_step();
  EXPECT_EQ(run({"at", "AT^DSVER", "--capture", path}, {{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}}).m_status, 0);
  EXPECT_EQ(run({"at", "AT", "--capture", path}, {{"AT\r", "\r\nERROR\r\n"}}).m_status, 7);
  EXPECT_EQ(passed(path), "->AT^DSVER\r<-\r\n^DSVER: 7\r\n\r\nOK\r\n->AT\r<-\r\nERROR\r\n");
}

TEST_F(Replay, CaptureThatCannotBeWritten_IsRefusedBeforeThePortIsOpened) {
  const auto got = run_station({"--port", m_folder.path("no-port"), "--capture", m_folder.path(""), "at", "AT"});
  EXPECT_EQ(got.m_status, 2);
  EXPECT_THAT(got.m_err, HasSubstr("cannot write the capture"));
}

// Between a station and a phone, each a script: what they sent has passed in both directions, unchanged, and is kept.
TEST(Bridge, Everything_PassesUnchangedAndIsKept) {
  const temp_folder folder;
  const phone_line_st station;
  const phone_line_st phone;
  const int stop = ::eventfd(0, EFD_CLOEXEC);
  int status = -1;
  byte_string all;
  for (int n = 0; n < 70000; ++n) all.push_back(static_cast<std::uint8_t>(n * 7));
  {
    std::jthread bridge([&] {
      status = run_station({"bridge", station.path(), phone.path(), "--capture", folder.path("c")}, stop).m_status;
    });
    ASSERT_TRUE(station.wait_taken() && phone.wait_taken());
    std::jthread sender([&] { phone.send_all(all); });
    EXPECT_EQ(station.receive(all.size()), all);
    station.send(VERSION_REQUEST);
    EXPECT_EQ(phone.receive(VERSION_REQUEST.size()), VERSION_REQUEST);
    const std::uint64_t one = 1;
    ASSERT_EQ(::write(stop, &one, sizeof one), 8);
  }
  ::close(stop);
  EXPECT_EQ(status, 0);
  byte_string sent;
  byte_string received;
  for (const auto& [entry, line] : entries_of(read_whole_file(folder.path("c")))) {
    auto& to = entry.m_direction == capture_direction_en::SENT ? sent : received;
    to.insert(to.end(), entry.m_bytes.begin(), entry.m_bytes.end());
  }
  EXPECT_EQ(received, all);
  EXPECT_EQ(sent, VERSION_REQUEST);
}

// Nobody reads: some bytes are in the terminal, the bridge holds the rest, and is told to end.
TEST(Bridge, WhatWasReadBeforeTheEnd_IsStillPassedOn) {
  const temp_folder folder;
  const phone_line_st station;
  const phone_line_st phone;
  const int stop = ::eventfd(0, EFD_CLOEXEC);
  const byte_string all(60000, 'x');
  byte_string arrived;
  {
    std::jthread bridge([&] {
      run_station({"bridge", station.path(), phone.path(), "--capture", folder.path("c")}, stop);
    });
    ASSERT_TRUE(station.wait_taken() && phone.wait_taken());
    phone.send_all(all);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (read_whole_file(folder.path("c")).size() < 2 * all.size() && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::jthread receiver([&] { arrived = station.receive(all.size()); });
    const std::uint64_t one = 1;
    ASSERT_EQ(::write(stop, &one, sizeof one), 8);
  }
  ::close(stop);
  std::size_t kept = 0;
  for (const auto& [entry, line] : entries_of(read_whole_file(folder.path("c")))) kept += entry.m_bytes.size();
  EXPECT_GT(kept, 50000u);
  EXPECT_EQ(arrived.size(), kept);
}

TEST(Bridge, PortThatGoesAway_EndsIt) {
  const phone_line_st station;
  phone_line_st phone;
  outcome_st got{};
  {
    std::jthread bridge([&] { got = run_station({"bridge", station.path(), phone.path()}); });
    ASSERT_TRUE(station.wait_taken() && phone.wait_taken());
    phone.hang_up();
  }
  EXPECT_EQ(got.m_status, 8);
  EXPECT_THAT(got.m_err, HasSubstr(phone.path() + ": the port went away"));
}

TEST(Bridge, PortThatIsTaken_IsRefused) {
  const phone_line_st station;
  const phone_line_st phone;
  EXPECT_EQ(run_station({"bridge", station.path(), station.path()}).m_status, 4);
  EXPECT_EQ(run_station({"bridge", station.path(), "/dev/null"}).m_status, 3);
  EXPECT_EQ(run_station({"bridge", station.path()}).m_status, 2);
}

}  // namespace
