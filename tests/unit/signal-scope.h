// Gives a test the process's signals as the service sets them up, and afterwards back as they were.
#pragma once

#include <csignal>
#include <ctime>

#include "pub/util/signals.h"

class signal_scope {
 public:
  signal_scope() {
    pthread_sigmask(SIG_SETMASK, nullptr, &m_mask);
    for (int n = 0; n < 3; ++n) sigaction(SIGNALS[n], nullptr, &m_actions[n]);
    pub_util_block_signals();
  }
  ~signal_scope() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signo : SIGNALS) sigaddset(&set, signo);
    const timespec no_wait = {};
    while (sigtimedwait(&set, nullptr, &no_wait) > 0) {  // what is still pending must not act later
    }
    for (int n = 0; n < 3; ++n) sigaction(SIGNALS[n], &m_actions[n], nullptr);
    pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
  }
  signal_scope(const signal_scope&) = delete;
  signal_scope& operator=(const signal_scope&) = delete;

 private:
  static constexpr int SIGNALS[3] = {SIGTERM, SIGUSR2, SIGUSR1};
  sigset_t m_mask;
  struct sigaction m_actions[3];
};
