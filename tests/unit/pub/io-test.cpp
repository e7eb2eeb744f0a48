#include "pub/util/io.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <thread>

#include "pub/util/signals.h"
#include "pub/util/thread.h"
#include "tests/unit/pub/pipe.h"
#include "tests/unit/pub/terminals.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/temp-folder.h"
#include "tests/unit/thread-state.h"
#include "tests/unit/wait-for.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// --- reading

TEST(Read, DataThere_IsGivenInOnePiece) {
  const pipe_st pipe;
  ASSERT_EQ(write(pipe.m_write, "abcdef", 6), 6);
  char buffer[4] = "";
  EXPECT_EQ(pub_util_read(pipe.m_read, buffer, 4), 4);
  EXPECT_EQ(std::memcmp(buffer, "abcd", 4), 0);
  EXPECT_EQ(pub_util_read(pipe.m_read, buffer, 4), 2);
}

TEST(Read, NothingThere_WaitsForIt) {
  const pipe_st pipe;
  std::thread writer([&pipe] { EXPECT_EQ(write(pipe.m_write, "x", 1), 1); });
  char byte = 0;
  EXPECT_EQ(pub_util_read(pipe.m_read, &byte, 1), 1);
  EXPECT_EQ(byte, 'x');
  writer.join();
}

TEST(Read, NonBlockingDescriptor_WaitsToo) {
  const pipe_st pipe;
  ASSERT_EQ(fcntl(pipe.m_read, F_SETFL, O_NONBLOCK), 0);
  std::thread writer([&pipe] { EXPECT_EQ(write(pipe.m_write, "x", 1), 1); });
  char byte = 0;
  EXPECT_EQ(pub_util_read(pipe.m_read, &byte, 1), 1);
  writer.join();
}

TEST(Read, NoRoom_IsZeroAtOnce) {
  const pipe_st pipe;  // nothing to read in it: a wait would never end
  char byte = 0;
  EXPECT_EQ(pub_util_read(pipe.m_read, &byte, 0), 0);
  EXPECT_EQ(pub_util_read(-1, &byte, 0), 0);
}

TEST(Read, TerminalThatHungUp_IsAnIoError) {
  terminal_pair pair;
  pair.hang_up();
  char byte = 0;
  for (int again = 0; again < 3; ++again) {
    errno = 0;
    EXPECT_EQ(pub_util_read(pair.slave(), &byte, 1), -1);
    EXPECT_EQ(errno, EIO);
  }
}

TEST(Read, TerminalThatHangsUpDuringTheWait_IsAnIoError) {
  terminal_pair pair;
  std::thread unplug([&pair] { pair.hang_up(); });
  char byte = 0;
  EXPECT_EQ(pub_util_read(pair.slave(), &byte, 1), -1);
  EXPECT_EQ(errno, EIO);
  unplug.join();
}

