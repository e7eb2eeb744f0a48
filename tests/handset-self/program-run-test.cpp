// `handset run` and `handset ctl`: a phone that is commanded from outside.
#include "tests/handset-self/program-child.h"

using namespace handset_self;

namespace {

// `handset run` with the stand-in for the service.
class ProgramRun : public testing::Test {
 protected:
  void start(const words& more = {}) {
    words command = {HANDSET, "run", "-v", "--service", STAND_IN};
    command.insert(command.end(), more.begin(), more.end());
    m_program.emplace(command);
    m_program->read_until("PC tty:  ");
    m_tty = m_program->read_until("\n");
    m_program->read_until("control: ");
    m_socket = m_program->read_until("\n");
    ASSERT_THAT(m_tty, testing::EndsWith("/ttyPC\n"));
    m_tty.pop_back();
    m_socket.pop_back();
    m_program->read_until("ready\n");
  }
  outcome ctl(const words& command) {
    words all = {HANDSET, "ctl", "--socket", m_socket};
    all.insert(all.end(), command.begin(), command.end());
    return run(all);
  }
  tty_end station() {
    tty_end end;
    end.attach(pub_fd(::open(m_tty.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)));
    return end;
  }

  std::optional<child> m_program;
  std::string m_tty;
  std::string m_socket;
};

TEST_F(ProgramRun, StationAfterStation_ReachesTheModem) {
  start();
  for (int round = 0; round < 3; ++round) {
    auto end = station();
    end.write_all("AT\r");
    EXPECT_EQ(end.read_exactly(6), "\r\nOK\r\n");
  }
}

TEST_F(ProgramRun, StationThatLockedItsTtyAndDied_DoesNotLockTheNextOut) {
  start();
  {
    auto end = station();
    end.write_all("AT\r");
    EXPECT_EQ(end.read_exactly(6), "\r\nOK\r\n");
    ASSERT_EQ(::ioctl(end.fd(), TIOCEXCL), 0);
  }
  // Until the old terminal is replaced, opening it is refused; root would get in anyway.
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  auto next = station();
  while (!next.plugged() && std::chrono::steady_clock::now() < deadline) next = station();
  next.write_all("AT\r");
  EXPECT_EQ(next.read_exactly(6), "\r\nOK\r\n");
}

TEST_F(ProgramRun, ControlCommands_ReachThePhone) {
  start();
  EXPECT_THAT(ctl({"status"}).output, StartsWith("service: running"));
  EXPECT_EQ(ctl({"prop", "set", "a.b", "c"}).status, exited(0));
  EXPECT_EQ(ctl({"prop", "get", "a.b"}).output, "c\n");
  EXPECT_EQ(ctl({"file", "write", "/amt/x", "y"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/x"}).output, "y");
  EXPECT_EQ(ctl({"modem", "board", "B9"}).status, exited(0));
  EXPECT_THAT(ctl({"modem", "state"}).output, HasSubstr("board: B9\n"));
  EXPECT_EQ(ctl({"modem", "silent", "perhaps"}).status, exited(2));
  EXPECT_EQ(ctl({"uevent"}).output, "usage: uevent STRING...\n");
  EXPECT_EQ(ctl({"nonsense"}).status, exited(2));
  auto end = station();
  end.write_all("AT\r");
  EXPECT_EQ(end.read_exactly(6), "\r\nOK\r\n");
  EXPECT_EQ(ctl({"modem", "say", "RING"}).status, exited(0));
  EXPECT_EQ(end.read_exactly(8), "\r\nRING\r\n");
}

TEST_F(ProgramRun, State_IsOfAllPartsOrOfOne) {
  start();
  EXPECT_THAT(ctl({"state"}).output, HasSubstr("\nkey light: off\nvibrator: still\n"));
  EXPECT_EQ(ctl({"file", "write", "/sys/class/leds/button-backlight/brightness", "1"}).status, exited(0));
  EXPECT_EQ(ctl({"state", "key", "light"}).output, "on\n");
  EXPECT_EQ(ctl({"state", "smell"}).output, "the hardware has no smell\n");
}

TEST_F(ProgramRun, Screenshot_IsWrittenWhereTheCallerIs) {
  start({"--screen", "48x80"});
  const fs::path folder = fs::temp_directory_path() / ("screenshot-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  EXPECT_EQ(ctl({"screenshot", fs::relative(folder / "one.png")}).status, exited(0));
  EXPECT_EQ(ctl({"screenshot", folder / "two.png", "both"}).status, exited(0));
  EXPECT_TRUE(fs::exists(folder / "one.png"));
  EXPECT_TRUE(fs::exists(folder / "two.png"));
  EXPECT_EQ(ctl({"screenshot", folder / "three.png", "all"}).status, exited(2));
  fs::remove_all(folder);
}

TEST_F(ProgramRun, DeviceCommands_SetWhatFailsAndTakeItBack) {
  start();
  EXPECT_EQ(ctl({"device", "fail", "EIO", "fb0", "FBIOGET_FSCREENINFO"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/handset/devices/faults"}).output, "5 fb0 FBIOGET_FSCREENINFO\n");
  EXPECT_EQ(ctl({"device", "fail", "ENONSENSE", "fb0"}).status, exited(2));
  EXPECT_EQ(ctl({"device", "heal"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/handset/devices/faults"}).status, exited(1));
  EXPECT_EQ(ctl({"device", "calls"}).output, "");
}

TEST_F(ProgramRun, ModemHangup_EndsTheServiceAndTheProgram) {
  start();
  EXPECT_EQ(ctl({"modem", "hangup"}).status, exited(0));
  EXPECT_THAT(m_program->rest(), StartsWith("hung up MODEM\nservice: exit status 0\n"));
  EXPECT_EQ(m_program->wait(), exited(0));
  EXPECT_EQ(ctl({"status"}).status, exited(1));
}

TEST_F(ProgramRun, Uevent_ReachesTheService) {
  start({"--", "uevent"});
  EXPECT_EQ(ctl({"uevent", "change@x", "USB_STATE=DISCONNECTED"}).status, exited(0));
  EXPECT_EQ(m_program->read_until("|\n"), "event change@x|USB_STATE=DISCONNECTED|\n");
}

TEST_F(ProgramRun, RecordFaults_AreMadeFromOutside) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/imei.txt", "1"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "mode", "/amt/imei.txt", "0"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "mode", "/amt/imei.txt", "644"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/imei.txt"}).output, "1");
  EXPECT_EQ(ctl({"file", "mode", "/amt/imei.txt", "9"}).status, exited(2));
  EXPECT_NE(ctl({"file", "mode", "/amt/none", "0"}).status, exited(0));
}

TEST_F(ProgramRun, FullFileSystem_KeepsTheContentUntilItIsHealed) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/imei.txt", "1"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "full", "/amt"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/imei.txt"}).output, "1");
  EXPECT_EQ(ctl({"file", "heal", "/amt"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/imei.txt"}).output, "1");
  EXPECT_EQ(ctl({"file", "heal", "/amt"}).output, "/amt does not fail\n");
  EXPECT_EQ(ctl({"file", "full", "/system"}).status, exited(1));
  EXPECT_EQ(ctl({"file", "full", "/amt/none"}).status, exited(1));
}

TEST_F(ProgramRun, UnknownNames_AreRefusedWithTheKnownOnes) {
  start({"--", "wait"});
  const words wrong[] = {{"library", "set", "hwt", "nosuch", "1"},
                         {"library", "set", "hwt", "hwt_btCheck", "x"},
                         {"library", "set", "nosuch", "hwt_btCheck", "1"},
                         {"device", "fail", "EIO", "nosuch", "open"},
                         {"device", "fail", "EIO", "fb0", "nosuch"},
                         {"device", "result", "1", "video0", "nosuch"},
                         {"modem", "nosuch", "1"},
                         {"mode", "nosuch"},
                         {"tty", "nosuch"},
                         {"file", "fail", "/amt/x", "nosuch"}};
  for (const auto& command : wrong) EXPECT_EQ(ctl(command).status, exited(2)) << command[1] << " " << command[2];
  EXPECT_THAT(ctl(wrong[0]).output, HasSubstr("hwt_gpsCtrl"));
  EXPECT_THAT(ctl(wrong[3]).output, HasSubstr("video0"));
  EXPECT_EQ(ctl({"file", "remove", "/amt/none"}).status, exited(1));
  EXPECT_EQ(ctl({"library", "set", "board", "wait create_devinfo(", "5"}).status, exited(0));
}

TEST_F(ProgramRun, Ended_StaysWithKeepAndStartsAgain) {
  start({"--keep", "--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/x", "y"}).status, exited(0));
  EXPECT_EQ(ctl({"start"}).status, exited(1));  // it runs
  EXPECT_EQ(ctl({"signal", "TERM"}).status, exited(0));
  m_program->read_until("the phone stays: ");
  EXPECT_THAT(ctl({"status"}).output, StartsWith("service: ended"));
  EXPECT_EQ(ctl({"file", "cat", "/amt/x"}).output, "y");
  EXPECT_EQ(ctl({"start"}).status, exited(0));
  m_program->read_until("ready\n");
  EXPECT_THAT(ctl({"status"}).output, StartsWith("service: running"));
}

TEST_F(ProgramRun, Ended_IsStartedAgainWithRestart) {
  start({"--restart", "--", "wait"});
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(ctl({"signal", "KILL"}).status, exited(0));
    EXPECT_THAT(m_program->read_until("ready\n"), HasSubstr("service: signal 9"));
  }
  EXPECT_EQ(ctl({"stop"}).status, exited(0));
  EXPECT_EQ(m_program->wait(), exited(128 + SIGTERM));
}

TEST_F(ProgramRun, OtherMode_KeepsRecordsAndTtys) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/x", "y"}).status, exited(0));
  const auto ttys = ctl({"tty"}).output + ctl({"tty", "app"}).output;
  EXPECT_EQ(ctl({"mode", "app"}).status, exited(0));
  m_program->read_until("ready\n");
  EXPECT_THAT(ctl({"status"}).output, HasSubstr("\nmode: app\n"));
  EXPECT_EQ(ctl({"tty"}).output + ctl({"tty", "app"}).output, ttys);
  EXPECT_EQ(ctl({"mode", "pc"}).status, exited(0));
  m_program->read_until("ready\n");
  EXPECT_THAT(ctl({"status"}).output, HasSubstr("\nmode: pc (simplified start)\n"));
  EXPECT_EQ(ctl({"file", "cat", "/amt/x"}).output, "y");
}

TEST_F(ProgramRun, Log_IsReadFromOutside) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"log"}).output, "ready\n");
  child follower({HANDSET, "ctl", "--socket", m_socket, "log", "-f"});
  EXPECT_EQ(follower.read_until("ready\n"), "ready\n");
  EXPECT_EQ(ctl({"stop"}).status, exited(0));
  EXPECT_EQ(follower.wait(), exited(0));
}

