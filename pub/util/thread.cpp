#include "pub/util/thread.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/log-module.h"
#include "pub/util/signals.h"

namespace {

constexpr std::uint32_t STOP_PAUSE_MS = 10;

void fill_in(pub_thread_st& handle) {
  handle.m_is_ended = false;
  handle.m_tid = gettid();
  handle.m_is_started = true;
  handle.m_is_started.notify_all();
}

// Unless somebody has cleared the handle before.
void mark_ended(void* argument) {
  auto& handle = *static_cast<pub_thread_st*>(argument);
  if (handle.m_tid == gettid()) handle.m_is_ended = true;
}

void ignore_wake_signal(int) {}

void* run_thread(void* argument) {
  auto& handle = *static_cast<pub_thread_st*>(argument);
  void (*const entry)() = handle.m_entry;
  fill_in(handle);
  // Runs by return and by SIGUSR1. A destructor would not: a thread that leaves unwinds nothing on a phone.
  pthread_cleanup_push(mark_ended, &handle);
  pub_util_install_handler(PUB_WAKE_SIGNAL, ignore_wake_signal);
  pub_util_let_thread_signal_in();
  entry();
  pthread_cleanup_pop(1);
  return nullptr;
}

// By thread id: unlike a pthread_t, the id of a thread that has left is safe to ask about.
int signal_thread(pid_t tid, int signo) {
  return syscall(SYS_tgkill, getpid(), tid, signo) == 0 ? 0 : errno;
}

}  // namespace

int pub_util_start_thread(pub_thread_st& handle, void (*entry)()) {
  handle.m_entry = entry;
  handle.m_is_started = false;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  const int error = pthread_create(&thread, &attributes, run_thread, &handle);
  pthread_attr_destroy(&attributes);
  if (error == 0) handle.m_is_started.wait(false);
  return error;
}

void pub_util_prepare_thread_exit() {
  const auto leave = [](void*) -> void* { pthread_exit(nullptr); };
  pthread_t thread;
  if (pthread_create(&thread, nullptr, leave, nullptr) == 0) pthread_join(thread, nullptr);
}

void pub_util_clear_thread(pub_thread_st& handle) {
  handle.m_tid = 0;
}

int pub_util_kill_thread(pub_thread_st* handle) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {handle == nullptr})) return ERR_ARGUMENT;
  const pid_t tid = handle->m_tid;
  if (tid == 0 || handle->m_is_ended || tid == gettid() || signal_thread(tid, 0) == ESRCH) return ERR_NONE;

  const int error = signal_thread(tid, SIGUSR1);
  if (error != 0) {
    pub_log_failure(k_log, ERR_SYSTEM, "pthread_kill(): %d - %s", error, std::strerror(error));
    return error;
  }
  pub_util_sleep_ms(STOP_PAUSE_MS);
  pub_util_clear_thread(*handle);
  return ERR_NONE;
}

void pub_util_wake_thread(pub_thread_st& handle) {
  const pid_t tid = handle.m_tid;
  if (tid != 0 && !handle.m_is_ended) signal_thread(tid, PUB_WAKE_SIGNAL);
}

void pub_util_handle_thread_signal(int signo) {
  pub_log_entry(k_log);
  if (signo != SIGUSR1) {
    pub_log_failure(k_log, ERR_ARGUMENT, "unknown signal: %d", signo);
    return;
  }
  LOG_LINE("thread %d will be end", gettid());
  pthread_exit(nullptr);
}
