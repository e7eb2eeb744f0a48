// What ends a benchmark that cannot go on: a message and exit status 1.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

[[noreturn]] inline void bench_fail(const std::string& what) {
  std::fprintf(stderr, "amt-bench: %s (%s)\n", what.c_str(), std::strerror(errno));
  std::exit(1);
}
