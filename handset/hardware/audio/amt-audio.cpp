// The phone's sound player, as far as anybody can hear it: amt-audio RATE FORMAT FRAMES FILE. Puts itself into the
// background, writes its process id to /tmp/amt-audio.pid and ends when the file would have been played to its end.
// While it plays it holds a lock on /handset/audio, which names the sound.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace {

constexpr char PID_FILE[] = "/tmp/amt-audio.pid";
constexpr char STATE_FILE[] = "/handset/audio";
constexpr long SAMPLE_SIZE[] = {0, 2, 1, 4};  // bytes, by format

struct sound {
  long rate = 0;
  long format = 0;
  long frames = 0;
  const char* path = nullptr;
  off_t size = 0;
};

bool take_number(std::string_view text, long& number) {
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failed == std::errc{} && end == text.data() + text.size() && number > 0;
}

std::optional<sound> read_arguments(int argc, char** argv) {
  sound wanted;
  if (argc != 5 || !take_number(argv[1], wanted.rate) || !take_number(argv[2], wanted.format) ||
      !take_number(argv[3], wanted.frames) || static_cast<std::size_t>(wanted.format) >= std::size(SAMPLE_SIZE)) {
    return std::nullopt;
  }
  struct stat status {};
  wanted.path = argv[4];
  if (::access(wanted.path, R_OK) != 0 || ::stat(wanted.path, &status) != 0 || !S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  wanted.size = status.st_size;
  return wanted;
}

bool write_file(const char* path, const std::string& text) {
  const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const bool is_written = fd >= 0 && ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::close(fd);
  return is_written;
}

void play(const sound& wanted, int started) {
  const int lock = ::open(STATE_FILE, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  ::flock(lock, LOCK_SH);
  write_file(STATE_FILE, std::string(wanted.path) + " (" + std::to_string(wanted.rate) + " Hz, format " +
                             std::to_string(wanted.format) + ", " + std::to_string(wanted.frames) + " frames)\n");
  write_file(PID_FILE, std::to_string(::getpid()) + "\n");
  for (int stream = 0; stream < 3; ++stream) ::dup2(::open("/dev/null", O_RDWR | O_CLOEXEC), stream);
  ::write(started, "1", 1);
  ::close(started);
  const auto bytes_a_second = wanted.rate * SAMPLE_SIZE[static_cast<std::size_t>(wanted.format)];
  std::this_thread::sleep_for(std::chrono::milliseconds(wanted.size * 1000 / bytes_a_second));
  ::unlink(PID_FILE);
}

}  // namespace

int main(int argc, char** argv) {
  const auto wanted = read_arguments(argc, argv);
  int started[2];
  if (!wanted || ::pipe2(started, O_CLOEXEC) != 0) {
    std::fprintf(stderr, "usage: amt-audio RATE FORMAT FRAMES FILE\n");
    return 2;
  }
  const pid_t player = ::fork();
  if (player < 0) return 1;
  if (player == 0) {
    ::setsid();
    play(*wanted, started[1]);
    return 0;
  }
  // The caller may stop the player at once, so its process id must be on file when this returns.
  ::close(started[1]);
  char is_started = 0;
  return ::read(started[0], &is_started, 1) == 1 ? 0 : 1;
}
