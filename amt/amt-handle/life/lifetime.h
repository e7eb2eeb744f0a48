// The end of the service. However it comes to its end, there is one tear-down and one exit.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "pub/result.h"

// Handler of SIGTERM and SIGUSR2: tears down and ends the process with status 0.
void signal_treatment(int signo);

// From now on these signals end the process within 2 seconds, also while the main thread is in a call that does not
// return: a thread of its own waits for them then. It is the main thread that treats a signal at its wait points.
void amt_handle_watch_signals();

// Runs the tear-down unless it has been run.
void amt_deinit_resource();

// The tear-down of the channel core: stops the workers, closes the links, deletes the timers, makes the refusal report
// of a -u start. Gives the result of closing the APP link.
result_code_en amt_handle_deinit();

// Ends the process from any thread, after the tear-down; both together have a second. When two
// threads come here, the second waits for the first to end the process.
[[noreturn]] void amt_handle_end_service(int status);

// fork(2), which gives a second process that runs the service: it has the calling thread alone, a worker, and no
// timers, and an end of its own. The first one learns of its end. -1 and errno on failure: ECANCELED once an end is
// under way, or its signal has come, which the second process would outlive.
pid_t amt_handle_fork();

// The exit helper of a refused or timed-out start: makes the refusal report, deletes the timers, and lets SIGTERM end
// the process.
void amt_handle_exit_refused();
