// Readers whose end is the end of the process: they run in a child, which reports its log.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "tests/unit/links.h"
#include "tests/unit/wait-for.h"

class ending_link_test : public context_test {
 protected:
  ending_link_test() { current_log() = &m_log; }

  static void read_to_the_end(void (*loop)()) {
    alarm(20);  // a reader that goes on would keep the test waiting for ever
    std::atexit(report_log);
    loop();
  }

  static constexpr int PATIENT = 7;  // the exit code for a reader that waits between its empty reads
  // Ends the child after four empty reads, which three pauses of at least this length lie between.
  static void read_emptiness(void (*loop)(), std::string_view line, std::chrono::milliseconds pause) {
    std::thread([line, pause] {
      const log_capture& log = *current_log();
      wait_for([&] { return log.has(line); });
      const auto begin = std::chrono::steady_clock::now();
      const bool is_repeated = wait_for([&] { return log.count(line) >= 4; }, std::chrono::seconds(10));
      // The first one was noticed late by what a busy machine takes.
      const bool is_patient = std::chrono::steady_clock::now() - begin >= 2 * pause;
      report_log();
      _exit(is_repeated && is_patient ? PATIENT : 1);
    }).detach();
    read_to_the_end(loop);
  }

 private:
  static const log_capture*& current_log() {
    static const log_capture* log = nullptr;
    return log;
  }
  static void report_log() {
    for (const auto& line : current_log()->texts()) std::fprintf(stderr, "%s\n", line.c_str());
  }
};
