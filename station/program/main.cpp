#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "station/program/command-line.h"

namespace {

// Colour helps people. A file, a pipe and a user who set NO_COLOR get plain text.
bool wants_color() {
  const char* no_color = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  if (no_color != nullptr && *no_color != '\0') return false;
  return ::isatty(STDOUT_FILENO) != 0 && (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

// The descriptor of a terminal on which lines can be drawn again; -1: standard output is none.
int terminal() {
  const char* name = std::getenv("TERM");
  const bool is_able = ::isatty(STDOUT_FILENO) != 0 && name != nullptr && std::strcmp(name, "dumb") != 0;
  return is_able ? STDOUT_FILENO : -1;
}

// An interrupted run gives the port back before it ends, so the signals arrive on a descriptor.
int open_signal_fd() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

// A program that starts without one of these would get the port on its number, and print to the phone. What is printed
// on a standard output that was closed still fails, because here it can only be read.
void fill_standard_descriptors() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(fd, F_GETFD) >= 0 || errno != EBADF) continue;
    ::open("/dev/null", fd == STDERR_FILENO ? O_WRONLY : O_RDONLY);  // gets this number, the lowest that is free
  }
}

}  // namespace

int main(int argc, char** argv) {
  fill_standard_descriptors();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that is gone is a failed output, with its own exit status
  const station_io_st io{&std::cout, &std::cerr, wants_color(), open_signal_fd(), STDIN_FILENO, terminal()};
  return station_run({argv + 1, argv + argc}, io);
}
