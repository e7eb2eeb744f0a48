// A service that forks and goes on as two: nothing of the parent's other threads stops the child, each has a life of
// its own, and two readers of one terminal can both be ended.
#include "amt/amt-handle/life/lifetime.h"

#include <stdio_ext.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <tuple>

#include "amt/amt-handle/life/timer.h"
#include "pub/log.h"
#include "pub/pty/pty.h"
#include "pub/util/io.h"
#include "pub/util/process.h"
#include "pub/util/signals.h"
#include "pub/util/thread.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/temp-folder.h"
#include "tests/unit/wait-for.h"

namespace {

constexpr pub_log_module_st k_log{"unit", "tests/two-processes"};

constexpr int DEADLINE_MS = 20000;

bool g_is_phones_fork = false;  // which frees no lock of a file in the child

}  // namespace

extern "C" {
pid_t __real_fork();
pid_t __wrap_fork();

pid_t __wrap_fork() {
  return g_is_phones_fork ? _Fork() : __real_fork();
}
}  // extern "C"

namespace {

// Runs `in_child` in a process that `make_process` forks and gives its result, or -1 when it had to be killed at the
// deadline.
template <typename Work>
int run_in_process(pid_t (*make_process)(), const Work& in_child) {
  int done[2];
  EXPECT_EQ(pipe2(done, O_CLOEXEC), 0);
  const pid_t child = make_process();
  if (child == 0) {
    const auto result = static_cast<char>(in_child());
    _exit(write(done[1], &result, 1) == 1 ? 0 : 1);
  }
  close(done[1]);
  pollfd wanted = {done[0], POLLIN, 0};
  char result = -1;
  if (poll(&wanted, 1, DEADLINE_MS) == 0 || read(done[0], &result, 1) != 1) kill(child, SIGKILL);
  close(done[0]);
  waitpid(child, nullptr, 0);  // unless the service takes note of its end itself
  return result;
}

template <typename Work>
int run_in_child(const Work& in_child) {
  return run_in_process(pub_util_fork, in_child);
}

template <typename Work>
int run_in_second_service(const Work& in_child) {
  return run_in_process(amt_handle_fork, in_child);
}

// Threads that do the same thing over and over until they are joined.
class busy_threads {
 public:
  explicit busy_threads(void (*work)()) {
    for (auto& thread : m_threads) {
      thread = std::thread([this, work] {
        while (!m_is_enough) work();
      });
    }
  }
  ~busy_threads() {
    m_is_enough = true;
    for (auto& thread : m_threads) thread.join();
  }
  busy_threads(const busy_threads&) = delete;
  busy_threads& operator=(const busy_threads&) = delete;

 private:
  std::atomic<bool> m_is_enough = false;
  std::array<std::thread, 3> m_threads;
};

using Deinit = context_test;

class TwoProcesses : public context_test {
 protected:
  TwoProcesses() {
    phone_root::require();  // the terminals have a fixed name
    set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end());
  }

  socket_link m_app;
};

TEST_F(TwoProcesses, Child_ForkedWhileOthersLog_CanLogAndForkAgain) {
  const busy_threads loggers([] { LOG_LINE("busy"); });
  for (int i = 0; i < 200; ++i) {
    const int result = run_in_child([] {
      LOG_LINE("child");
      return run_in_child([] {
        LOG_LINE("grandchild");
        return 7;
      });
    });
    ASSERT_EQ(result, 7) << "fork " << i;
    m_log.clear();
  }
}

TEST_F(TwoProcesses, Child_ForkedWhileOthersOpenFiles_CanOpenFiles) {
  g_is_phones_fork = true;
  const busy_threads openers([] { pub_util_fopen("/dev/null", "r"); });
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(run_in_child([] { return pub_util_fopen("/dev/null", "r") ? 7 : 1; }), 7) << "fork " << i;
    m_log.clear();
  }
  g_is_phones_fork = false;
}

