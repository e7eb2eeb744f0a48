// Brings records from their folder into the store: those that wait, in order, each once.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "station/store/store.h"
#include "station/store/waiting.h"

struct store_sent_st {
  std::size_t m_sent = 0;
  std::size_t m_already = 0;         // were in the store before
  std::size_t m_running = 0;         // their run goes on
  std::size_t m_waiting = 0;         // were not sent because the store failed
  std::vector<std::string> m_wrong;  // files that are no records, and why
  std::string m_failure;             // of the store or the folder; empty: none
};

// The folder, the store and what is known of both; keeps the connection between two sendings.
class store_outbox_st {
 public:
  store_outbox_st(std::string address, std::string folder)
      : m_address(std::move(address)), m_folder(std::move(folder)) {}

  // Sends what waits. stop: asked between two records.
  store_sent_st send(const std::function<bool()>& stop);

 private:
  std::string connect();
  std::string send_one(const std::string& name, store_sent_st* sent);

  std::string m_address;
  std::string m_folder;
  store_st m_store;
  store_waiting_st m_waiting;
};

// Does the same beside a run, in a thread of its own, again and again until it is ended. A store that cannot be reached
// costs the run nothing: the records wait, and it is tried again.
class store_sender_st {
 public:
  // say: prints a line; called from the thread.
  store_sender_st(const std::string& address, const std::string& folder, std::function<void(const std::string&)> say);
  ~store_sender_st();
  store_sender_st(const store_sender_st&) = delete;
  store_sender_st& operator=(const store_sender_st&) = delete;

  // There is a new record.
  void wake();
  // Sends what there is once more, for a bounded time, and ends the thread. A thread that hangs in the store is left
  // alone: it says nothing any more.
  void finish();

 private:
  struct shared_st;

  static void serve(const std::shared_ptr<shared_st>& shared);
  std::shared_ptr<shared_st> m_shared;
};
