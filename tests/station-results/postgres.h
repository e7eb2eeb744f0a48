// A PostgreSQL server of the test's own, in its own folder, reached by a socket there; nothing listens on a network.
#pragma once

#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/temp-folder.h"

class postgres_st {
 public:
  postgres_st() {
    std::filesystem::create_directories(m_folder.path("data"));
    if (::geteuid() == 0) give_to_user();
    run({program("initdb"), "-D", data(), "-A", "trust", "-U", "test", "--no-sync", "-E", "UTF8", "--locale=C"}, true);
    start();
  }
  ~postgres_st() { stop(); }
  postgres_st(const postgres_st&) = delete;
  postgres_st& operator=(const postgres_st&) = delete;

  // The store's address.
  std::string address() const { return "postgresql:///postgres?host=" + data() + "&user=test&connect_timeout=2"; }

  void start() {
    m_pid = run({program("postgres"), "-D", data(), "-k", data(), "-c", "listen_addresses=", "-c", "fsync=off"}, false);
    for (int n = 0; n < 600; ++n) {
      if (std::system(("psql -X -q -U test -h " + data() + " -c 'select 1' postgres >/dev/null 2>&1").c_str()) == 0)
        return;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    throw std::runtime_error("the server does not come up");
  }

  void stop(int number = SIGINT) {
    if (m_pid <= 0) return;
    ::kill(m_pid, number);
    ::waitpid(m_pid, nullptr, 0);
    m_pid = -1;
  }

  // What one query gives, as psql prints it.
  // `answer_name`: its file, for one that is asked beside others.
  std::string ask(const std::string& query, const std::string& answer_name = "answer") const {
    const std::string answer = m_folder.path(answer_name);
    const std::string command =
        "psql -X -q -A -t -U test -h " + data() + " -c \"" + query + "\" postgres >" + answer + " 2>&1";
    if (std::system(command.c_str()) != 0) return "failed: " + read_whole_file(answer);
    std::string text = read_whole_file(answer);
    return text.substr(0, text.find_last_not_of('\n') + 1);
  }

  // Whether the query comes to give this, within half a minute.
  bool wait_for(const std::string& query, const std::string& answer) const {
    for (int n = 0; n < 600; ++n) {
      if (ask(query) == answer) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }

 private:
  std::string data() const { return m_folder.path("data"); }

  static std::string program(const std::string& name) {
    for (const auto& version : std::filesystem::directory_iterator("/usr/lib/postgresql")) {
      const auto path = version.path() / "bin" / name;
      if (std::filesystem::exists(path)) return path;
    }
    throw std::runtime_error("no " + name);
  }

  // The server refuses to be root.
  void give_to_user() {
    const passwd* user = ::getpwnam("postgres");
    if (user == nullptr) throw std::runtime_error("no user postgres");
    m_user = {"setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups", "--pdeathsig=KILL", "--"};
    const bool is_given =
        ::chown(data().c_str(), user->pw_uid, user->pw_gid) == 0 && ::chmod(m_folder.path("").c_str(), 0755) == 0;
    if (!is_given) throw std::runtime_error("cannot give the folder away");
  }

  pid_t run(std::vector<std::string> words, bool is_waited_for) {
    words.insert(words.begin(), m_user.begin(), m_user.end());
    std::vector<char*> pointers;
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const std::string log = m_folder.path("log");
    const pid_t pid = ::fork();
    if (pid == 0) {
      if (std::freopen(log.c_str(), "a", stdout) == nullptr || ::dup2(1, 2) < 0 || ::chdir("/") != 0) ::_exit(126);
      ::execvp(pointers[0], pointers.data());
      ::_exit(127);
    }
    int status = 0;
    if (is_waited_for && (::waitpid(pid, &status, 0) != pid || status != 0))
      throw std::runtime_error(read_whole_file(log));
    return pid;
  }

  temp_folder m_folder;
  std::vector<std::string> m_user;
  pid_t m_pid = -1;
};