TEST_F(TwoProcesses, Child_ForkedWhileALibraryPrints_CanPrint) {
  g_is_phones_fork = true;
  std::atomic<bool> is_printing = false;
  std::atomic<bool> is_enough = false;
  std::thread library([&] {
    flockfile(stdout);
    is_printing = true;
    is_printing.notify_all();
    is_enough.wait(false);
    funlockfile(stdout);
  });
  is_printing.wait(false);
  EXPECT_EQ(run_in_child([] {
              pub_print("child\n");
              return 7;
            }),
            7);
  is_enough = true;
  is_enough.notify_all();
  library.join();
  g_is_phones_fork = false;
}

int g_end_of_the_childs_worker[2];

void fork_then_return() {
  if (amt_handle_fork() != 0) return;
  std::thread([] {
    const char is_marked = wait_for([] { return g_handle_context.m_pc_thread.m_is_ended.load(); }) ? 7 : 1;
    _exit(write(g_end_of_the_childs_worker[1], &is_marked, 1) == 1 ? 0 : 1);
  }).detach();
}

TEST_F(TwoProcesses, Worker_OfTheChild_IsMarkedWhenItEnds) {
  ASSERT_EQ(pipe2(g_end_of_the_childs_worker, O_CLOEXEC), 0);
  ASSERT_EQ(pub_util_start_thread(g_handle_context.m_pc_thread, fork_then_return), 0);
  pollfd wanted = {g_end_of_the_childs_worker[0], POLLIN, 0};
  ASSERT_EQ(poll(&wanted, 1, DEADLINE_MS), 1);
  char is_marked = 0;
  EXPECT_EQ(read(g_end_of_the_childs_worker[0], &is_marked, 1), 1);
  EXPECT_EQ(is_marked, 7);
  EXPECT_TRUE(wait_for([] { return g_handle_context.m_pc_thread.m_is_ended.load(); }));  // in this process, too
  pub_util_clear_thread(g_handle_context.m_pc_thread);
  for (const int fd : g_end_of_the_childs_worker) close(fd);
}

TEST_F(TwoProcesses, Child_ForkedWhileOthersDeleteTimers_CanDeleteTimers) {
  const busy_threads deleters([] { amt_timer_delete(g_usbEnumTimer); });
  for (int i = 0; i < 200; ++i) {
    const int result = run_in_second_service([] {
      amt_timer_delete(g_handShakeTimer);
      return 7;
    });
    ASSERT_EQ(result, 7) << "fork " << i;
    m_log.clear();
  }
}

TEST_F(TwoProcesses, Child_ForkedWhileStandardOutputIsPending_HasNothingToPrintAgain) {
  std::printf("a line that is not at its end, ");
  ASSERT_NE(__fpending(stdout), 0u);
  EXPECT_EQ(run_in_child([] { return __fpending(stdout) == 0 ? 7 : 1; }), 7);
  EXPECT_TRUE(m_log.has("pub_util_fork()"));
  std::printf("and its end\n");
}

TEST_F(TwoProcesses, Child_OfAWorker_KnowsNoThreadButItsOwnAndNoTimer) {
  auto& context = g_handle_context;
  context.m_pc_thread.m_tid = gettid();
  context.m_modem_thread.m_tid = 1111;
  context.m_usb_thread.m_tid = 2222;
  context.m_app_thread.m_tid = 3333;
  g_usbEnumTimer.m_id = 5;
  g_handShakeTimer.m_id = 6;
  const int result = run_in_second_service([] {
    const bool is_alone = g_handle_context.m_pc_thread.m_tid == gettid() &&
                          g_handle_context.m_modem_thread.m_tid == 0 && g_handle_context.m_usb_thread.m_tid == 0 &&
                          g_handle_context.m_app_thread.m_tid == 0;
    const bool has_no_timer = g_usbEnumTimer.m_id == AMT_NO_TIMER && g_handShakeTimer.m_id == AMT_NO_TIMER;
    return is_alone && has_no_timer ? 7 : 1;
  });
  EXPECT_EQ(result, 7);
  g_usbEnumTimer.m_id = AMT_NO_TIMER;
  g_handShakeTimer.m_id = AMT_NO_TIMER;
}

