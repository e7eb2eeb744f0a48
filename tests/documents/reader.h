// Somebody who types what a document prints: in a folder that holds a "build" of this project, with its programs in the
// path, and with phones of his own.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

class reader {
 public:
  reader();
  ~reader();
  reader(const reader&) = delete;
  reader& operator=(const reader&) = delete;

  struct outcome {
    int exit;
    std::string output;  // both streams
  };
  // Runs a command to its end. One that only Ctrl-C ends (monitor, log -f) gets that after a while.
  outcome type(const std::string& command);
  // Starts a phone and waits until it serves somebody; phones of the reader that have no name of their own end first.
  void start_phone(const std::string& command);
  // Brings the phone into the mode that a command is about, and puts its ttys in the place of those of the document.
  std::string prepare(const std::string& command);
  void end_phones();
  std::filesystem::path folder() const { return m_folder; }

 private:
  std::string ctl(const std::string& words);

  std::filesystem::path m_folder;
  std::vector<int> m_phones;
  std::string m_mode = "pc";
};

// The command starts a phone.
bool is_phone(const std::string& command);
