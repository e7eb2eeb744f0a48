#include "amt/amt-handle/life/timer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/thread-state.h"

namespace {

using namespace std::chrono_literals;

// What the timers' actions did, for a test that waits for it.
struct expiries_st {
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_runs = 0;
  int m_expired = 0;
  int m_value = 0;
};
expiries_st g_expiries;
amt_timer_st* g_asked_timer = nullptr;

void note_expiry(union sigval value) {
  const bool is_expired = amt_timer_expire(*g_asked_timer);
  const std::lock_guard guard(g_expiries.m_mutex);
  ++g_expiries.m_runs;
  if (is_expired) ++g_expiries.m_expired;
  g_expiries.m_value = value.sival_int;
  g_expiries.m_changed.notify_all();
}

void never(union sigval) {
  ADD_FAILURE() << "a timer ran out that was not to";
}

bool wait_for_runs(int runs) {
  std::unique_lock guard(g_expiries.m_mutex);
  return g_expiries.m_changed.wait_for(guard, 10s, [runs] { return g_expiries.m_runs >= runs; });
}

// What is left of a timer, and its interval.
itimerspec left_of(const amt_timer_st& timer) {
  const std::int64_t handle = timer.m_id;
  timer_t id;
  std::memcpy(&id, &handle, sizeof id);
  itimerspec left = {};
  EXPECT_EQ(timer_gettime(id, &left), 0);
  return left;
}

double seconds(const timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

std::string number_of(const amt_timer_st& timer) {
  return std::to_string(static_cast<int>(timer.m_id));
}

class Timer : public testing::Test {
 protected:
  Timer() {
    g_expiries.m_runs = 0;
    g_expiries.m_expired = 0;
    g_expiries.m_value = 0;
    g_asked_timer = &m_timer;
  }
  ~Timer() override { amt_timer_delete(m_timer); }

  log_capture m_log;
  amt_timer_st m_timer;
};

TEST_F(Timer, Fresh_IsNone) {
  EXPECT_EQ(m_timer.m_id, -1);
}

TEST_F(Timer, Create_GivesAHandleAndDoesNotRun) {
  amt_timer_create(m_timer, never);
  EXPECT_NE(m_timer.m_id, -1);
  EXPECT_EQ(seconds(left_of(m_timer).it_value), 0);
  EXPECT_EQ(m_log.texts(), std::vector<std::string>{"createTimer success, timerId[" + number_of(m_timer) + "]"});
}

TEST_F(Timer, CreateAgain_DeletesTheFirst) {
  amt_timer_create(m_timer, never);
  const std::string first = number_of(m_timer);
  m_log.clear();
  amt_timer_create(m_timer, never);
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{"delete timer.timerId:" + first + ".", "deleteTimer success, timerId[-1]",
                                      "createTimer success, timerId[" + number_of(m_timer) + "]"}));
}

TEST_F(Timer, Set_ArmsItOnceForTheMilliseconds) {
  EXPECT_TRUE(amt_timer_create(m_timer, never));
  EXPECT_TRUE(amt_timer_set(m_timer, 20500));
  const itimerspec left = left_of(m_timer);
  EXPECT_LE(seconds(left.it_value), 20.5);
  EXPECT_GT(seconds(left.it_value), 15);
  EXPECT_EQ(seconds(left.it_interval), 0);
  EXPECT_TRUE(m_log.has("setTimer success, timerId[" + number_of(m_timer) + "], timeMSec:20500. "));
}

TEST_F(Timer, Set_OnNoTimer_IsRefused) {
  EXPECT_FALSE(amt_timer_set(m_timer, 5000));
  EXPECT_EQ(m_log.texts(), std::vector<std::string>{"invalid parameter.timerId:-1; timeMSec:5000."});
}

TEST_F(Timer, Set_ThatTheSystemRefuses_LogsTheFailureAndTheSuccessLine) {
  amt_timer_create(m_timer, never);
  const std::string number = number_of(m_timer);
  m_log.clear();
  EXPECT_FALSE(amt_timer_set(m_timer, -1));
  EXPECT_THAT(m_log.texts(), testing::ElementsAre(failure_line("amt/amt-handle", "amt_timer_set", -118, "22"),
                                                  "timer_settime errorr: 22 - Invalid argument",
                                                  "setTimer success, timerId[" + number + "], timeMSec:-1. "));
}

// A thread that finds the timer's handle must not find it without its time.
TEST_F(Timer, Start_NobodySeesItUnarmed) {
  for (int round = 0; round < 300; ++round) {
    std::thread other([this] {
      while (m_timer.m_id == AMT_NO_TIMER) {
      }
      amt_timer_delete(m_timer);
    });
    EXPECT_TRUE(amt_timer_start(m_timer, never, 20000));
    other.join();
  }
}

// A process without room for a queued signal has no timer.
TEST_F(Timer, Create_ThatTheSystemRefuses_GivesNoTimer) {
  rlimit before = {};
  getrlimit(RLIMIT_SIGPENDING, &before);
  const rlimit none = {0, before.rlim_max};
  setrlimit(RLIMIT_SIGPENDING, &none);
  EXPECT_FALSE(amt_timer_create(m_timer, never));
  setrlimit(RLIMIT_SIGPENDING, &before);
  EXPECT_EQ(m_timer.m_id, AMT_NO_TIMER);
  EXPECT_TRUE(m_log.has("timer_create, error: 11 - Resource temporarily unavailable"));
}

// How many timers the system holds for this process, where the system lists them.
std::ptrdiff_t timers_of_the_system() {
  std::ifstream list("/proc/self/timers");
  const std::string text(std::istreambuf_iterator<char>(list), {});
  return std::count(text.begin(), text.end(), 'I');  // each begins with "ID: "
}