TEST_F(TwoProcesses, Child_OfAServiceThatWasTornDown_HasATearDownOfItsOwn) {
  amt_deinit_resource();
  const int result = run_in_second_service([this] {
    m_log.clear();
    amt_deinit_resource();
    return m_log.has("amt_handle_deinit()") ? 7 : 1;
  });
  EXPECT_EQ(result, 7);
}

TEST_F(Deinit, WithNoWorkerLeft_ClosesEveryLink) {
  const socket_link at;
  set_link(g_handle_context.m_fd_at, at.service_end());
  EXPECT_EQ(amt_handle_deinit(), ERR_NONE);
  for (const int fd : {m_pc.service_end(), m_modem.service_end(), at.service_end()}) {
    EXPECT_EQ(fcntl(fd, F_GETFD), -1) << fd;
  }
}

TEST_F(TwoProcesses, PseudoTerminal_ClosedByTheChild_KeepsTheParentsLink) {
  pub_pty_st pty = {};
  std::strcpy(pty.m_pts_mapping_name_a, "/tmp/app-link");
  ASSERT_EQ(pub_pty_open(&pty), 0);
  const int result = run_in_child([&pty] { return pub_pty_close(&pty) == 0 && pty.m_ptm_fd == -1 ? 7 : 1; });
  EXPECT_EQ(result, 7);
  EXPECT_TRUE(std::filesystem::is_symlink("/tmp/app-link"));
  EXPECT_EQ(pub_pty_close(&pty), 0);
  EXPECT_FALSE(std::filesystem::is_symlink("/tmp/app-link"));
}

// The child's one thread is the reader of the terminal: its tear-down runs on it, and leaves the closing to the exit.
TEST_F(TwoProcesses, PseudoTerminal_AtTheTearDownOfTheChildsWorker_KeepsTheParentsLink) {
  auto& context = g_handle_context;
  auto& pty = context.m_pty_app;
  set_link(pty.m_ptm_fd, 0);
  std::strcpy(pty.m_pts_mapping_name_a, "/tmp/app-link");
  ASSERT_EQ(pub_pty_open(&pty), 0);
  context.m_app_thread.m_tid = gettid();
  const int result = run_in_second_service([] {
    amt_deinit_resource();
    return 7;
  });
  EXPECT_EQ(result, 7);
  EXPECT_TRUE(std::filesystem::is_symlink("/tmp/app-link"));
  context.m_app_thread.m_tid = 0;
  EXPECT_EQ(pub_pty_close(&pty), 0);
  pty.m_pts_mapping_name_a[0] = '\0';
}

TEST_F(TwoProcesses, PseudoTerminal_OpenedAnewByTheChild_IsTheChildsToRemove) {
  pub_pty_st pty = {};
  std::strcpy(pty.m_pts_mapping_name_a, "/tmp/app-link");
  ASSERT_EQ(pub_pty_open(&pty), 0);
  const int result = run_in_child([&pty] {
    if (pub_pty_open(&pty) != 0 || !std::filesystem::is_symlink("/tmp/app-link")) return 1;
    std::ignore = pub_pty_close(&pty);
    return std::filesystem::is_symlink("/tmp/app-link") ? 2 : 7;
  });
  EXPECT_EQ(result, 7);
  std::ignore = pub_pty_close(&pty);
}

