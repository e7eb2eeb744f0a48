#include "handset/program/log-follow.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

#include "handset/program/commands.h"
#include "handset/wire/error.h"
#include "pub/util/fd.h"

namespace handset {

namespace {

constexpr std::chrono::milliseconds LOOK_AGAIN{100};

// What there is from here on. False when standard output takes no more.
bool copy_rest(int log) {
  std::array<char, 16384> buffer;
  for (ssize_t count; (count = ::read(log, buffer.data(), buffer.size())) > 0;) {
    if (std::fwrite(buffer.data(), 1, static_cast<std::size_t>(count), stdout) != static_cast<std::size_t>(count)) {
      return false;
    }
  }
  return std::fflush(stdout) == 0;
}

}  // namespace

int print_log(const std::filesystem::path& log, bool follows) {
  const pub_fd file(::open(log.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw error("cannot read " + log.string());
  // The phone holds its file open for writing and removes its folder at its end.
  const auto folder = log.parent_path();
  for (bool is_there = true; copy_rest(file.get());) {
    if (!follows || !is_there) return STATUS_DONE;
    is_there = std::filesystem::exists(folder / "control");
    if (is_there) std::this_thread::sleep_for(LOOK_AGAIN);
  }
  throw error("cannot write to standard output");
}

}  // namespace handset
