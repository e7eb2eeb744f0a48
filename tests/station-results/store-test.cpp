// The store in a file, and how records get there.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "station/store/sender.h"
#include "tests/station-results/any-store.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

class FileStore : public testing::Test {
 protected:
  FileStore() { fs::create_directory(records()); }

  std::string records() const { return m_folder.path("records"); }
  std::string address() const { return m_folder.path("results of all.db"); }
  std::string put(unsigned number, const std::string& text) const {
    return m_folder.write("records/" + record_name(number), text);
  }
  store_sent_st send() const {
    return store_outbox_st(address(), records()).send([] { return false; });
  }
  std::vector<std::string> stored() const {
    store_st store;
    EXPECT_EQ(store.open(address(), store_mode_en::READ), "");
    return run_ids(&store);
  }
  fs::path notes() const {
    for (const auto& entry : fs::directory_iterator(records())) {
      if (entry.path().filename().string().starts_with(".sent-")) return entry.path();
    }
    return {};
  }

  temp_folder m_folder;
};

TEST_F(FileStore, EveryQuestion_IsAnswered) {
  check_store(address());
}

TEST_F(FileStore, StoreThatIsNotThere_IsNotMadeByReading) {
  store_st store;
  EXPECT_THAT(store.open(address(), store_mode_en::READ), HasSubstr("there is no store"));
  EXPECT_FALSE(fs::exists(address()));
}

TEST_F(FileStore, FileThatIsNoStore_IsRefused) {
  m_folder.write("results of all.db", std::string(5000, 'x'));
  store_st store;
  EXPECT_THAT(store.open(address(), store_mode_en::WRITE), HasSubstr("not a database"));
}

TEST_F(FileStore, WaitingRecords_AreSentOnceInOrderAndStay) {
  put(2, record_of(2));
  put(1, record_of(1));
  put(3, record_of(3));
  EXPECT_EQ(send().m_sent, 3u);
  EXPECT_THAT(stored(), ElementsAre(run_id(1), run_id(2), run_id(3)));
  EXPECT_EQ(read_whole_file(notes()), record_name(1) + "\n" + record_name(2) + "\n" + record_name(3) + "\n");
  EXPECT_EQ(read_whole_file(records() + "/" + record_name(2)), record_of(2));
  put(4, record_of(4));
  const store_sent_st second = send();
  EXPECT_EQ(second.m_sent, 1u);
  EXPECT_EQ(second.m_already, 0u);
  EXPECT_EQ(stored().size(), 4u);
}

TEST_F(FileStore, CrashBetweenCommitAndNote_StoresNothingTwice) {
  put(1, record_of(1));
  put(2, record_of(2));
  send();
  // A crash leaves a note that was not written, or half of it.
  std::ofstream(notes(), std::ios::trunc) << record_name(1) << "\n" << record_name(2).substr(0, 4);
  const store_sent_st again = send();
  EXPECT_EQ(again.m_sent, 0u);
  EXPECT_EQ(again.m_already, 1u);
  EXPECT_EQ(stored().size(), 2u);
  EXPECT_EQ(send().m_already, 0u) << "the half note spoils the next one";
}

TEST_F(FileStore, OtherStore_GetsAllRecords) {
  put(1, record_of(1));
  send();
  fs::remove(address());
  EXPECT_EQ(send().m_sent, 1u);
}

TEST_F(FileStore, FileThatIsNoRecord_KeepsNoOtherBack) {
  put(1, "{\"schema_version\":1");
  put(2, record_of(2));
  fs::create_directory(records() + "/" + record_name(3));
  ASSERT_EQ(::mkfifo((records() + "/" + record_name(4)).c_str(), 0600), 0);
  const store_sent_st sent = send();
  EXPECT_EQ(sent.m_sent, 1u);
  EXPECT_EQ(sent.m_failure, "");
  ASSERT_EQ(sent.m_wrong.size(), 3u);
  EXPECT_THAT(sent.m_wrong[0], HasSubstr(record_name(1)));
}

TEST_F(FileStore, RecordOfARunThatGoesOn_IsSentWhenTheRunHasEnded) {
  const std::string path = put(1, record_of(1));
  const int run = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(run, LOCK_EX), 0);
  EXPECT_EQ(send().m_running, 1u);
  EXPECT_TRUE(stored().empty());
  ::close(run);  // as the kernel does for a process that was killed
  EXPECT_EQ(send().m_sent, 1u);
}

TEST_F(FileStore, ManySendersOfTheSameRecords_StoreEachOnce) {
  constexpr unsigned COUNT = 40;
  for (unsigned n = 0; n < COUNT; ++n) put(n, record_of(n));
  std::atomic<std::size_t> sent = 0;
  {
    std::vector<std::jthread> senders;
    for (int n = 0; n < 8; ++n) {
      senders.emplace_back([&] {
        const store_sent_st mine = send();
        EXPECT_EQ(mine.m_failure, "");
        sent += mine.m_sent;
      });
    }
  }
  EXPECT_EQ(sent, COUNT);
  EXPECT_EQ(stored().size(), COUNT);
}

// A store in a folder that is a file cannot be reached until it is.
TEST_F(FileStore, SenderBesideARun_WaitsForTheStore) {
  const std::string blocked = m_folder.write("later", "");
  const std::string late = blocked + "/results.db";
  std::mutex lock;
  std::vector<std::string> said;
  put(1, record_of(1));
  {
    store_sender_st sender(late, records(), [&](const std::string& line) {
      const std::lock_guard guard(lock);
      said.push_back(line);
    });
    const auto has_said = [&](const char* text) {
      const std::lock_guard guard(lock);
      return !said.empty() && said.back().find(text) != std::string::npos;
    };
    const auto wait_until = [&](const char* text) {
      for (int n = 0; n < 600 && !has_said(text); ++n) std::this_thread::sleep_for(std::chrono::milliseconds(50));
      return has_said(text);
    };
    ASSERT_TRUE(wait_until("records wait, because the store failed"));
    fs::remove(blocked);
    put(2, record_of(2));
    sender.wake();
    ASSERT_TRUE(wait_until("the store is there again; records sent: 2"));
    put(3, record_of(3));
    sender.wake();
    sender.finish();
  }
  store_st store;
  ASSERT_EQ(store.open(late, store_mode_en::READ), "");
  EXPECT_EQ(run_ids(&store).size(), 3u);
}

}  // namespace