// What two processes do that have lost the terminal they shared, here with a record for each.
TEST_F(TwoProcesses, PseudoTerminal_WhoseNameAnotherHasTaken_LeavesTheLink) {
  pub_pty_st first = {};
  pub_pty_st second = {};
  std::strcpy(first.m_pts_mapping_name_a, "/tmp/app-link");
  std::strcpy(second.m_pts_mapping_name_a, "/tmp/app-link");
  ASSERT_EQ(pub_pty_open(&first), 0);
  ASSERT_EQ(pub_pty_open(&second), 0);
  EXPECT_EQ(pub_pty_close(&first), 0);
  EXPECT_EQ(std::filesystem::read_symlink("/tmp/app-link"), second.m_pts_name_a);
  EXPECT_TRUE(m_log.has("pub_pty_delete_mapping \"/tmp/app-link\" is another process's"));
  EXPECT_EQ(pub_pty_close(&second), 0);
  EXPECT_FALSE(std::filesystem::is_symlink("/tmp/app-link"));
}

TEST_F(TwoProcesses, PseudoTerminals_OpenedAtTheSameMoment_LeaveTheLinkToOneOfThem) {
  for (int i = 0; i < 300; ++i) {
    std::array<pub_pty_st, 2> both = {};
    std::atomic<int> ready = 0;
    std::array<std::thread, 2> openers;
    for (std::size_t at = 0; at < both.size(); ++at) {
      std::strcpy(both[at].m_pts_mapping_name_a, "/tmp/app-link");
      openers[at] = std::thread([&ready, &pty = both[at]] {
        ++ready;
        while (ready < 2) {
        }
        std::ignore = pub_pty_open(&pty);
      });
    }
    for (auto& opener : openers) opener.join();
    ASSERT_TRUE(std::filesystem::is_symlink("/tmp/app-link")) << "round " << i;
    const std::string winner = std::filesystem::read_symlink("/tmp/app-link");
    EXPECT_TRUE(
        std::any_of(both.begin(), both.end(),
                    [&winner](const pub_pty_st& pty) { return pty.m_ptm_fd > 0 && winner == pty.m_pts_name_a; }))
        << "round " << i;
    for (auto& pty : both) std::ignore = pub_pty_close(&pty);
    ASSERT_FALSE(std::filesystem::is_symlink("/tmp/app-link")) << "round " << i;
    m_log.clear();
  }
}

// A terminal that reports one byte and then waits for nine more: a read of it blocks as if another reader had been
// faster.
void make_reads_block(int fd) {
  termios attributes = {};
  tcgetattr(fd, &attributes);
  cfmakeraw(&attributes);
  attributes.c_cc[VMIN] = 10;
  attributes.c_cc[VTIME] = 255;
  tcsetattr(fd, TCSANOW, &attributes);
}

int g_terminal;

void read_terminal() {
  char buffer[16];
  pub_util_read(g_terminal, buffer, sizeof buffer);
}

TEST_F(TwoProcesses, Read_BlockedAfterItsWait_LetsSignalsIn) {
  pty_link terminal;
  make_reads_block(terminal.service_end());
  terminal.send("x");
  g_terminal = terminal.service_end();
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, nullptr, &before);
  pub_util_block_signals();  // as the service does; the thread inherits it
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  pub_thread_st thread = {};
  ASSERT_EQ(pub_util_start_thread(thread, read_terminal), 0);
  const std::string task = "/proc/self/task/" + std::to_string(thread.m_tid);
  const std::string read_call = std::to_string(SYS_read) + " ";
  ASSERT_TRUE(wait_for([&] { return read_whole_file(task + "/syscall").starts_with(read_call); }));
  pub_util_kill_thread(&thread);
  EXPECT_TRUE(wait_for([&] { return !std::filesystem::exists(task); }));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// --- the end of a service

// What a process writes on its way out goes into this pipe.
int g_note;

void note(char what) {
  if (write(g_note, &what, 1) != 1) std::abort();
}

// Lets a second service run until it has ended, and gives what it noted; "killed" when it had to be.
template <typename Work>
std::string notes_of_second_service(const Work& in_child) {
  const signal_scope scope;
  int notes[2];
  EXPECT_EQ(pipe2(notes, O_CLOEXEC), 0);
  g_note = notes[1];
  const pid_t child = amt_handle_fork();
  if (child == 0) {
    in_child();
    _exit(1);
  }
  close(notes[1]);
  std::string result;
  char byte = 0;
  pollfd wanted = {notes[0], POLLIN, 0};
  while (poll(&wanted, 1, DEADLINE_MS) == 1 && read(notes[0], &byte, 1) == 1) result += byte;
  if (wanted.revents == 0) {
    kill(child, SIGKILL);
    result = "killed";
  }
  close(notes[0]);
  return result;
}

