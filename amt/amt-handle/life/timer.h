// One-shot timers whose expiry runs an action on a thread of its own.
#pragma once

#include <atomic>
#include <csignal>
#include <cstdint>

inline constexpr std::int64_t AMT_NO_TIMER = -1;
// What the service's two timers hold until a -u start has set them to "none", and for good in any other start: no timer
// either, but the tear-down logs its deletion as that of a timer. The system gives no such handle.
inline constexpr std::int64_t AMT_TIMER_NOT_SET_UP = 0;

// -1 = no timer. Any other value but 0, negative ones included, is the system's.
struct amt_timer_st {
  std::atomic<std::int64_t> m_id{AMT_NO_TIMER};
  bool m_is_expired = false;  // under the timer lock
};

extern amt_timer_st g_usbEnumTimer;    // 20 s for the USB link to be enumerated
extern amt_timer_st g_handShakeTimer;  // 5 s for the PC to answer the first modem output

using amt_timer_action = void (*)(union sigval);

// All of these hold the timer lock.

// Creates the timer, deleting an existing one first. False, logged, when the system has none: it may then never have
// one again in this process, because its thread for timers could not be made.
bool amt_timer_create(amt_timer_st& timer, amt_timer_action action);
// Arms it once. False, logged, when there is no such timer or it could not be armed.
bool amt_timer_set(amt_timer_st& timer, std::int32_t milliseconds);
// Both in one step: a thread that finds the timer finds it armed.
bool amt_timer_start(amt_timer_st& timer, amt_timer_action action, std::int32_t milliseconds);
// Deletes it. True when that came before its expiry: the action then does nothing.
bool amt_timer_delete(amt_timer_st& timer);
// What an action asks first: false when the timer was deleted just as it expired.
bool amt_timer_expire(amt_timer_st& timer);

// In a forked process: it has no timers, and nobody in it holds the timer lock.
void amt_timer_become_child();
