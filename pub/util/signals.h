// The signals of the service and where they act. SIGTERM and SIGUSR2 end it, SIGUSR1 stops a worker thread. All three
// stay blocked while code runs and act only at the wait points of io.h, so that no handler ever interrupts an
// allocation, a log call or a critical section. The same goes for a fourth one: it makes a waiting thread look again.
#pragma once

#include <csignal>

// Wakes a waiting thread and does nothing else; ignored by default.
inline constexpr int PUB_WAKE_SIGNAL = SIGURG;

// Blocks the signals in the calling thread and in every thread it starts. Called first of all.
void pub_util_block_signals();
// Installs a handler; while it runs the signals are held.
void pub_util_install_handler(int signo, void (*handler)(int));
// Makes the calling thread, a worker, stoppable: SIGUSR1 acts at its wait points too.
void pub_util_let_thread_signal_in();
// From now on no signal acts in the calling thread, not even at a wait point.
void pub_util_keep_signals_out();
// The signals held back while the calling thread waits; for ppoll(2).
const sigset_t* pub_util_wait_mask();

// The name of a signal number, "" for an unknown one. 6 gives "SIGABRT", 29 "SIGPOLL".
const char* pub_util_signal_name(int signo);
