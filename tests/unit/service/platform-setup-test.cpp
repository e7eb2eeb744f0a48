// Bringing up the links to the test application and the modem.
#include "amt/amt-handle/service/platform-setup.h"

#include <cerrno>
#include <filesystem>
#include <thread>
#include <tuple>

#include "amt/amt-handle/life/lifetime.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "tests/unit/application.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/stop-worker.h"
#include "tests/unit/temp-folder.h"

namespace {

class PlatformSetup : public context_test {
 protected:
  PlatformSetup() {
    set_device(g_handle_context.m_pty_app.m_pts_mapping_name_a, m_folder.path("app"));
    set_device(g_amt_cfg.m_tty_at_mux_a, m_at.name());
  }
  ~PlatformSetup() override {
    stop_worker(g_handle_context.m_app_thread);
    if (g_handle_context.m_pty_app.m_ptm_fd > 0) std::ignore = pub_pty_close(&g_handle_context.m_pty_app);
  }
  // Brings the links up with a modem that answers the silencing so.
  void init_with_answer(const std::string& answer) {
    std::thread modem([this, answer] {
      EXPECT_EQ(m_at.receive_once(10), "AT^DLKS=0\r");
      m_at.send(answer);
    });
    EXPECT_EQ(init_for_amt_2_3(), ERR_NONE);
    modem.join();
    expect_up();
  }
  void expect_up() {
    EXPECT_EQ(g_amt_mode, AMT_MODE_PLATFORM);
    EXPECT_NE(g_handle_context.m_app_thread.m_tid, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder.path("app")));
  }
  void expect_answer() {
    application app(m_folder.path("app"));
    app.send("06 00 BB 2C 00 00");
    EXPECT_EQ(app.receive(15), "0F 00 BB 2D 09 00 EE 01 01 04 00 01 00 00 00");
  }
  signal_scope m_scope;  // a reader is stopped at its wait points only, not inside the log
  temp_folder m_folder;
  pty_link m_at;
};

TEST_F(PlatformSetup, ModemThatConfirms_IsUsed) {
  init_with_answer("\r\nOK\r\n");
  EXPECT_EQ(g_no_modem, 0);
  EXPECT_GT(g_handle_context.m_fd_at, 0);
  expect_answer();
}

TEST_F(PlatformSetup, ModemThatRefuses_IsUsedToo) {
  init_with_answer("\r\nERROR\r\n");
  EXPECT_EQ(g_no_modem, 0);
}

// Five answers without a final result take no time, unlike five without a byte.
TEST_F(PlatformSetup, ModemThatDoesNotAnswer_IsNone) {
  init_with_answer(std::string(5 * 18, 'x'));
  EXPECT_EQ(g_no_modem, 1);
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "The AT device is not opened with modem."}));
  expect_answer();
}

TEST_F(PlatformSetup, DeviceThatCannotBeOpened_IsNoModem) {
  set_device(g_amt_cfg.m_tty_at_mux_a, "");
  EXPECT_EQ(init_for_amt_2_3(), ERR_NONE);
  expect_up();
  EXPECT_EQ(g_no_modem, 1);
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "The AT device is not opened with modem."}));
}

TEST_F(PlatformSetup, TerminalThatCannotBeOpened_FailsBeforeTheModem) {
  set_device(g_handle_context.m_pty_app.m_pts_mapping_name_a, m_folder.path("no/app"));
  EXPECT_EQ(init_for_amt_2_3(), ERR_SYSTEM);
  EXPECT_EQ(g_amt_mode, AMT_MODE_AMT1);
  EXPECT_EQ(g_handle_context.m_app_thread.m_tid, 0);
  EXPECT_EQ(g_handle_context.m_pty_app.m_ptm_fd, -1);
  EXPECT_EQ(m_at.received(), "");
}

TEST_F(PlatformSetup, NoName_IsABadArgument) {
  set_device(g_handle_context.m_pty_app.m_pts_mapping_name_a, "");
  EXPECT_EQ(init_for_amt_2_3(), ERR_ARGUMENT);
  EXPECT_EQ(g_handle_context.m_pty_app.m_ptm_fd, -1);
}

TEST_F(PlatformSetup, ReaderThatCannotBeStarted_ClosesBothLinks) {
  const failing_call refused("pthread_create", EAGAIN);
  set_device(g_amt_cfg.m_tty_at_mux_a, "/dev/null");
  EXPECT_EQ(init_for_amt_2_3(), ERR_SYSTEM);
  EXPECT_TRUE(has_failure("init_for_amt_2_3", ERR_SYSTEM, "pthread_create() fail: 11"));
  EXPECT_EQ(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(g_handle_context.m_pty_app.m_ptm_fd, -1);
  EXPECT_FALSE(std::filesystem::is_symlink(m_folder.path("app")));
  EXPECT_EQ(g_amt_mode, AMT_MODE_AMT1);
}

}  // namespace
