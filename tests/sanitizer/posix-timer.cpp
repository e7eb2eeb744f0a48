// POSIX timers with thread notification, on threads that the thread sanitizer knows. The C library starts its own
// notification threads without the sanitizer's knowledge, and instrumented code crashes on them. Linked only in builds
// with the thread sanitizer, before the C library's; does what the service needs of a timer: one expiry, one thread.
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace {

using steady = std::chrono::steady_clock;

struct timer_st {
  std::mutex m_mutex;
  std::condition_variable m_changed;
  steady::time_point m_deadline = steady::time_point::max();
  bool m_is_deleted = false;
  void (*m_action)(sigval) = nullptr;
  sigval m_value = {};
};

struct timers_st {
  std::mutex m_mutex;
  std::unordered_map<long, std::shared_ptr<timer_st>> m_by_id;
  long m_last_id = 0;
};

timers_st& timers() {
  static auto* const all = new timers_st;  // never destroyed: a timer's thread may outlive main
  return *all;
}

std::shared_ptr<timer_st> find(timer_t id) {
  const std::lock_guard lock(timers().m_mutex);
  const auto found = timers().m_by_id.find(reinterpret_cast<long>(id));
  return found == timers().m_by_id.end() ? nullptr : found->second;
}

void* run(void* argument) {
  const std::unique_ptr<std::shared_ptr<timer_st>> owner(static_cast<std::shared_ptr<timer_st>*>(argument));
  const auto timer = *owner;
  {
    std::unique_lock lock(timer->m_mutex);
    while (!timer->m_is_deleted && steady::now() < timer->m_deadline) {
      if (timer->m_deadline == steady::time_point::max()) {
        timer->m_changed.wait(lock);
      } else {
        timer->m_changed.wait_until(lock, timer->m_deadline);
      }
    }
    if (timer->m_is_deleted) return nullptr;
  }
  timer->m_action(timer->m_value);
  return nullptr;
}

}  // namespace

extern "C" int timer_create(clockid_t, sigevent* event, timer_t* id) {
  rlimit pending = {};  // the system has no timer for a process that may queue no signal
  if (getrlimit(RLIMIT_SIGPENDING, &pending) == 0 && pending.rlim_cur == 0) {
    errno = EAGAIN;
    return -1;
  }
  auto timer = std::make_shared<timer_st>();
  timer->m_action = event->sigev_notify_function;
  timer->m_value = event->sigev_value;
  pthread_t thread;
  if (pthread_create(&thread, nullptr, run, new std::shared_ptr<timer_st>(timer)) != 0) return -1;
  pthread_detach(thread);
  const std::lock_guard lock(timers().m_mutex);
  *id = reinterpret_cast<timer_t>(++timers().m_last_id);
  timers().m_by_id[timers().m_last_id] = timer;
  return 0;
}

extern "C" int timer_settime(timer_t id, int, const itimerspec* value, itimerspec*) {
  const auto timer = find(id);
  if (timer == nullptr) {
    errno = EINVAL;
    return -1;
  }
  const timespec& wanted = value->it_value;
  if (wanted.tv_sec < 0 || wanted.tv_nsec < 0 || wanted.tv_nsec >= 1'000'000'000) {
    errno = EINVAL;
    return -1;
  }
  const auto after = std::chrono::seconds(wanted.tv_sec) + std::chrono::nanoseconds(wanted.tv_nsec);
  const std::lock_guard lock(timer->m_mutex);
  timer->m_deadline = steady::now() + after;
  timer->m_changed.notify_all();
  return 0;
}

extern "C" int timer_gettime(timer_t id, itimerspec* left) {
  const auto timer = find(id);
  if (timer == nullptr) {
    errno = EINVAL;
    return -1;
  }
  *left = {};
  const std::lock_guard lock(timer->m_mutex);
  const auto now = steady::now();
  if (timer->m_deadline == steady::time_point::max() || timer->m_deadline <= now) return 0;
  const auto duration = timer->m_deadline - now;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
  left->it_value = {static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
  return 0;
}

extern "C" int timer_delete(timer_t id) {
  const auto timer = find(id);
  if (timer == nullptr) {
    errno = EINVAL;
    return -1;
  }
  {
    const std::lock_guard lock(timers().m_mutex);
    timers().m_by_id.erase(reinterpret_cast<long>(id));
  }
  const std::lock_guard lock(timer->m_mutex);
  timer->m_is_deleted = true;
  timer->m_changed.notify_all();
  return 0;
}
