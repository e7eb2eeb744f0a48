#include "pub/util/thread.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/thread-state.h"
#include "tests/unit/wait-for.h"

namespace {

using testing::ElementsAre;

// What the workers of these tests use; a worker takes no argument.
std::atomic<bool> g_has_left = false;  // the worker has left its function
int g_pipe[2] = {-1, -1};
std::atomic<bool> g_is_running = false;
std::atomic<bool> g_may_wait = false;
pub_thread_st g_thread;

class leave_mark {
 public:
  leave_mark() = default;
  ~leave_mark() { g_has_left = true; }
  leave_mark(const leave_mark&) = delete;
  leave_mark& operator=(const leave_mark&) = delete;
};

void sleep_for_ever() {
  const leave_mark mark;
  pub_util_sleep_forever();
}

void read_for_ever() {
  const leave_mark mark;
  char byte = 0;
  pub_util_read(g_pipe[0], &byte, 1);
}

void run_then_wait() {
  const leave_mark mark;
  g_is_running = true;
  while (!g_may_wait) {
  }
  pub_util_sleep_forever();
}

void return_at_once() {
  const leave_mark mark;
}

void clear_own_handle() {
  const leave_mark mark;
  pub_util_clear_thread(g_thread);
}

class Thread : public testing::Test {
 protected:
  Thread() {
    g_has_left = false;
    g_is_running = false;
    g_may_wait = false;
    g_thread.m_tid = 0;
    g_thread.m_is_ended = false;
    EXPECT_EQ(pipe2(g_pipe, O_CLOEXEC), 0);
    pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  }
  ~Thread() override {
    EXPECT_TRUE(has_left() || !m_is_started);
    for (const int fd : g_pipe) close(fd);
  }

  // Starts a worker and gives its id.
  pid_t start(void (*entry)()) {
    m_is_started = true;
    g_has_left = false;
    EXPECT_EQ(pub_util_start_thread(g_thread, entry), 0);
    return g_thread.m_tid;
  }
  bool has_left() const {
    return m_is_started && wait_for([] { return g_has_left.load(); });
  }
  // Until nothing of the thread can touch the handle any more.
  static bool is_gone(pid_t tid) {
    return wait_for([tid] { return syscall(SYS_tgkill, getpid(), tid, 0) != 0; });
  }

  bool m_is_started = false;
  signal_scope m_scope;
  log_capture m_log;
};

TEST_F(Thread, Start_FillsTheHandleBeforeItReturns) {
  const pid_t tid = start(sleep_for_ever);
  EXPECT_GT(tid, 0);
  EXPECT_NE(tid, gettid());
  EXPECT_FALSE(g_thread.m_is_ended);
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_TRUE(is_gone(tid));
}

TEST_F(Thread, KillSleepingThread_EndsItAndClearsTheHandle) {
  const pid_t tid = start(sleep_for_ever);
  const auto start_time = std::chrono::steady_clock::now();
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start_time, std::chrono::milliseconds(10));
  EXPECT_EQ(g_thread.m_tid, 0);
  EXPECT_TRUE(has_left());
  EXPECT_TRUE(is_gone(tid));
  EXPECT_TRUE(m_log.has("pub_util_handle_thread_signal()"));
  EXPECT_TRUE(m_log.has("thread " + std::to_string(tid) + " will be end"));
  EXPECT_EQ(m_log.texts().front(), "pub_util_kill_thread()");
}

TEST_F(Thread, KillReadingThread_EndsIt) {
  const pid_t tid = start(read_for_ever);
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_TRUE(has_left());
  EXPECT_TRUE(is_gone(tid));
  EXPECT_TRUE(m_log.has("thread " + std::to_string(tid) + " will be end"));
}

TEST_F(Thread, KillRunningThread_ActsAtItsNextWait) {
  const pid_t tid = start(run_then_wait);
  EXPECT_TRUE(wait_for([] { return g_is_running.load(); }));
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_FALSE(g_has_left);
  g_may_wait = true;
  EXPECT_TRUE(has_left());
  EXPECT_TRUE(is_gone(tid));
}

TEST_F(Thread, KillThreadThatHasEnded_LeavesTheHandleAsItWas) {
  const pid_t tid = start(return_at_once);
  EXPECT_TRUE(wait_for([] { return g_thread.m_is_ended.load(); }));
  EXPECT_TRUE(is_gone(tid));
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_EQ(g_thread.m_tid, tid);
  EXPECT_TRUE(g_thread.m_is_ended);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_kill_thread()"));
}

// The kernel gives ids out again.
TEST_F(Thread, KillThreadThatHasEnded_SparesTheNextOwnerOfItsId) {
  const pid_t other = start(sleep_for_ever);
  pub_thread_st old = {};
  old.m_tid = other;
  old.m_is_ended = true;
  EXPECT_EQ(pub_util_kill_thread(&old), 0);
  EXPECT_EQ(old.m_tid, other);
  EXPECT_FALSE(g_has_left);
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_TRUE(is_gone(other));
}

