// Where the shell's lines come from.
#pragma once

#include <memory>
#include <string>
#include <vector>

enum class station_line_en {
  LINE,         // one line, without its end
  END,          // there are no more
  CANCELLED,    // Ctrl-C at the prompt: the line is thrown away
  INTERRUPTED,  // the program is to end
};

class station_line_source_st {
 public:
  station_line_source_st() = default;
  virtual ~station_line_source_st() = default;
  station_line_source_st(const station_line_source_st&) = delete;
  station_line_source_st& operator=(const station_line_source_st&) = delete;
  virtual station_line_en next(std::string* line) = 0;
};

// What may stand at the end of the text before the cursor.
using station_completer = std::vector<std::string> (*)(const std::string& before);

// From a terminal with editing, completion and history; from anything else plain lines. stop_fd: readable means an
// interrupt. Both descriptors are borrowed.
std::unique_ptr<station_line_source_st> station_open_lines(int in_fd, int stop_fd, station_completer completer);

// Takes an interrupt off its descriptor. Whether it was Ctrl-C, not a signal to end the program.
bool station_take_interrupt(int stop_fd);
