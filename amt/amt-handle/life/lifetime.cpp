#include "amt/amt-handle/life/lifetime.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/timer.h"
#include "amt/amt-record/amt1-flag.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/process.h"
#include "pub/util/signals.h"

namespace {

constexpr std::uint32_t MAIN_THREAD_MS = 900;  // for the main thread to reach a wait point
constexpr unsigned END_SECONDS = 1;            // from the begin of an end until the process is gone

enum class phase { RUNNING, FORKING, ENDING };
std::atomic<phase> g_phase;  // of the process; a fork and an end exclude each other
std::atomic<int> g_exit_status;
pub_thread_st g_signal_thread;
std::atomic<bool> g_is_deinit_done;  // the tear-down has run, or is running
std::atomic<bool> g_is_refusal_reported;

void report_refusal_once() {
  if (!g_is_refusal_reported.exchange(true)) amt_set_handshake_permission();
}

// Stops a worker. False when it has not left: it is inside a call that lets no signal in, or is the calling thread.
bool stop_thread(pub_thread_st& thread) {
  if (thread.m_tid == 0) return true;
  pub_util_kill_thread(&thread);
  pub_util_clear_thread(thread);
  return thread.m_is_ended;
}

// Closes a link. One that a worker may still use is only cleared, so that its number cannot become another file under
// that worker; the process ends at once, and closes it then.
void close_link(pub_shared_fd& fd, bool is_unused) {
  if (is_unused) {
    fd.close();
  } else {
    fd.abandon();
  }
}

// A handle that is not the forker's names a thread of the parent.
void keep_own_thread(pub_thread_st& thread, pid_t forker) {
  if (thread.m_tid == forker) {
    thread.m_tid = gettid();
  } else {
    pub_util_clear_thread(thread);
  }
}

// The calling thread ends the process: it alone goes on, and nothing may stop it half-way.
void take_the_end() {
  for (;;) {
    phase expected = phase::RUNNING;
    if (g_phase.compare_exchange_strong(expected, phase::ENDING)) break;
    if (expected == phase::ENDING) pub_util_sleep_forever();
    g_phase.wait(expected);
  }
  pub_util_keep_signals_out();
}

void leave_now(int) {
  _exit(g_exit_status);
}

// The closing of a tty waits for output that nobody reads; exit(3) waits for a lock that a thread may hold inside a
// library, and runs what libraries have registered.
void limit_the_end(int status) {
  g_exit_status = status;
  std::signal(SIGALRM, leave_now);
  sigset_t limit;
  sigemptyset(&limit);
  sigaddset(&limit, SIGALRM);
  pthread_sigmask(SIG_UNBLOCK, &limit, nullptr);
  alarm(END_SECONDS);
}

// A signal that is to end the process has come, and no thread has taken it yet.
bool is_end_pending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGTERM) == 1 || sigismember(&pending, SIGUSR2) == 1;
}

// Gets a signal of the process only while the main thread does not wait: the system asks that one first.
void treat_signals() {
  pub_util_keep_signals_out();
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGTERM);
  sigaddset(&ending, SIGUSR2);
  int signo = 0;
  while (sigwait(&ending, &signo) != 0) {
  }
  syscall(SYS_tgkill, getpid(), getpid(), signo);  // the main thread has the number of the process
  pub_util_sleep_ms(MAIN_THREAD_MS);
  if (g_phase == phase::ENDING) pub_util_sleep_forever();
  signal_treatment(signo);
}

// The calling thread is the only one of a process that was forked from the service.
void become_child(pid_t forker) {
  auto& context = g_handle_context;
  keep_own_thread(context.m_modem_thread, forker);
  keep_own_thread(context.m_pc_thread, forker);
  keep_own_thread(context.m_usb_thread, forker);
  keep_own_thread(context.m_app_thread, forker);
  amt_timer_become_child();
  g_phase = phase::RUNNING;
  g_is_deinit_done = false;
  amt_handle_watch_signals();
}

}  // namespace

void amt_deinit_resource() {
  if (!g_is_deinit_done.exchange(true)) std::ignore = amt_handle_deinit();
}

result_code_en amt_handle_deinit() {
  g_is_deinit_done = true;
  pub_log_entry(k_log);
  auto& context = g_handle_context;
  const bool modem_has_left = stop_thread(context.m_modem_thread);
  const bool pc_has_left = stop_thread(context.m_pc_thread);
  stop_thread(context.m_usb_thread);
  const bool app_has_left = stop_thread(context.m_app_thread);
  const result_code_en result =
      app_has_left ? pub_pty_close(&context.m_pty_app) : pub_pty_delete_mapping(&context.m_pty_app);
  amt_timer_delete(g_usbEnumTimer);
  amt_timer_delete(g_handShakeTimer);
  if (g_usb_activate != 0) report_refusal_once();
  // Last: the closing of a tty may take long.
  close_link(context.m_fd_pc, modem_has_left && pc_has_left);
  close_link(context.m_fd_at, app_has_left && pc_has_left);
  close_link(context.m_fd_modem, modem_has_left && pc_has_left);
  return result;
}

void amt_handle_end_service(int status) {
  take_the_end();
  limit_the_end(status);
  amt_deinit_resource();
  std::exit(status);
}

void signal_treatment(int signo) {
  pub_log_entry(k_log);
  LOG_LINE("receive signal: %d - %s", signo, pub_util_signal_name(signo));
  pub_log_entry({k_log, "amt_deinit_resource"});
  amt_handle_end_service(EXIT_SUCCESS);
}

void amt_handle_watch_signals() {
  const int error = pub_util_start_thread(g_signal_thread, treat_signals);
  if (error != 0) pub_log_failure(k_log, ERR_SYSTEM, "pthread_create(): %d - %s", error, std::strerror(error));
}

pid_t amt_handle_fork() {
  phase expected = phase::RUNNING;
  if (is_end_pending() || !g_phase.compare_exchange_strong(expected, phase::FORKING)) {
    errno = ECANCELED;
    return -1;
  }
  const pid_t self = gettid();
  const pid_t child = pub_util_fork();
  if (child == 0) {
    become_child(self);
    return child;
  }
  const int error = errno;
  g_phase = phase::RUNNING;
  g_phase.notify_all();
  if (child > 0) pub_util_reap(child);
  errno = error;
  return child;
}

void amt_handle_exit_refused() {
  report_refusal_once();
  amt_timer_delete(g_usbEnumTimer);
  amt_timer_delete(g_handShakeTimer);
  kill(getpid(), SIGTERM);
  // The signal acts here, before the caller goes on as if its start had only failed. The main thread may get it by way
  // of the thread that waits for signals.
  pub_util_sleep_ms(MAIN_THREAD_MS);
}
