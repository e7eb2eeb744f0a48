// Worker threads: started detached, stopped by a signal at their next wait point, never joined. A stopped worker runs
// no destructors: what it owned stays until the process ends, and it is stopped only when that is about to happen.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>

// A thread handle. Trivially destructible, so that the process may end while the thread runs.
struct pub_thread_st {
  std::atomic<pid_t> m_tid;        // 0 = no thread
  std::atomic<bool> m_is_ended;    // the thread has left; its id may be given to another
  std::atomic<bool> m_is_started;  // the thread has filled in the two above
  void (*m_entry)();
};

// Starts a detached thread and returns once the handle is filled in. 0 or the error number.
int pub_util_start_thread(pub_thread_st& handle, void (*entry)());
// Has the C library load what it needs for a thread to leave: the first to leave would end the process if there were no
// memory for it then. Once, at the start.
void pub_util_prepare_thread_exit();
// Forgets the thread without stopping it; what a worker does with its own handle when it ends.
void pub_util_clear_thread(pub_thread_st& handle);

// Stops a thread: SIGUSR1, then 10 ms for it to leave; the handle is cleared. 0, also when there is no such thread any
// more (the handle then stays as it is) or it is the calling thread; else the error number of the failed signal.
int pub_util_kill_thread(pub_thread_st* handle);

// Makes a thread that waits for data look at its descriptor again. Needed when the descriptor was replaced under it: a
// poll that wakes for the old file looks at the new one, but would never be woken by it.
void pub_util_wake_thread(pub_thread_st& handle);

// The SIGUSR1 handler of every worker: leaves the thread. Any other signal is logged and the thread goes on.
void pub_util_handle_thread_signal(int signo);