TEST_F(ProgramRun, FactoryImage_IsThereUnlessBare) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"prop", "get", "ro.build.display.id"}).output, "VX5210-4.2.0\n");
  EXPECT_THAT(ctl({"modem", "state"}).output, HasSubstr("imei: 490154203237518\n"));
  start({"--bare", "--", "wait"});
  EXPECT_EQ(ctl({"prop", "get", "ro.build.display.id"}).status, exited(1));
  EXPECT_THAT(ctl({"modem", "state"}).output, HasSubstr("imei: \n"));
  start({"--file", "/amt/usb_serial=mine", "--", "wait"});
  EXPECT_EQ(ctl({"file", "cat", "/amt/usb_serial"}).output, "mine");
}

TEST_F(ProgramRun, StopOrInterrupt_EndsTheServiceByTerm) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"stop"}).status, exited(0));
  EXPECT_EQ(m_program->wait(), exited(128 + SIGTERM));
  start({"--", "wait"});
  m_program->send_signal(SIGINT);
  EXPECT_EQ(m_program->wait(), exited(128 + SIGTERM));
  EXPECT_FALSE(fs::exists(m_tty));
}

TEST_F(ProgramRun, Killed_TakesTheServiceAlong) {
  start();
  auto end = station();
  ASSERT_TRUE(end.plugged());
  m_program->send_signal(SIGKILL);
  m_program->wait();
  EXPECT_TRUE(end.wait_hangup());  // not by its name: another phone may have got the terminal's number since
}

}  // namespace