TEST_F(Thread, KillIdWithoutThread_LeavesTheHandleAsItWas) {
  g_thread.m_tid = 0x3FFFFFFF;  // above every thread id that Linux gives out
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_EQ(g_thread.m_tid, 0x3FFFFFFF);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_kill_thread()"));
}

TEST_F(Thread, KillThreadStoppedByAnother_LeavesTheHandleAsItWas) {
  const pid_t tid = start(sleep_for_ever);
  EXPECT_EQ(syscall(SYS_tgkill, getpid(), tid, SIGUSR1), 0);
  EXPECT_TRUE(wait_for([] { return g_thread.m_is_ended.load(); }));
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_EQ(g_thread.m_tid, tid);
  EXPECT_TRUE(is_gone(tid));
}

TEST_F(Thread, KillOwnThread_DoesNothing) {
  g_thread.m_tid = gettid();
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_EQ(g_thread.m_tid, gettid());
  sigset_t pending;
  ASSERT_EQ(sigpending(&pending), 0);
  EXPECT_EQ(sigismember(&pending, SIGUSR1), 0);
}

TEST_F(Thread, KillClearHandle_DoesNothing) {
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_EQ(g_thread.m_tid, 0);
}

TEST_F(Thread, KillNull_IsABadArgument) {
  EXPECT_EQ(pub_util_kill_thread(nullptr), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_kill_thread()", failure_line("util/util", "pub_util_kill_thread", -101), "1"));
}

TEST_F(Thread, SignalThatCannotBeSent_GivesItsErrorNumber) {
  g_thread.m_tid = -5;
  EXPECT_EQ(pub_util_kill_thread(&g_thread), EINVAL);
  EXPECT_EQ(g_thread.m_tid, -5);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_kill_thread()", failure_line("util/util", "pub_util_kill_thread", -118),
                          "pthread_kill(): 22 - Invalid argument"));
}

// A poll goes on watching the file that it has begun with.
TEST_F(Thread, WakeReadingThreadWhosePipeWasReplaced_ReadsTheNewOne) {
  const pid_t tid = start(read_for_ever);
  EXPECT_TRUE(wait_for([tid] { return state_of_thread(tid) == 'S'; }));
  int other[2];
  ASSERT_EQ(pipe2(other, O_CLOEXEC), 0);
  const int old = fcntl(g_pipe[0], F_DUPFD_CLOEXEC, 0);  // the old one is not closed, which would wake the thread
  EXPECT_EQ(dup3(other[0], g_pipe[0], O_CLOEXEC), g_pipe[0]);
  pub_util_wake_thread(g_thread);
  EXPECT_EQ(write(other[1], "x", 1), 1);
  const bool is_read = has_left();
  EXPECT_TRUE(is_read);
  if (!is_read) pub_util_kill_thread(&g_thread);
  EXPECT_TRUE(is_gone(tid));
  for (const int fd : {old, other[0], other[1]}) close(fd);
}

bool is_wake_pending() {
  sigset_t pending;
  EXPECT_EQ(sigpending(&pending), 0);
  return sigismember(&pending, PUB_WAKE_SIGNAL) == 1;
}

TEST_F(Thread, WakeThreadThatHasEnded_SparesTheNextOwnerOfItsId) {
  pub_thread_st old = {};
  old.m_tid = gettid();
  old.m_is_ended = true;
  pub_util_wake_thread(old);
  EXPECT_FALSE(is_wake_pending());
}

TEST_F(Thread, ClearedByItself_IsNotMarkedAsEnded) {
  start(clear_own_handle);
  EXPECT_TRUE(has_left());
  EXPECT_EQ(g_thread.m_tid, 0);
  EXPECT_FALSE(g_thread.m_is_ended);
}

TEST_F(Thread, StartAgain_ForgetsTheEndOfTheFirst) {
  const pid_t first = start(return_at_once);
  EXPECT_TRUE(wait_for([] { return g_thread.m_is_ended.load(); }));
  EXPECT_TRUE(is_gone(first));
  const pid_t second = start(sleep_for_ever);
  EXPECT_FALSE(g_thread.m_is_ended);
  EXPECT_EQ(pub_util_kill_thread(&g_thread), 0);
  EXPECT_EQ(g_thread.m_tid, 0);
  EXPECT_TRUE(is_gone(second));
}

TEST_F(Thread, HandlerWithAnotherSignal_LogsItAndGoesOn) {
  pub_util_handle_thread_signal(SIGUSR2);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_handle_thread_signal()",
                          failure_line("util/util", "pub_util_handle_thread_signal", -101), "unknown signal: 12"));
}

TEST_F(Thread, PrepareExitWithoutAThread_IsLogged) {
  const failing_call refused("pthread_create", EAGAIN);
  pub_util_prepare_thread_exit();
  EXPECT_EQ(m_log.last(), "pthread_create(): 11 - Resource temporarily unavailable");
}

}  // namespace