TEST(Read, MasterWhoseSlaveIsClosed_IsAnIoError) {
  const pub_fd master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  char name[64];
  ASSERT_EQ(grantpt(master.get()) | unlockpt(master.get()) | ptsname_r(master.get(), name, sizeof name), 0);
  close(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
  char byte = 0;
  EXPECT_EQ(pub_util_read(master.get(), &byte, 1), -1);
  EXPECT_EQ(errno, EIO);
}

TEST(Read, WriterGone_GivesTheRestAndThenAnIoError) {
  pipe_st pipe;
  ASSERT_EQ(write(pipe.m_write, "ab", 2), 2);
  pipe.close_write();
  char buffer[8];
  EXPECT_EQ(pub_util_read(pipe.m_read, buffer, sizeof buffer), 2);
  EXPECT_EQ(pub_util_read(pipe.m_read, buffer, sizeof buffer), -1);
  EXPECT_EQ(errno, EIO);
}

TEST(Read, EndOfAFile_IsZero) {
  const temp_folder folder;
  const pub_fd fd(pub_util_open(folder.write("f", "a").c_str(), O_RDONLY));
  char buffer[8];
  EXPECT_EQ(pub_util_read(fd.get(), buffer, sizeof buffer), 1);
  EXPECT_EQ(pub_util_read(fd.get(), buffer, sizeof buffer), 0);
}

TEST(Read, ClosedDescriptor_IsABadDescriptor) {
  char byte = 0;
  for (const int fd : {-1, 1000000}) {
    errno = 0;
    EXPECT_EQ(pub_util_read(fd, &byte, 1), -1) << fd;
    EXPECT_EQ(errno, EBADF) << fd;
  }
}

TEST(Read, Folder_FailsWithItsError) {
  const temp_folder folder;
  const pub_fd fd(open(folder.path("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  char byte = 0;
  EXPECT_EQ(pub_util_read(fd.get(), &byte, 1), -1);
  EXPECT_EQ(errno, EISDIR);
}

// --- signals at wait points

std::atomic<int> g_handled = 0;
std::atomic<int> g_answer_fd = -1;

void count_signal(int) {
  ++g_handled;
  if (g_answer_fd >= 0 && write(g_answer_fd, "s", 1) != 1) std::abort();
}

class Signals : public testing::Test {
 protected:
  Signals() {
    g_handled = 0;
    g_answer_fd = -1;
    for (const int signo : {SIGTERM, SIGUSR2, SIGUSR1}) pub_util_install_handler(signo, count_signal);
  }
  signal_scope m_scope;
};

void raise_here(int signo) {
  ASSERT_EQ(syscall(SYS_tgkill, getpid(), gettid(), signo), 0);
}

TEST_F(Signals, WhileCodeRuns_AreHeld) {
  raise_here(SIGTERM);
  raise_here(SIGUSR2);
  EXPECT_EQ(g_handled, 0);
  EXPECT_EQ(pub_util_wait(-1, 0, 0), 0);
  EXPECT_EQ(g_handled, 2);
}

TEST_F(Signals, DuringARead_ActAndTheReadGoesOn) {
  const pipe_st pipe;
  g_answer_fd = pipe.m_write;
  const pid_t reader = gettid();
  std::thread sender([reader] {
    EXPECT_TRUE(wait_for([reader] { return state_of_thread(reader) == 'S'; }));
    EXPECT_EQ(syscall(SYS_tgkill, getpid(), reader, SIGTERM), 0);
  });
  char byte = 0;
  EXPECT_EQ(pub_util_read(pipe.m_read, &byte, 1), 1);
  EXPECT_EQ(byte, 's');  // what the handler wrote
  EXPECT_EQ(g_handled, 1);
  sender.join();
}

TEST_F(Signals, DuringASleep_DoNotShortenIt) {
  raise_here(SIGTERM);
  const auto start = steady_clock::now();
  pub_util_sleep_ms(30);
  EXPECT_GE(steady_clock::now() - start, milliseconds(30));
  EXPECT_EQ(g_handled, 1);
}

TEST_F(Signals, StopSignalOutsideAWorker_IsHeldEvenInAWait) {
  raise_here(SIGUSR1);
  EXPECT_EQ(pub_util_wait(-1, 0, 0), 0);
  EXPECT_EQ(g_handled, 0);
}

TEST_F(Signals, StopSignalInAWorker_ActsInAWait) {
  std::thread([] {
    pub_util_let_thread_signal_in();
    raise_here(SIGUSR1);
    EXPECT_EQ(g_handled, 0);
    EXPECT_EQ(pub_util_wait(-1, 0, 0), 0);
    EXPECT_EQ(g_handled, 1);
  }).join();
}

int g_full_terminal;

void fill_terminal() {
  static const std::string much(1 << 20, 'x');
  pub_util_write(g_full_terminal, much.data(), much.size());
  ADD_FAILURE() << "the write came back";
}

// A terminal that nobody reads, filled with one write.
TEST_F(Signals, StopSignalInAWorker_ActsInAWriteWithoutRoom) {
  const terminal_pair terminal;
  g_full_terminal = terminal.master();
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  pub_thread_st writer = {};
  ASSERT_EQ(pub_util_start_thread(writer, fill_terminal), 0);
  const pid_t tid = writer.m_tid;
  EXPECT_TRUE(wait_for([tid] { return state_of_thread(tid) == 'S'; }));
  EXPECT_EQ(syscall(SYS_tgkill, getpid(), tid, SIGUSR1), 0);
  EXPECT_TRUE(wait_for([&writer] { return bool{writer.m_is_ended}; }));
}

// It tells a thread to look again, not to leave a part of its bytes unwritten.
TEST_F(Signals, WakeSignal_DoesNotCutAWrite) {
  terminal_pair terminal;
  termios raw = terminal.attributes();
  cfmakeraw(&raw);
  terminal.set_attributes(raw);
  pub_util_install_handler(PUB_WAKE_SIGNAL, count_signal);
  const std::string much(100'000, 'x');
  std::atomic<pid_t> writer = 0;
  std::thread worker([&] {
    pub_util_let_thread_signal_in();
    writer = gettid();
    EXPECT_EQ(pub_util_write(terminal.master(), much.data(), much.size()), static_cast<ssize_t>(much.size()));
  });
  EXPECT_TRUE(wait_for([&writer] { return writer != 0 && state_of_thread(writer) == 'S'; }));
  EXPECT_EQ(syscall(SYS_tgkill, getpid(), writer.load(), PUB_WAKE_SIGNAL), 0);
  std::string read_back(much.size(), '\0');
  for (std::size_t got = 0; got < much.size();) {
    const ssize_t count = read(terminal.slave(), read_back.data() + got, much.size() - got);
    ASSERT_GT(count, 0);
    got += static_cast<std::size_t>(count);
  }
  worker.join();
  EXPECT_EQ(read_back, much);
  std::signal(PUB_WAKE_SIGNAL, SIG_DFL);
}

TEST_F(Signals, DuringACommand_Act) {
  const pid_t self = gettid();
  std::atomic<bool> is_running = true;
  std::thread sender([self, &is_running] {
    EXPECT_TRUE(wait_for([self] { return state_of_thread(self) == 'S'; }));
    EXPECT_EQ(syscall(SYS_tgkill, getpid(), self, SIGTERM), 0);
    EXPECT_TRUE(wait_for([] { return g_handled == 1; }));
    EXPECT_TRUE(is_running);
  });
  EXPECT_EQ(pub_util_run_command("sleep 3"), 0);
  is_running = false;
  sender.join();
}

TEST_F(Signals, KeptOut_DoNotActInAWait) {
  std::thread([] {
    pub_util_let_thread_signal_in();
    pub_util_keep_signals_out();
    for (const int signo : {SIGTERM, SIGUSR2, SIGUSR1}) raise_here(signo);
    EXPECT_EQ(pub_util_wait(-1, 0, 0), 0);
  }).join();
  EXPECT_EQ(g_handled, 0);
}

TEST_F(Signals, NewThread_InheritsTheBlock) {
  std::thread([] {
    sigset_t mask;
    ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &mask), 0);
    for (const int signo : {SIGTERM, SIGUSR2, SIGUSR1, PUB_WAKE_SIGNAL}) {
      EXPECT_EQ(sigismember(&mask, signo), 1) << signo;
    }
    EXPECT_EQ(sigismember(&mask, SIGINT), 0);
  }).join();
}

int g_held_in_handler = 0;

void look_at_mask(int) {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  for (const int signo : {SIGTERM, SIGUSR2, SIGUSR1}) g_held_in_handler += sigismember(&mask, signo);
}

TEST_F(Signals, InAHandler_AllThreeAreHeld) {
  g_held_in_handler = 0;
  pub_util_install_handler(SIGUSR2, look_at_mask);
  raise_here(SIGUSR2);
  EXPECT_EQ(pub_util_wait(-1, 0, 0), 0);
  EXPECT_EQ(g_held_in_handler, 3);
}

// Two threads that wait for one byte each. One byte wakes both: the one that gets nothing has to wait on, whether that
// is in the read itself (where a signal may interrupt it) or, on a descriptor that does not block, again before it.
class two_readers {
 public:
  explicit two_readers(int fd) {
    for (int n = 0; n < 2; ++n) {
      m_threads[n] = std::thread([this, fd, n] {
        m_tids[n] = gettid();
        char byte = 0;
        m_results[n] = static_cast<int>(pub_util_read(fd, &byte, 1));
      });
    }
    for (int n = 0; n < 2; ++n) EXPECT_TRUE(wait_for([this, n] { return is_waiting(n); }));
  }
  ~two_readers() {
    for (auto& thread : m_threads) thread.join();
    EXPECT_EQ(m_results[0], 1);
    EXPECT_EQ(m_results[1], 1);
  }
  two_readers(const two_readers&) = delete;
  two_readers& operator=(const two_readers&) = delete;

  bool has_one_read() const { return m_results[0] != RUNNING || m_results[1] != RUNNING; }

 private:
  static constexpr int RUNNING = 99;
  bool is_waiting(int n) const { return m_tids[n] != 0 && state_of_thread(m_tids[n]) == 'S'; }

  std::atomic<pid_t> m_tids[2] = {0, 0};
  std::atomic<int> m_results[2] = {RUNNING, RUNNING};
  std::thread m_threads[2];
};

constexpr int RACES = 200;  // whether both have looked before one of them reads is up to the system

TEST_F(Signals, TwoReadersOfAPipeThatDoesNotBlock_TheSlowerWaitsOn) {
  const pipe_st pipe;
  ASSERT_EQ(fcntl(pipe.m_read, F_SETFL, O_NONBLOCK), 0);
  for (int race = 0; race < RACES && !HasFailure(); ++race) {
    two_readers readers(pipe.m_read);
    EXPECT_EQ(write(pipe.m_write, "x", 1), 1);
    EXPECT_TRUE(wait_for([&readers] { return readers.has_one_read(); }));
    EXPECT_EQ(write(pipe.m_write, "y", 1), 1);
  }
}

sigset_t mask_of_this_thread() {
  sigset_t mask;
  EXPECT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &mask), 0);
  return mask;
}

testing::AssertionResult is_same_mask(const sigset_t& one, const sigset_t& other) {
  for (int signo = 1; signo < SIGRTMIN; ++signo) {
    if (sigismember(&one, signo) != sigismember(&other, signo))
      return testing::AssertionFailure() << "signal " << signo;
  }
  return testing::AssertionSuccess();
}

// They are let in for the call alone.
TEST_F(Signals, AfterAReadAndAWrite_AreHeldAgain) {
  const pipe_st pipe;
  const sigset_t before = mask_of_this_thread();
  ASSERT_EQ(pub_util_write(pipe.m_write, "x", 1), 1);
  EXPECT_TRUE(is_same_mask(mask_of_this_thread(), before));
  char byte = 0;
  ASSERT_EQ(pub_util_read(pipe.m_read, &byte, 1), 1);
  EXPECT_TRUE(is_same_mask(mask_of_this_thread(), before));
}

// --- waiting and sleeping

TEST(Wait, DataThere_IsReady) {
  const pipe_st pipe;
  ASSERT_EQ(write(pipe.m_write, "x", 1), 1);
  EXPECT_EQ(pub_util_wait(pipe.m_read, POLLIN, 10000), 1);
  EXPECT_EQ(pub_util_wait(pipe.m_write, POLLOUT, 10000), 1);
}

TEST(Wait, NothingThere_TimesOut) {
  const pipe_st pipe;
  const auto start = steady_clock::now();
  EXPECT_EQ(pub_util_wait(pipe.m_read, POLLIN, 20), 0);
  EXPECT_GE(steady_clock::now() - start, milliseconds(20));
}

TEST(Wait, NegativeDescriptor_IsNeverReady) {
  EXPECT_EQ(pub_util_wait(-1, POLLIN, 1), 0);
}

TEST(Sleep, Time_IsSleptWhole) {
  auto start = steady_clock::now();
  pub_util_sleep_ms(20);
  EXPECT_GE(steady_clock::now() - start, milliseconds(20));
  start = steady_clock::now();
  pub_util_sleep_us(1500);
  EXPECT_GE(steady_clock::now() - start, std::chrono::microseconds(1500));
}

// --- writing

TEST(Write, OpenDescriptor_TakesTheBytes) {
  const pipe_st pipe;
  EXPECT_EQ(pub_util_write(pipe.m_write, "abc", 3), 3);
  char buffer[4] = "";
  EXPECT_EQ(read(pipe.m_read, buffer, 4), 3);
}

TEST(Write, FullNonBlockingPipe_GivesWhatWasTaken) {
  const pipe_st pipe;
  ASSERT_EQ(fcntl(pipe.m_write, F_SETFL, O_NONBLOCK), 0);
  const std::string data(1 << 20, 'x');
  const ssize_t taken = pub_util_write(pipe.m_write, data.data(), data.size());
  EXPECT_GT(taken, 0);
  EXPECT_LT(taken, static_cast<ssize_t>(data.size()));
  EXPECT_EQ(pub_util_write(pipe.m_write, "y", 1), -1);
  EXPECT_EQ(errno, EAGAIN);
}

// A link that is closed has the number 0, which must not lead to whatever descriptor 0 is.
TEST(Write, ClosedLink_IsABadDescriptor) {
  const pipe_st pipe;
  const int saved = fcntl(0, F_DUPFD_CLOEXEC, 3);
  ASSERT_EQ(dup2(pipe.m_write, 0), 0);
  for (const int fd : {0, -1}) {
    errno = 0;
    EXPECT_EQ(pub_util_write(fd, "x", 1), -1) << fd;
    EXPECT_EQ(errno, EBADF) << fd;
  }
  close(0);
  if (saved >= 0) {
    dup2(saved, 0);
    close(saved);
  }
}

}  // namespace