TEST_F(Timer, Delete_GivesItBackToTheSystem) {
  const std::ptrdiff_t before = timers_of_the_system();
  amt_timer_create(m_timer, never);
  amt_timer_create(m_timer, never);
  amt_timer_delete(m_timer);
  EXPECT_EQ(timers_of_the_system(), before);
}

TEST_F(Timer, Delete_BeforeTheExpiry_StopsItForGood) {
  amt_timer_create(m_timer, never);
  amt_timer_set(m_timer, 60000);
  const std::string number = number_of(m_timer);
  m_log.clear();
  EXPECT_TRUE(amt_timer_delete(m_timer));
  EXPECT_EQ(m_timer.m_id, -1);
  EXPECT_FALSE(amt_timer_expire(m_timer));
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{"delete timer.timerId:" + number + ".", "deleteTimer success, timerId[-1]"}));
}

TEST_F(Timer, Delete_OfNone_OnlyLogs) {
  EXPECT_FALSE(amt_timer_delete(m_timer));
  EXPECT_FALSE(amt_timer_delete(m_timer));
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{"deleteTimer success, timerId[-1]", "deleteTimer success, timerId[-1]"}));
}

// What the tear-down of a start without -u finds in both.
TEST_F(Timer, Delete_OfOneThatWasNeverSetUp_IsLoggedAndDeletesNothing) {
  const std::ptrdiff_t before = timers_of_the_system();
  m_timer.m_id = 0;
  EXPECT_FALSE(amt_timer_delete(m_timer));
  EXPECT_EQ(m_timer.m_id, -1);
  EXPECT_EQ(timers_of_the_system(), before);
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{"delete timer.timerId:0.", "deleteTimer success, timerId[-1]"}));
}

TEST_F(Timer, Expiry_RunsTheActionOnceWithItsValue) {
  amt_timer_create(m_timer, note_expiry);
  amt_timer_set(m_timer, 1);
  ASSERT_TRUE(wait_for_runs(1));
  EXPECT_EQ(g_expiries.m_expired, 1);
  EXPECT_EQ(g_expiries.m_value, 111);
  EXPECT_EQ(seconds(left_of(m_timer).it_value), 0);
}

TEST_F(Timer, Delete_AfterTheExpiry_LogsThatItCameTooLate) {
  amt_timer_create(m_timer, note_expiry);
  amt_timer_set(m_timer, 1);
  ASSERT_TRUE(wait_for_runs(1));
  EXPECT_FALSE(amt_timer_delete(m_timer));
  EXPECT_EQ(m_timer.m_id, -1);
}

TEST_F(Timer, CreateAfterAnExpiry_StartsAfresh) {
  amt_timer_create(m_timer, note_expiry);
  amt_timer_set(m_timer, 1);
  ASSERT_TRUE(wait_for_runs(1));
  amt_timer_create(m_timer, never);
  EXPECT_TRUE(amt_timer_delete(m_timer));
}

// An action knows no timer but the one it was written for, so the race below has one action for each.
constexpr std::size_t ROUNDS = 64;
std::array<amt_timer_st, ROUNDS> g_race_timers;
std::array<std::atomic<int>, ROUNDS> g_race_expiries;

template <std::size_t ROUND>
void race_expired(union sigval) {
  if (amt_timer_expire(g_race_timers[ROUND])) ++g_race_expiries[ROUND];
  g_race_expiries[ROUND].notify_all();
}

template <std::size_t... ROUND>
constexpr std::array<amt_timer_action, ROUNDS> race_actions(std::index_sequence<ROUND...>) {
  return {race_expired<ROUND>...};
}

// Whoever comes first, the aim or the time-out, wins alone: never both, never neither.
TEST_F(Timer, DeleteAgainstExpiry_HasExactlyOneWinner) {
  constexpr auto actions = race_actions(std::make_index_sequence<ROUNDS>());
  std::array<bool, ROUNDS> is_deleted_first = {};
  for (std::size_t round = 0; round < ROUNDS; ++round) {
    amt_timer_create(g_race_timers[round], actions[round]);
    const auto about_expiry = std::chrono::steady_clock::now() + 1ms + static_cast<int>(round) * 5us;
    amt_timer_set(g_race_timers[round], 1);
    while (std::chrono::steady_clock::now() < about_expiry) {
    }
    is_deleted_first[round] = amt_timer_delete(g_race_timers[round]);
    if (!is_deleted_first[round]) g_race_expiries[round].wait(0);
  }
  for (std::size_t round = 0; round < ROUNDS; ++round) {
    EXPECT_EQ(g_race_expiries[round], is_deleted_first[round] ? 0 : 1) << round;
  }
}

std::atomic<pid_t> g_other_thread;
std::atomic<bool> g_has_expired;
bool g_was_kept_out = false;
std::thread g_other;

// Called inside the timers' lock.
void logger_that_lets_another_expire(const __android_logger_data*, const char*) {
  if (g_other.joinable()) return;
  g_other = std::thread([] {
    g_other_thread = gettid();
    amt_timer_expire(*g_asked_timer);
    g_has_expired = true;
  });
  g_was_kept_out = stays_asleep(g_other_thread) && !g_has_expired;
}

TEST_F(Timer, ExpiryDuringItsCreation_WaitsForItsEnd) {
  g_other_thread = 0;
  g_has_expired = false;
  __android_log_set_logger(logger_that_lets_another_expire);
  amt_timer_create(m_timer, never);
  g_other.join();
  EXPECT_TRUE(g_was_kept_out);
  EXPECT_TRUE(g_has_expired);
}

}  // namespace
