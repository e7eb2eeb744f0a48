// A phone that is a script: for each request that it waits for, what it sends.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "station/program/command-line.h"
#include "tests/station/phone-line.h"

struct script_step_st {
  std::string m_request;
  std::string m_answer;
};
using script = std::vector<script_step_st>;

struct outcome_st {
  int m_status;
  std::string m_out;
  std::string m_err;
};

inline outcome_st run_station(const std::vector<std::string>& arguments, int stop_fd = -1, int in_fd = -1) {
  std::ostringstream out;
  std::ostringstream err;
  const int status = station_run(arguments, {&out, &err, false, stop_fd, in_fd});
  return {status, out.str(), err.str()};
}

// The reads that bring a line into step, and their answers.
inline const script PROBES = {{"AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"},
                              {"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}};
inline const script MODEM_PROBES = {{"AT^DGSN?\r", "\r\n^DGSN: 1\r\n\r\nOK\r\n"},
                                    {"AT^DMSN\r", "\r\n^DMSN: 2\r\n\r\nOK\r\n"}};

inline script operator+(script left, const script& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class ScriptedPhone : public testing::Test {
 protected:
  // The phone plays the script while the station runs; every request has to be the one that the script waits for.
  outcome_st run(std::vector<std::string> arguments, const script& steps, int in_fd = -1) {
    std::jthread phone([&] { play(steps); });
    arguments.insert(arguments.begin(), {"--port", m_phone.path()});
    return run_station(arguments, -1, in_fd);
  }

  void play(const script& steps) const {
    for (const auto& step : steps) {
      const byte_string got = m_phone.receive(step.m_request.size());
      ASSERT_EQ(std::string(got.begin(), got.end()), step.m_request);
      m_phone.send(bytes_from_text(step.m_answer));
    }
  }

  // As a station leaves the line that got every answer.
  void SetUp() override { m_phone.mark_in_step(); }

  phone_line_st m_phone;
};