// The time on the way out that is not the tear-down's.
std::chrono::seconds stuck_for() {
  return std::chrono::seconds(15);
}

void be_stuck() {
  note('x');
  std::this_thread::sleep_for(stuck_for());
  note('y');
}

TEST_F(TwoProcesses, End_OfAServiceWhoseMainThreadIsStuck_TakesNoLongerThanTwoSeconds) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(notes_of_second_service([] {
              std::atexit([] { note('e'); });
              kill(getpid(), SIGTERM);
              be_stuck();
            }),
            "xe");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, stuck_for());
}

TEST_F(TwoProcesses, End_OfAServiceWhoseExitIsStuck_ComesAllTheSame) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(notes_of_second_service([] {
              std::atexit(be_stuck);
              amt_handle_end_service(0);
            }),
            "x");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, stuck_for());
}

// Whoever starts the service may hold signals back, and its threads inherit that.
TEST_F(TwoProcesses, End_StuckWithTheAlarmHeldBack_ComesAllTheSame) {
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
  const std::string notes = notes_of_second_service([] {
    std::atexit(be_stuck);
    amt_handle_end_service(0);
  });
  pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
  EXPECT_EQ(notes, "x");
}

TEST_F(TwoProcesses, Signal_WhileTheMainThreadWaits_IsTreatedThere) {
  EXPECT_EQ(notes_of_second_service([] {
              static pid_t main_thread;
              main_thread = gettid();
              std::atexit([] { note(gettid() == main_thread ? 'm' : 'o'); });
              pub_util_install_handler(SIGUSR2, signal_treatment);
              kill(getpid(), SIGUSR2);
              pub_util_sleep_forever();
            }),
            "m");
}

// It would be a service that outlives the one that ends.
TEST_F(TwoProcesses, Fork_OnceTheEndIsUnderWay_IsRefused) {
  EXPECT_EQ(notes_of_second_service([] {
              std::atexit([] {
                errno = 0;
                const pid_t child = amt_handle_fork();
                note(child == -1 && errno == ECANCELED ? 'r' : 'f');
              });
              amt_handle_end_service(0);
            }),
            "r");
}

TEST_F(TwoProcesses, Fork_WithAnEndingSignalPending_IsRefused) {
  for (const int signo : {SIGTERM, SIGUSR2}) {
    EXPECT_EQ(run_in_child([signo] {
                const signal_scope scope;
                raise(signo);
                errno = 0;
                return amt_handle_fork() == -1 && errno == ECANCELED ? 7 : 1;
              }),
              7)
        << signo;
  }
}

bool g_is_reported_at_the_signal;

// The tear-down would make the report too, but only after what the signal finds under way.
TEST_F(TwoProcesses, ExitOfARefusedStart_ReportsBeforeItsSignal) {
  phone_root::remove_properties();
  EXPECT_EQ(run_in_child([] {
              const signal_scope scope;
              pub_util_install_handler(SIGTERM, [](int) {
                g_is_reported_at_the_signal = phone_root::get_property("sys.vx.amt.failure.handshake") != "";
              });
              amt_handle_exit_refused();
              return g_is_reported_at_the_signal ? 7 : 1;
            }),
            7);
}

TEST_F(TwoProcesses, SecondService_ThatHasEnded_IsNoZombie) {
  const pid_t child = amt_handle_fork();
  if (child == 0) _exit(0);
  ASSERT_GT(child, 0);
  EXPECT_TRUE(wait_for([child] { return !std::filesystem::exists("/proc/" + std::to_string(child)); }));
}

}  // namespace
