// The end of the service. However it comes to its end, there is one tear-down and one exit.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "pub/result.h"

// Handler of SIGTERM and SIGUSR2: tears down and ends the process with status 0.
void signal_treatment(int signo);

// Runs the tear-down unless it has been run.
void amt_deinit_resource();

// The tear-down of the channel core: stops the workers, closes the links, deletes the timers, makes the refusal report
// of a -u start. Gives the result of closing the APP link.
result_code_en amt_handle_deinit();

// Ends the process from any thread, after the tear-down. When two threads come here, the second waits for the
// first to end the process.
[[noreturn]] void amt_handle_end_service(int status);

// The first call in a process that a worker (its thread id: forker) has forked from the service: that process has this
// one thread, no timers, and an end of its own.
void amt_handle_become_child(pid_t forker);

// The exit helper of a refused or timed-out start: makes the refusal report, deletes the timers, and lets SIGTERM end
// the process.
void amt_handle_exit_refused();
