// The cable by which somebody on the host plays the phone's test application.
#include "handset/phone/app-cable.h"

#include <fcntl.h>

#include <thread>

#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

const std::string REQUEST = frame(13, "");
const std::string ANSWER = result_frame(14, "00000000");

class AppCable : public testing::Test {
 protected:
  AppCable()
      : m_phone(platform()),
        m_cable(m_loop, m_phone, m_phone.folder() / "ttyAPP"),
        m_thread([this] { m_loop.run(); }) {}
  ~AppCable() override {
    m_loop.stop();
    m_thread.join();
  }
  void expect_served() {
    const auto path = m_phone.folder() / "ttyAPP";
    handset::tty_end player;
    player.attach(pub_fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)));
    ASSERT_TRUE(player.write_all(REQUEST));
    EXPECT_EQ(to_hex(player.read_exactly(ANSWER.size())), to_hex(ANSWER));
    EXPECT_EQ(m_phone.log().count("pty disconnect: "), m_left);
  }

  std::size_t m_left = 0;  // players before this one
  handset::phone m_phone;
  handset::event_loop m_loop;
  handset::app_cable m_cable;
  std::thread m_thread;
};

TEST_F(AppCable, PlayerAfterPlayer_IsServedOnATerminalOfHisOwn) {
  m_phone.start();
  ASSERT_TRUE(m_phone.wait_log("amt_handle_read_app_loop()"));
  while (m_left < 4) {
    expect_served();
    ASSERT_TRUE(wait_terminals(m_phone, ++m_left + 1));
  }
}

TEST_F(AppCable, PlayerBeforeTheService_IsServedWhenItComes) {
  std::thread player([this] { expect_served(); });
  m_phone.start();
  player.join();
}

TEST_F(AppCable, ServiceStartedAgain_IsFound) {
  m_phone.start();
  expect_served();
  end_with(m_phone, SIGTERM);
  m_phone.start();
  expect_served();
}

}  // namespace
