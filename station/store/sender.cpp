#include "station/store/sender.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace {

constexpr std::chrono::seconds FIRST_RETRY{1};
constexpr std::chrono::seconds LONGEST_RETRY{30};
constexpr std::chrono::seconds LONGEST_SENDING{15};  // until the run says that records wait
constexpr std::chrono::seconds LAST_WAIT{5};         // for the last records, once the phones are done
constexpr const char* TOO_LONG = "records wait, because the store takes too long";

}  // namespace

std::string store_outbox_st::connect() {
  if (m_store.is_open()) return {};
  std::string wrong = m_store.open(m_address, store_mode_en::WRITE);
  if (wrong.empty()) wrong = m_waiting.open(m_folder, m_store.id());
  if (!wrong.empty()) m_store.close();
  return wrong;
}

std::string store_outbox_st::send_one(const std::string& name, store_sent_st* sent) {
  std::string text;
  std::string wrong;
  result_st result;
  switch (store_read_file(m_folder + "/" + name, &text, &result, &wrong)) {
    case store_record_en::RUNNING:
      ++sent->m_running;
      return {};
    case store_record_en::WRONG:
      sent->m_wrong.push_back(wrong);
      return {};
    case store_record_en::WHOLE:
      break;
  }
  bool is_new = false;
  std::string failure = m_store.add(result, text, &is_new);
  if (!failure.empty()) return failure;
  ++(is_new ? sent->m_sent : sent->m_already);
  return m_waiting.note(name);
}

store_sent_st store_outbox_st::send(const std::function<bool()>& stop) {
  store_sent_st sent;
  sent.m_failure = connect();
  // Without the store what waits for it cannot be told from what it has.
  if (!sent.m_failure.empty()) return sent;
  const std::vector<std::string> names = m_waiting.list(&sent.m_failure);
  std::size_t done = 0;
  while (done < names.size() && sent.m_failure.empty() && !stop()) {
    sent.m_failure = send_one(names[done], &sent);
    if (sent.m_failure.empty()) ++done;
  }
  sent.m_waiting = names.size() - done;
  if (!sent.m_failure.empty()) m_store.close();
  return sent;
}

struct store_sender_st::shared_st {
  shared_st(const std::string& address, const std::string& folder, std::function<void(const std::string&)> say)
      : m_outbox(address, folder), m_say(std::move(say)) {}

  // With the lock held, so that nothing is said after the end.
  void report(const store_sent_st& sent) {
    const std::lock_guard lock(m_lock);
    m_sending_since.reset();
    if (m_is_left) return;
    for (const auto& wrong : sent.m_wrong) {
      if (m_reported.insert(wrong).second) m_say("not sent: " + wrong);
    }
    if (sent.m_failure.empty() && m_has_failed)
      m_say(fmt::format("the store is there again; records sent: {}", sent.m_sent));
    if (!sent.m_failure.empty() && !m_has_failed) m_say("records wait, because the store failed: " + sent.m_failure);
    m_has_failed = !sent.m_failure.empty();
  }

  store_outbox_st m_outbox;
  std::function<void(const std::string&)> m_say;
  std::set<std::string> m_reported;

  std::mutex m_lock;  // of what follows
  std::condition_variable m_changed;
  bool m_has_failed = false;
  std::optional<std::chrono::steady_clock::time_point> m_sending_since;  // of the record that is being sent
  bool m_is_woken = true;                                                // what waits from before goes first
  bool m_is_ending = false;
  bool m_is_ended = false;
  bool m_is_left = false;
};

store_sender_st::store_sender_st(const std::string& address, const std::string& folder,
                                 std::function<void(const std::string&)> say)
    : m_shared(std::make_shared<shared_st>(address, folder, std::move(say))) {
  std::thread([shared = m_shared] { serve(shared); }).detach();
}

store_sender_st::~store_sender_st() {
  finish();
}

void store_sender_st::serve(const std::shared_ptr<shared_st>& shared) {
  std::chrono::seconds retry = FIRST_RETRY;
  bool is_last = false;
  while (!is_last) {
    {
      std::unique_lock lock(shared->m_lock);
      const auto is_wanted = [&] { return shared->m_is_ending || (shared->m_is_woken && !shared->m_has_failed); };
      if (shared->m_has_failed) {
        shared->m_changed.wait_for(lock, retry, is_wanted);
      } else {
        shared->m_changed.wait(lock, is_wanted);
      }
      shared->m_is_woken = false;
      is_last = shared->m_is_ending;
    }
    const auto stop = [&] {
      const std::lock_guard lock(shared->m_lock);
      shared->m_sending_since = std::chrono::steady_clock::now();
      return shared->m_is_left;
    };
    const store_sent_st sent = shared->m_outbox.send(stop);
    retry = sent.m_failure.empty() ? FIRST_RETRY : std::min(retry * 2, LONGEST_RETRY);
    shared->report(sent);
  }
  const std::lock_guard lock(shared->m_lock);
  shared->m_is_ended = true;
  shared->m_changed.notify_all();
}

void store_sender_st::wake() {
  const std::lock_guard lock(m_shared->m_lock);
  m_shared->m_is_woken = true;
  m_shared->m_changed.notify_all();
  // A server that hangs fails only when it goes on.
  const auto since = m_shared->m_sending_since;
  const bool is_hanging = since && std::chrono::steady_clock::now() - *since > LONGEST_SENDING;
  if (!is_hanging || m_shared->m_has_failed) return;
  m_shared->m_has_failed = true;
  m_shared->m_say(TOO_LONG);
}

void store_sender_st::finish() {
  std::unique_lock lock(m_shared->m_lock);
  if (m_shared->m_is_left) return;
  m_shared->m_is_ending = true;
  m_shared->m_changed.notify_all();
  const bool is_ended = m_shared->m_changed.wait_for(lock, LAST_WAIT, [&] { return m_shared->m_is_ended; });
  if (!is_ended && !m_shared->m_has_failed) m_shared->m_say(TOO_LONG);
  m_shared->m_is_left = true;
}
