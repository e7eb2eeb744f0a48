// The store on a database server: stations that write at once, a server that goes away and comes back.
#include "tests/station-results/postgres.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>

#include "station/program/command-line.h"
#include "station/store/sender.h"
#include "tests/station-results/any-store.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class ServerStore : public testing::Test {
 protected:
  std::string records(unsigned station) const { return m_folder.path("records" + std::to_string(station)); }

  void put(unsigned station, unsigned number) const {
    fs::create_directory(records(station));
    std::ofstream(records(station) + "/" + record_name(number)) << record_of(number);
  }
  store_sent_st send(unsigned station) const {
    return store_outbox_st(m_server.address(), records(station)).send([] { return false; });
  }

  temp_folder m_folder;
  postgres_st m_server;
};

TEST_F(ServerStore, EveryQuestion_IsAnswered) {
  check_store(m_server.address());
  EXPECT_EQ(m_server.ask("show listen_addresses"), "");
}

// Each record lies at two stations. The server is killed in the middle, and none is lost or stored twice.
TEST_F(ServerStore, EightStationsAndAServerThatDies_StoreEachRecordOnce) {
  constexpr unsigned STATIONS = 8;
  constexpr unsigned EACH = 60;
  for (unsigned station = 0; station < STATIONS; ++station) {
    for (unsigned n = 0; n < EACH; ++n) {
      put(station, station * EACH + n);
      put((station + 1) % STATIONS, station * EACH + n);
    }
  }
  std::atomic<std::size_t> sent = 0;
  std::atomic<std::size_t> failures = 0;
  {
    std::vector<std::jthread> stations;
    for (unsigned station = 0; station < STATIONS; ++station) {
      stations.emplace_back([&, station] {
        store_outbox_st outbox(m_server.address(), records(station));
        for (int tries = 0; tries < 600; ++tries) {
          const store_sent_st mine = outbox.send([] { return false; });
          sent += mine.m_sent;
          if (mine.m_failure.empty()) return;
          ++failures;
          std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        ADD_FAILURE() << "station " << station << " could not send";
      });
    }
    while (sent < STATIONS && m_server.ask("select count(*) from amt_units").size() < 2) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    m_server.stop(SIGQUIT);
    m_server.start();
  }
  EXPECT_GT(failures, 0u) << "the server's death came too late to be seen";
  EXPECT_EQ(m_server.ask("select count(*), count(distinct run_id) from amt_units"), "480|480");
  EXPECT_EQ(m_server.ask("select count(*) from amt_steps"), "480");
  EXPECT_EQ(m_server.ask("select count(*) from amt_records"), "480");
  EXPECT_EQ(send(0).m_already + send(0).m_sent, 0u) << "a record waits that was sent";
}

class RunOnServerStore : public ServerStore {
 protected:
  ~RunOnServerStore() override {
    if (m_hanging != 0) ::kill(m_hanging, SIGCONT);  // or the server would not end
  }
  // A run of a plan that only pauses; it needs no phone.
  int run(const std::string& name, unsigned pause_ms) {
    const std::string plan = m_folder.write(
        "plan-" + name, "[plan]\nname = \"pauses\"\nrevision = \"1\"\n[[step]]\nname = \"first\"\npause_ms = " +
                            std::to_string(pause_ms) + "\n");
    return station_run(
        {"run", plan, "--phone", name + "=/dev/null", "--records", records(0), "--db", m_server.address()}, m_io);
  }
  int send() { return station_run({"results", "send", "--records", records(0), "--db", m_server.address()}, m_io); }
  std::string stored() const {
    return m_server.ask("select string_agg(phone, ' ' order by started_ms) from amt_units");
  }

  std::ostringstream m_out;
  std::ostringstream m_err;
  station_io_st m_io{&m_out, &m_err};
  pid_t m_hanging = 0;
};

TEST_F(RunOnServerStore, ServerThatIsDown_StopsNoRun) {
  m_server.stop();
  EXPECT_EQ(run("a", 10), 0) << m_out.str() << m_err.str();
  EXPECT_EQ(run("b", 10), 0);
  EXPECT_THAT(m_out.str(), HasSubstr("records wait, because the store failed"));
  EXPECT_EQ(send(), 24);
  m_server.start();
  EXPECT_EQ(run("c", 10), 0);
  EXPECT_EQ(stored(), "a b c");
  EXPECT_EQ(send(), 0);
  EXPECT_THAT(m_out.str(), HasSubstr("records sent: 0"));
}

TEST_F(RunOnServerStore, ServerThatIsRestartedDuringARun_GetsItsRecord) {
  EXPECT_EQ(run("a", 10), 0);
  // The server belongs to the thread that starts it.
  std::jthread station([this] { EXPECT_EQ(run("b", 200), 0); });
  m_server.stop();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  m_server.start();
  station.join();
  EXPECT_EQ(run("c", 10), 0);
  EXPECT_EQ(stored(), "a b c");
}

// Somebody holds the table of units, for as long as the test wants.
class table_lock_st {
 public:
  explicit table_lock_st(postgres_st* server) : m_server(*server) {
    m_thread = std::jthread(
        [this] { m_server.ask("begin; lock table amt_units in access exclusive mode; select pg_sleep(60)", "lock"); });
    EXPECT_TRUE(
        m_server.wait_for("select count(*) from pg_locks where relation = 'amt_units'::regclass and mode = "
                          "'AccessExclusiveLock' and granted",
                          "1"));
  }
  ~table_lock_st() { release(); }
  table_lock_st(const table_lock_st&) = delete;
  table_lock_st& operator=(const table_lock_st&) = delete;

  void release() {
    m_server.ask(
        "select pg_terminate_backend(pid) from pg_stat_activity where query like '%pg_sleep%' and pid <> "
        "pg_backend_pid()");
    if (m_thread.joinable()) m_thread.join();
  }

 private:
  postgres_st& m_server;
  std::jthread m_thread;
};

TEST_F(RunOnServerStore, TableThatAnotherOneHolds_EndsTheSendingAndLosesNothing) {
  EXPECT_EQ(run("a", 10), 0);
  table_lock_st lock(&m_server);
  m_out.str("");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(run("b", 10), 0) << m_err.str();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_THAT(m_out.str(), HasSubstr("records wait, because the store"));
  EXPECT_EQ(send(), 24);
  EXPECT_THAT(m_err.str(), HasSubstr("lock timeout"));
  lock.release();
  EXPECT_EQ(send(), 0);
  EXPECT_EQ(stored(), "a b");
}

// The server's process for the run is stopped in mid-query, as by a machine that hangs.
TEST_F(RunOnServerStore, ServerThatHangs_HoldsNoRunBack) {
  EXPECT_EQ(run("a", 10), 0);
  const std::string connections = "select count(*) from pg_stat_activity where application_name = 'amt-station'";
  ASSERT_TRUE(m_server.wait_for(connections, "0"));
  m_out.str("");
  std::jthread stopper([this] {
    const std::string query = "select pid from pg_stat_activity where application_name = 'amt-station' limit 1";
    ASSERT_TRUE(m_server.wait_for("select count(*) > 0 from (" + query + ") as p", "t"));
    m_hanging = std::stoi(m_server.ask(query));
    ::kill(m_hanging, SIGSTOP);
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(run("b", 3000), 0) << m_err.str();
  stopper.join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_THAT(m_out.str(), HasSubstr("records wait, because the store takes too long"));
  EXPECT_EQ(stored(), "a");
  ::kill(m_hanging, SIGCONT);
  // It may be this sending or the one that hung: each record is stored once.
  EXPECT_EQ(send(), 0);
  EXPECT_EQ(stored(), "a b");
}

}  // namespace
