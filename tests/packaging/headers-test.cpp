// What the service takes from the C and C++ libraries against the headers that it names. On this machine one header
// often brings another along; on a phone it does not, and the source does not compile there.
#include <gmock/gmock.h>

#include "tests/unit/docs/text.h"

namespace {

struct header_st {
  const char* m_name;
  const char* m_taken;  // an expression
  // Any of them declares it in a phone's C library and in its C++ library.
  std::vector<std::string> m_headers;
};

const std::vector<header_st>& headers() {
  static const std::vector<header_st> result = {
      {"Algorithm",
       "std::(?:min|max|clamp|find|find_if|copy|copy_n|fill|fill_n|equal|search|any_of|all_of|none_of|count|sort)\\(",
       {"algorithm"}},
      {"Array", "std::array<", {"array"}},
      {"Atomic", "std::atomic<", {"atomic"}},
      {"Characters", "std::(?:toupper|tolower|isdigit|isalpha|isspace|isxdigit)\\(", {"cctype"}},
      {"Clock", "std::chrono::", {"chrono"}},
      {"Directory", "\\b(?:stat|lstat|fstat|chmod|fchmod|mkdir)\\(", {"sys/stat.h"}},
      {"DynamicLibraries", "\\bdl(?:open|sym|close|error)\\(", {"dlfcn.h"}},
      {"Errno", "\\berrno\\b", {"cerrno"}},
      {"FileControl", "\\b(?:O_RDONLY|O_RDWR|O_WRONLY|fcntl\\()", {"fcntl.h"}},
      {"Memory", "std::(?:unique_ptr|shared_ptr)<", {"memory"}},
      {"MemoryMaps", "\\b(?:mmap|munmap)\\(", {"sys/mman.h"}},
      {"Move", "std::(?:move|exchange|forward)\\b", {"utility"}},
      {"Optional", "std::(?:optional|nullopt)\\b", {"optional"}},
      {"PathLength", "\\bPATH_MAX\\b", {"climits"}},
      {"Poll", "\\b(?:ppoll|poll)\\(|\\bPOLL(?:IN|OUT|HUP)\\b", {"poll.h"}},
      {"Posix",
       "[^_a-z:](?:access|unlink|symlink|readlink|getpid|gettid|geteuid|fsync|ftruncate|chown|fchown|alarm)\\(",
       {"unistd.h"}},
      {"Process", "\\b(?:waitpid)\\(", {"sys/wait.h"}},
      {"RealPath", "\\b(?:realpath|ptsname_r|grantpt|unlockpt)\\(", {"cstdlib"}},
      {"Requests", "\\bioctl\\(", {"sys/ioctl.h"}},
      {"Scheduler", "\\bsched_(?:getscheduler|setscheduler|get_priority_max)\\(", {"sched.h"}},
      {"Signals",
       "\\b(?:sigaction|sigaddset|sigemptyset|pthread_sigmask|sigwait|kill)\\(|\\bSIG(?:TERM|KILL|USR1|USR2)\\b",
       {"csignal", "signal.h"}},
      {"Sockets", "\\b(?:socket|bind|recv|setsockopt)\\(", {"sys/socket.h"}},
      {"Span", "std::span\\b", {"span"}},
      {"Spawn", "\\bposix_spawn", {"spawn.h"}},
      {"StandardFiles",
       "std::(?:FILE|fopen|fclose|fgets|fputs|fread|fwrite|fflush|ferror|fscanf|fprintf|snprintf|vsnprintf|rename)\\b|"
       "\\b(?:fileno|fdopen|dprintf|fseeko|ftrylockfile)\\(",
       {"cstdio"}},
      {"Strings", "std::(?:strlen|strcmp|strstr|strchr|strrchr|strspn|strcspn|strerror|memcpy|memset)\\(", {"cstring"}},
      {"StringsWithoutCase", "\\bstrn?casecmp\\(", {"strings.h"}},
      {"SystemCalls", "\\bSYS_[a-z]", {"sys/syscall.h"}},
      {"Terminals", "\\b(?:tcgetattr|tcsetattr|cfsetispeed)\\(", {"termios.h"}},
      {"Threads", "\\bpthread_(?:create|join|detach|exit|attr_init)\\(", {"pthread.h"}},
      {"Time", "\\b(?:timer_create|timer_settime|timer_delete)\\(|\\b(?:timespec|itimerspec) ", {"ctime"}},
      {"TimeOfDay", "\\bgettimeofday\\(", {"sys/time.h"}},
      {"Tuple", "std::(?:ignore|tie|tuple)\\b", {"tuple"}},
      {"View", "std::string_view\\b", {"string_view"}},
  };
  return result;
}

// The headers of the libraries that a file names, itself or by way of the project's own headers.
void add_headers(const std::filesystem::path& path, std::set<std::string>& named, std::set<std::string>& seen) {
  if (!seen.insert(path).second) return;
  const auto text = project_text(path);
  for (auto& header : matches(text, "\n#include <([^>]+)>")) named.insert(std::move(header));
  for (const auto& own : matches("\n" + text, "\n#include \"([^\"]+)\"")) add_headers(own, named, seen);
}

// The text without comments and without what it prints.
std::string code_of(const std::filesystem::path& path) {
  auto text = std::regex_replace(project_text(path), std::regex("\"(?:[^\"\\\\\n]|\\\\.)*\""), "\"\"");
  text = std::regex_replace(text, std::regex("#include [^\n]*"), "");
  return std::regex_replace(text, std::regex("//[^\n]*"), "");
}

struct source_st {
  std::filesystem::path m_path;
  std::string m_code;
  std::set<std::string> m_named;
};

const std::vector<source_st>& sources() {
  static const std::vector<source_st> result = [] {
    std::vector<source_st> all;
    auto paths = matches(project_text("Android.bp"), "\"([a-z0-9/-]+\\.cpp)\"");
    for (const char* folder : {"amt", "pub", "platform"}) {
      for (const auto& header : project_files(folder, {".h"})) paths.push_back(header);
    }
    for (const auto& path : paths) {
      source_st source{path, code_of(path), {}};
      std::set<std::string> seen;
      add_headers(path, source.m_named, seen);
      all.push_back(std::move(source));
    }
    EXPECT_GT(all.size(), 100u);
    return all;
  }();
  return result;
}

class HeaderOf : public testing::TestWithParam<header_st> {};

}  // namespace

TEST_P(HeaderOf, WhatASourceTakes_IsNamed) {
  const std::regex taken(GetParam().m_taken);
  std::size_t takers = 0;
  for (const auto& source : sources()) {
    std::smatch found;
    if (!std::regex_search(source.m_code, found, taken)) continue;
    ++takers;
    bool is_named = false;
    for (const auto& header : GetParam().m_headers) is_named = is_named || source.m_named.count(header) != 0;
    EXPECT_TRUE(is_named) << source.m_path << " takes " << found[0] << " without <" << GetParam().m_headers[0] << ">";
  }
  EXPECT_GT(takers, 0u) << "nothing takes it any more";
}

INSTANTIATE_TEST_SUITE_P(Libraries, HeaderOf, testing::ValuesIn(headers()),
                         [](const auto& row) { return row.param.m_name; });
