#include "pub/util/signals.h"

#include <cstdint>

namespace {

struct signal_name_st {
  std::uint32_t m_number;
  const char* m_name;
  char m_action;  // T terminate, A abort, I ignore, C continue, S stop
  const char* m_description;
};

constexpr signal_name_st SIGNAL_NAMES[] = {
    {1, "SIGHUP", 'T', "Hangup (POSIX)."},
    {2, "SIGINT", 'T', "Terminal interrupt signal (ANSI)."},
    {3, "SIGQUIT", 'A', "Terminal quit signal (POSIX)."},
    {4, "SIGILL", 'A', "Illegal instruction (ANSI)."},
    {5, "SIGTRAP", 'A', "Trace/breakpoint trap (POSIX)."},
    {6, "SIGABRT", 'A', "Process abort signal (ANSI)."},
    {6, "SIGIOT", 'A', "IOT trap (4.2 BSD)."},
    {7, "SIGBUS", 'A', "Access to an undefined portion of a memory object (4.2 BSD)."},
    {8, "SIGFPE", 'A', "Erroneous arithmetic operation (ANSI)."},
    {9, "SIGKILL", 'T', "Kill (cannot be caught or ignored) (POSIX)."},
    {10, "SIGUSR1", 'T', "User-defined signal 1 (POSIX)."},
    {11, "SIGSEGV", 'A', "Invalid memory reference (ANSI)."},
    {12, "SIGUSR2", 'T', "User-defined signal 2 (POSIX)."},
    {13, "SIGPIPE", 'T', "Write on a pipe with no one to read it (POSIX)."},
    {14, "SIGALRM", 'T', "Alarm clock (POSIX)."},
    {15, "SIGTERM", 'T', "Termination signal (ANSI)."},
    {16, "SIGSTKFLT", '?', "Stack fault"},
    {17, "SIGCHLD", 'I', "Child process terminated, stopped (POSIX)."},
    {18, "SIGCONT", 'C', "Continue executing, if stopped (POSIX)."},
    {19, "SIGSTOP", 'S', "Stop executing (cannot be caught or ignored) (POSIX)."},
    {20, "SIGTSTP", 'S', "Terminal stop signal (POSIX)."},
    {21, "SIGTTIN", 'S', "Background process attempting read (POSIX)."},
    {22, "SIGTTOU", 'S', "Background process attempting write (POSIX)."},
    {23, "SIGURG", 'I', "High bandwidth data is available at a socket (4.2 BSD)."},
    {24, "SIGXCPU", 'A', "CPU time limit exceeded (4.2 BSD)."},
    {25, "SIGXFSZ", 'A', "File size limit exceeded (4.2 BSD)."},
    {26, "SIGVTALRM", 'T', "Virtual timer expired (4.2 BSD)."},
    {27, "SIGPROF", 'T', "Profiling timer expired (4.2 BSD)."},
    {28, "SIGWINCH", '?', "Window size change (4.3 BSD, Sun)."},
    {29, "SIGPOLL", 'T', "Pollable event (System V)."},
    {29, "SIGIO", 'T', "I/O now possible (4.2 BSD)."},
    {30, "SIGPWR", '?', "Power failure restart (System V)."},
    {31, "SIGSYS", 'A', "Bad system call."},
    {65535, nullptr, '?', nullptr},
};

sigset_t own_signals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGUSR2);
  sigaddset(&set, SIGUSR1);
  sigaddset(&set, PUB_WAKE_SIGNAL);
  return set;
}

// What a thread lets in while it waits. Main and the timers' threads hold SIGUSR1 back: it stops workers only.
enum class let_in { ENDING, ENDING_AND_STOPPING, NOTHING };
thread_local let_in t_let_in = let_in::ENDING;

const sigset_t* mask_of(let_in which) {
  static const struct masks_st {
    sigset_t m_ending, m_all, m_none;
    masks_st() {
      sigemptyset(&m_all);
      sigemptyset(&m_ending);
      sigaddset(&m_ending, SIGUSR1);
      m_none = own_signals();
    }
  } masks;
  switch (which) {
    case let_in::ENDING:
      return &masks.m_ending;
    case let_in::ENDING_AND_STOPPING:
      return &masks.m_all;
    case let_in::NOTHING:
      break;
  }
  return &masks.m_none;
}

}  // namespace

void pub_util_block_signals() {
  const sigset_t set = own_signals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void pub_util_install_handler(int signo, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_mask = own_signals();
  sigaction(signo, &action, nullptr);
}

void pub_util_let_thread_signal_in() {
  t_let_in = let_in::ENDING_AND_STOPPING;
}

void pub_util_keep_signals_out() {
  t_let_in = let_in::NOTHING;
}

const sigset_t* pub_util_wait_mask() {
  return mask_of(t_let_in);
}

const char* pub_util_signal_name(int signo) {
  if (signo == 1) return SIGNAL_NAMES[0].m_name;
  for (std::uint8_t row = 1; SIGNAL_NAMES[row].m_name != nullptr; ++row) {
    if (SIGNAL_NAMES[row].m_number == static_cast<std::uint32_t>(signo)) return SIGNAL_NAMES[row].m_name;
  }
  return "";
}
