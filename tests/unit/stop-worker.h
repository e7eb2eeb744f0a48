// Ends a worker as the service does.
#pragma once

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "pub/util/thread.h"
#include "tests/unit/wait-for.h"

// The service does not wait for a worker's end; a test does, because its next one uses the handle's memory anew.
inline void stop_worker(pub_thread_st& worker) {
  if (worker.m_tid == 0) return;
  if (!worker.m_is_ended) syscall(SYS_tgkill, getpid(), worker.m_tid.load(), SIGUSR1);
  EXPECT_TRUE(wait_for([&worker] { return worker.m_is_ended.load(); }));
  pub_util_clear_thread(worker);
}
