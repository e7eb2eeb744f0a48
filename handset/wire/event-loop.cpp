#include "handset/wire/event-loop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <future>

#include "handset/wire/error.h"

namespace handset {

event_loop::event_loop() : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!m_wake) throw error("cannot make an eventfd");
}

void event_loop::post(std::function<void()> work) {
  {
    const std::lock_guard lock(m_mutex);
    m_posted.push_back(std::move(work));
  }
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(m_wake.get(), &one, sizeof one);  // full: it is awake already
}

void event_loop::call(const std::function<void()>& work) {
  if (m_thread.load() == std::this_thread::get_id()) return work();
  std::promise<void> done;
  post([&] {
    try {
      work();
      done.set_value();
    } catch (...) {
      done.set_exception(std::current_exception());
    }
  });
  done.get_future().get();
}

void event_loop::stop() {
  post([this] { m_stop = true; });
}

void event_loop::watch(int fd, short events, std::function<void(short)> ready) {
  m_watched[fd] = {events, std::move(ready)};
}

void event_loop::forget(int fd) {
  m_watched.erase(fd);
}

event_loop::timer_id event_loop::after(std::chrono::milliseconds delay, std::function<void()> action) {
  const timer_id id{clock::now() + delay, ++m_timer_count};
  m_timers.emplace(id, std::move(action));
  return id;
}

void event_loop::cancel(const timer_id& timer) {
  m_timers.erase(timer);
}

bool event_loop::do_posted() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto read = ::read(m_wake.get(), &count, sizeof count);
  std::deque<std::function<void()>> posted;
  {
    const std::lock_guard lock(m_mutex);
    posted.swap(m_posted);
  }
  for (auto& work : posted) work();
  return !m_stop;
}

void event_loop::do_timers() {
  const auto now = clock::now();
  while (!m_timers.empty() && m_timers.begin()->first.first <= now) {
    const auto action = std::move(m_timers.begin()->second);
    m_timers.erase(m_timers.begin());
    action();
  }
}

int event_loop::wait_time() const {
  if (m_timers.empty()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_timers.begin()->first.first - clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
}

void event_loop::do_ready(const std::vector<pollfd>& items) {
  for (const auto& item : items) {
    // An earlier callback of this round may have forgotten this descriptor.
    const auto found = m_watched.find(item.fd);
    if (item.revents == 0 || found == m_watched.end()) continue;
    const auto ready = found->second.ready;  // a copy: it may forget itself
    ready(item.revents);
  }
}

void event_loop::run() {
  m_thread = std::this_thread::get_id();
  std::vector<pollfd> items;
  while (do_posted()) {
    items.assign(1, {m_wake.get(), POLLIN, 0});
    for (const auto& [fd, what] : m_watched) items.push_back({fd, what.events, 0});
    if (::poll(items.data(), items.size(), wait_time()) > 0) do_ready({items.begin() + 1, items.end()});
    do_timers();
  }
  m_thread = std::thread::id();
}

}  // namespace handset
