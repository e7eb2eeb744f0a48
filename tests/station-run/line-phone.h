// A line for tests: virtual phones as `handset run` gives them, plans, and the records of their runs.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/unit/temp-folder.h"

// What follows the text in a line of an output.
std::string text_after(const std::string& output, const std::string& text);

// A program that runs beside the test, its output in a file.
class beside_st {
 public:
  beside_st(const std::vector<std::string>& command, const std::string& output);
  ~beside_st();
  beside_st(const beside_st&) = delete;
  beside_st& operator=(const beside_st&) = delete;

  void send_signal(int number) const;
  // Its exit status, or 128 and the signal's number.
  int wait();
  std::string output() const { return read_whole_file(m_output); }
  // Whether the text appears in its output within 30 seconds.
  bool wait_output(const std::string& text) const;

 private:
  pid_t m_pid = 0;
  std::string m_output;
};

// With its factory image.
class line_phone_st {
 public:
  // more: options of `handset run`.
  line_phone_st(const temp_folder& folder, const std::string& name, const std::vector<std::string>& more = {});

  const std::string& port() const { return m_port; }
  std::string output() const { return m_program.output(); }
  bool wait_output(const std::string& text) const { return m_program.wait_output(text); }
  void control(const std::vector<std::string>& words) const;

 private:
  std::string m_log;
  beside_st m_program;
  std::string m_port;
  std::string m_socket;
};

struct station_outcome {
  int m_status;
  std::string m_out;
  std::string m_err;
};

// The station's own code, in this process.
station_outcome run_station_here(const std::vector<std::string>& arguments, int stop_fd = -1, int in_fd = -1);
std::string amt_station();

class LineTest : public testing::Test {
 protected:
  std::string write_plan(const std::string& steps, const std::string& head = "") const;
  std::vector<std::string> run_arguments(const std::string& plan, const std::vector<std::string>& phones) const;
  station_outcome run(const std::string& plan, const std::string& port, int stop_fd = -1, int in_fd = -1) const;
  std::vector<nlohmann::json> records() const;
  // The one record there is.
  nlohmann::json record() const;
  std::string records_folder() const { return m_folder.path("records"); }
  // Each record, judged by a validator that knows nothing of the program.
  void expect_valid_records() const;

  temp_folder m_folder;
};

inline std::string one_step(const std::string& name, const std::string& keys) {
  return "[[step]]\nname = \"" + name + "\"\n" + keys + "\n";
}
