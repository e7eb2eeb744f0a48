#include "amt/amt-handle/life/timer.h"

#include <signal.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <semaphore>

#include "amt/amt-handle/context/log-module.h"
#include "pub/result.h"

amt_timer_st g_usbEnumTimer{.m_id{AMT_TIMER_NOT_SET_UP}};
amt_timer_st g_handShakeTimer{.m_id{AMT_TIMER_NOT_SET_UP}};

namespace {

constexpr int EXPIRY_VALUE = 111;

// The one lock of the service. There is no wait point inside it, so no thread is ever stopped while it holds it; it is
// never destroyed, because a timer's thread may ask for it while the process ends.
std::binary_semaphore g_timer_lock(1);

class timer_lock_guard {
 public:
  timer_lock_guard() { g_timer_lock.acquire(); }
  ~timer_lock_guard() { g_timer_lock.release(); }
  timer_lock_guard(const timer_lock_guard&) = delete;
  timer_lock_guard& operator=(const timer_lock_guard&) = delete;
};

// timer_t is a pointer or a number, depending on the C library; a handle holds its bits.
static_assert(sizeof(timer_t) <= sizeof(std::int64_t));

std::int64_t to_handle(timer_t id) {
  std::int64_t handle = 0;
  std::memcpy(&handle, &id, sizeof id);
  return handle;
}

timer_t to_id(std::int64_t handle) {
  timer_t id;
  std::memcpy(&id, &handle, sizeof id);
  return id;
}

int printable(std::int64_t handle) {
  return static_cast<int>(handle);
}

// Another process made the timer: there is none here.
void forget(amt_timer_st& timer) {
  if (timer.m_id != AMT_TIMER_NOT_SET_UP) timer.m_id = AMT_NO_TIMER;
}

// With the lock held. True when it was a timer.
bool delete_locked(amt_timer_st& timer) {
  const std::int64_t handle = timer.m_id;
  const bool is_timer = handle != AMT_NO_TIMER && handle != AMT_TIMER_NOT_SET_UP;
  if (handle != AMT_NO_TIMER) {
    LOG_LINE("delete timer.timerId:%d.", printable(handle));
    if (is_timer) timer_delete(to_id(handle));
    timer.m_id = AMT_NO_TIMER;
  }
  LOG_LINE("deleteTimer success, timerId[%d]", printable(timer.m_id));
  return is_timer;
}

bool create_locked(amt_timer_st& timer, amt_timer_action action) {
  if (timer.m_id != AMT_NO_TIMER) delete_locked(timer);
  sigevent event = {};
  event.sigev_notify = SIGEV_THREAD;
  event.sigev_signo = SIGRTMIN;
  event.sigev_value.sival_int = EXPIRY_VALUE;
  event.sigev_notify_function = action;
  timer_t id;
  if (timer_create(CLOCK_REALTIME, &event, &id) != 0) {
    pub_log_failure({k_log, "amt_timer_create"}, ERR_SYSTEM, "timer_create, error: %d - %s", errno,
                    std::strerror(errno));
    return false;
  }
  timer.m_is_expired = false;
  timer.m_id = to_handle(id);
  LOG_LINE("createTimer success, timerId[%d]", printable(timer.m_id));
  return true;
}

bool set_locked(amt_timer_st& timer, std::int32_t milliseconds) {
  const std::int64_t handle = timer.m_id;
  if (handle == AMT_NO_TIMER) {
    LOG_LINE("invalid parameter.timerId:%d; timeMSec:%d.", printable(handle), milliseconds);
    return false;
  }
  itimerspec once = {};
  once.it_value = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
  const bool is_set = timer_settime(to_id(handle), 0, &once, nullptr) == 0;
  if (!is_set)
    pub_log_failure({k_log, "amt_timer_set"}, ERR_SYSTEM, "timer_settime errorr: %d - %s", errno, std::strerror(errno));
  LOG_LINE("setTimer success, timerId[%d], timeMSec:%d. ", printable(handle), milliseconds);  // in any case
  return is_set;
}

}  // namespace

bool amt_timer_create(amt_timer_st& timer, amt_timer_action action) {
  const timer_lock_guard guard;
  return create_locked(timer, action);
}

bool amt_timer_set(amt_timer_st& timer, std::int32_t milliseconds) {
  const timer_lock_guard guard;
  return set_locked(timer, milliseconds);
}

bool amt_timer_start(amt_timer_st& timer, amt_timer_action action, std::int32_t milliseconds) {
  const timer_lock_guard guard;
  return create_locked(timer, action) && set_locked(timer, milliseconds);
}

bool amt_timer_delete(amt_timer_st& timer) {
  const timer_lock_guard guard;
  return delete_locked(timer) && !timer.m_is_expired;
}

bool amt_timer_expire(amt_timer_st& timer) {
  const timer_lock_guard guard;
  if (timer.m_id == AMT_NO_TIMER) return false;
  timer.m_is_expired = true;
  return true;
}

void amt_timer_become_child() {
  new (&g_timer_lock) std::binary_semaphore(1);
  forget(g_usbEnumTimer);
  forget(g_handShakeTimer);
}
