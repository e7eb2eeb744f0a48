// Runs in a phone in the place of the service, where a test is about the phone only.
//
//   (nothing)   relays between /dev/ttyPC and /dev/ttyMODEM until one hangs up ("hung up NAME", exit 0) or SIGTERM
//   uevent      prints the strings of each kernel event
//   caps        prints its capabilities, ids and standard input
//   wait        waits for a signal
//   flood       writes 1 MiB to its log, then "flooded" to standard output
#include <fcntl.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace {

int open_raw(const char* name) {
  const int fd = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) std::fprintf(stderr, "cannot open %s: %s\n", name, std::strerror(errno));
  termios attributes{};
  if (fd >= 0 && ::tcgetattr(fd, &attributes) == 0) {
    ::cfmakeraw(&attributes);
    ::tcsetattr(fd, TCSANOW, &attributes);
  }
  return fd;
}

// False when one side hung up.
bool carry(int from, int to) {
  std::array<char, 4096> buffer;
  const auto count = ::read(from, buffer.data(), buffer.size());
  return count > 0 && ::write(to, buffer.data(), static_cast<std::size_t>(count)) == count;
}

int relay() {
  const int pc = open_raw("/dev/ttyPC");
  const int modem = open_raw("/dev/ttyMODEM");
  if (pc < 0 || modem < 0) return 1;
  std::fprintf(stderr, "ready\n");
  for (;;) {
    std::array<pollfd, 2> items = {{{pc, POLLIN, 0}, {modem, POLLIN, 0}}};
    ::poll(items.data(), items.size(), -1);
    if (items[0].revents != 0 && !carry(pc, modem)) return std::fprintf(stderr, "hung up PC\n"), 0;
    if (items[1].revents != 0 && !carry(modem, pc)) return std::fprintf(stderr, "hung up MODEM\n"), 0;
  }
}

int print_uevents() {
  const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_pid = static_cast<unsigned>(::getpid());
  address.nl_groups = 1;
  sockaddr space;
  std::memcpy(&space, &address, sizeof address < sizeof space ? sizeof address : sizeof space);
  if (::bind(fd, &space, sizeof address) != 0) return std::fprintf(stderr, "cannot bind\n"), 1;
  std::fprintf(stderr, "ready\n");
  for (;;) {
    std::array<char, 4096> buffer;
    const auto count = ::recv(fd, buffer.data(), buffer.size(), 0);
    std::string text(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    for (char& c : text) c = c == '\0' ? '|' : c;
    std::fprintf(stderr, "event %s\n", text.c_str());
  }
}

int print_rights() {
  std::FILE* status = std::fopen("/proc/self/status", "re");
  std::array<char, 256> line;
  while (status != nullptr && std::fgets(line.data(), line.size(), status) != nullptr) {
    const std::string_view text = line.data();
    if (text.starts_with("CapEff") || text.starts_with("CapPrm") || text.starts_with("CapInh")) {
      std::fputs(line.data(), stdout);
    }
  }
  std::printf("uid %u gid %u\n", ::getuid(), ::getgid());
  return 0;
}

int flood() {
  const std::string line = std::string(1023, 'x') + "\n";
  for (int count = 0; count < 1024; ++count) std::fputs(line.c_str(), stderr);
  std::printf("flooded\n");
  return 0;
}

// Floods at a SIGUSR1, so that a test can get ready for it.
int flood_when_told() {
  sigset_t told;
  sigemptyset(&told);
  sigaddset(&told, SIGUSR1);
  sigprocmask(SIG_BLOCK, &told, nullptr);
  std::puts("ready");
  std::fflush(stdout);
  int number = 0;
  sigwait(&told, &number);
  return flood();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view what = argc > 1 ? argv[1] : "";
  if (what == "uevent") return print_uevents();
  if (what == "caps") return print_rights();
  if (what == "flood") return flood();
  if (what == "flood-when-told") return flood_when_told();
  if (what != "wait") return relay();
  std::fprintf(stderr, "ready\n");
  for (;;) ::pause();
}
