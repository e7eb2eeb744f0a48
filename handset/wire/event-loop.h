// Room `wire`: what two ends of a link need. It knows nothing of a phone. Event loop, descriptors, signals, messages
// between processes, ttys, a stream's text and a process's end, whole files, and the plain types that rooms hand to
// each other (mounts, errors).
//
// One thread's waiting: descriptors, timers, and work handed over by other threads.
#pragma once

#include <poll.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "pub/util/fd.h"

namespace handset {

class event_loop {
 public:
  using clock = std::chrono::steady_clock;
  using timer_id = std::pair<clock::time_point, unsigned>;

  event_loop();

  // From any thread.
  void post(std::function<void()> work);         // done on the loop's thread, in order
  void call(const std::function<void()>& work);  // the same, and waits for it; may be called on that thread too
  void stop();                                   // run() returns when the work posted before is done
  template <typename Work>
  auto ask(Work work) -> decltype(work()) {  // call() with a result
    decltype(work()) result{};
    call([&] { result = work(); });
    return result;
  }

  // On the loop's thread, or before run(). A descriptor is watched once; another watch() replaces the earlier one.
  void watch(int fd, short events, std::function<void(short)> ready);
  void forget(int fd);
  timer_id after(std::chrono::milliseconds delay, std::function<void()> action);  // once
  void cancel(const timer_id& timer);
  void run();

 private:
  struct watched {
    short events;
    std::function<void(short)> ready;
  };
  bool do_posted();
  void do_timers();
  int wait_time() const;
  void do_ready(const std::vector<pollfd>& items);

  pub_fd m_wake;  // eventfd
  std::mutex m_mutex;
  std::deque<std::function<void()>> m_posted;  // under m_mutex
  bool m_stop = false;                         // on the loop's thread
  std::map<int, watched> m_watched;
  std::map<timer_id, std::function<void()>> m_timers;
  unsigned m_timer_count = 0;
  std::atomic<std::thread::id> m_thread;
};

}  // namespace handset
