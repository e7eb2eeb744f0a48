// The simulated modem on a real pseudo-terminal: its habits rather than its answers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <termios.h>

#include <thread>

#include "handset/modem/modem.h"
#include "handset/wire/event-loop.h"
#include "handset/wire/tty-end.h"

namespace {

using handset::modem_switches;
using namespace std::chrono_literals;

class ModemLink : public testing::Test {
 protected:
  ModemLink() : m_modem(m_loop), m_thread([this] { m_loop.run(); }) { plug(); }
  ~ModemLink() override {
    m_loop.stop();
    m_thread.join();
  }

  void plug() {
    pub_fd master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios attributes{};
    ASSERT_EQ(grantpt(master.get()), 0);
    ASSERT_EQ(unlockpt(master.get()), 0);
    ASSERT_EQ(tcgetattr(master.get(), &attributes), 0);
    cfmakeraw(&attributes);
    ASSERT_EQ(tcsetattr(master.get(), TCSANOW, &attributes), 0);
    m_slave = ptsname(master.get());
    open_slave();
    m_modem.attach(std::move(master));
  }
  void open_slave() { m_service.attach(pub_fd(::open(m_slave.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))); }
  void set(const std::function<void(modem_switches&)>& change) { m_modem.change_switches(change); }

  handset::event_loop m_loop;
  handset::modem m_modem;
  handset::tty_end m_service;
  std::string m_slave;
  std::thread m_thread;
};

const std::string OK = "\r\nOK\r\n";

TEST_F(ModemLink, AtText_IsAnswered) {
  m_service.write_all("AT\r");
  EXPECT_EQ(m_service.read_exactly(6), OK);
  EXPECT_EQ(m_modem.received().text(), "AT\r");
}

TEST_F(ModemLink, Echo_ReturnsABlockOf4095BytesUnchanged) {
  set([](auto& switches) { switches.echo = true; });
  std::string block;
  for (int at = 0; at < 4095; ++at) block.push_back(static_cast<char>(at * 7));
  m_service.write_all(block);
  EXPECT_EQ(m_service.read_exactly(4095), block);
}

TEST_F(ModemLink, EchoOfAMegabyte_IsHeldBackNotLost) {
  set([](auto& switches) { switches.echo = true; });
  std::string all;
  for (int at = 0; at < 1'000'000; ++at) all.push_back(static_cast<char>(at * 31 >> 3));
  std::thread writer([&] { EXPECT_TRUE(m_service.write_all(all)); });
  // Its own helper: m_service is the writer's.
  handset::tty_end reader;
  reader.attach(pub_fd(::open(m_slave.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)));
  EXPECT_EQ(reader.read_exactly(all.size()), all);
  writer.join();
}

TEST_F(ModemLink, Silent_TakesInAndSendsNothing) {
  set([](auto& switches) { switches.silent = true; });
  m_service.write_all("AT^DMSN=1\r");
  ASSERT_TRUE(m_modem.received().wait_for("AT^DMSN=1\r"));
  set([](auto& switches) { switches.silent = false; });
  m_service.write_all("AT^DMSN\r");
  EXPECT_EQ(m_service.read_until("OK\r\n"), "\r\n^DMSN: \r\n\r\nOK\r\n");
}

TEST_F(ModemLink, Delay_IsKeptBeforeTheAnswer) {
  set([](auto& switches) { switches.delay = 100ms; });
  const auto start = std::chrono::steady_clock::now();
  m_service.write_all("AT\r");
  EXPECT_EQ(m_service.read_exactly(6), OK);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 100ms);
}

TEST_F(ModemLink, UnsolicitedLine_IsNotHeldUpByADelayedAnswer) {
  set([](auto& switches) { switches.delay = 300ms; });
  m_service.write_all("AT\r");
  ASSERT_TRUE(m_modem.received().wait_for("AT\r"));
  m_modem.say("\r\nRING\r\n");
  EXPECT_EQ(m_service.read_exactly(14), "\r\nRING\r\n" + OK);
}

TEST_F(ModemLink, Split_SendsPiecesWithPausesBetween) {
  set([](auto& switches) {
    switches.split = 2;
    switches.gap = 50ms;
  });
  const auto start = std::chrono::steady_clock::now();
  m_service.write_all("AT\r");
  EXPECT_EQ(m_service.read_exactly(6), OK);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 100ms);  // three pieces
}

TEST_F(ModemLink, UnfinishedLine_IsNoiseAfterItsPatience) {
  set([](auto& switches) { switches.patience = 20ms; });
  m_service.write_all("AT^DMS");
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (m_modem.state().noise_bytes == 0 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  EXPECT_EQ(m_modem.state().noise_bytes, 6u);
  m_service.write_all("AT\r");
  EXPECT_EQ(m_service.read_exactly(6), OK);
}

TEST_F(ModemLink, ChannelSwitchWithoutItsEnd_IsDoneAfterItsPatience) {
  set([](auto& switches) { switches.patience = 20ms; });
  m_service.write_all("AT^DMPCHN=12");
  EXPECT_EQ(m_service.read_exactly(6), OK);
  EXPECT_EQ(m_modem.state().channel, "12");
}

TEST_F(ModemLink, HangUp_IsSeenAndANewLinkWorks) {
  m_modem.hang_up();
  EXPECT_TRUE(m_service.wait_hangup());
  EXPECT_FALSE(m_modem.attached());
  m_modem.say("lost");
  plug();
  m_service.write_all("AT\r");
  EXPECT_EQ(m_service.read_exactly(6), OK);
}

TEST_F(ModemLink, ServiceClosedAndOpenedAgain_IsAnswered) {
  m_service.detach();
  open_slave();
  m_service.write_all("AT\r");
  EXPECT_EQ(m_service.read_exactly(6), OK);
}

}  // namespace
