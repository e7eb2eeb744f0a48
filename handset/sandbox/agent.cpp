// The agent: process 1 of a phone. It does in the sandbox what the library asks for on a socket, its descriptor 3. It
// ends when the other side of the socket is gone, and every process of the sandbox ends with it.
//
//   request                                         answer ("ok", seq, ...) or ("fail", seq, reason)
//   plug    seq NAME                                the master of a new raw pseudo-terminal, NAME leading to its slave
//   unplug  seq NAME                                NAME is gone
//   open    seq NAME NOT_THIS                       which link NAME now is, and a descriptor of the terminal that it
//                                                   leads to; none when there is none, or when the link is NOT_THIS
//   start   seq FOLDER COUNT ARG... NAME=VALUE...   its process id; the message carries the three standard streams
//   signal  seq PID NUMBER
//   uevent  seq BYTES                               one kernel event to the listeners of group 1
//
// Without a request it sends ("hello") when it is ready and ("ended", pid, "exit"|"signal", number) for each started
// process that has ended.
//
// A small static program of its own, so that it starts within a millisecond in a root that has no libraries.
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "handset/wire/message.h"
#include "handset/wire/pty.h"
#include "handset/wire/word-list.h"
#include "pub/util/fd.h"

namespace {

using handset::message;

constexpr int SOCKET = 3;

std::set<pid_t> started;  // the processes whose end is reported to the library; orphans are only reaped

void answer(const message& request, std::vector<std::string> result, const std::vector<int>& fds = {}) {
  result.insert(result.begin(), {"ok", request.fields[1]});
  handset::send_message(SOCKET, result, fds);
}

void fail(const message& request, const std::string& what) {
  const std::string reason = what + ": " + std::strerror(errno);
  handset::send_message(SOCKET, {"fail", request.fields[1], reason});
}

void plug(const message& request) {
  const std::string& name = request.fields.at(2);
  const bool is_fresh = request.fields.at(3) == "fresh";
  const auto terminal = handset::open_pty(is_fresh ? handset::pty_line::fresh : handset::pty_line::raw);
  if (!terminal) return fail(request, "cannot make a pseudo-terminal");
  // Made under another name and then renamed: whoever opens the name gets the old device or the new one.
  const std::string aside = name + ".new";
  if (::symlink(terminal->slave.c_str(), aside.c_str()) != 0 || ::rename(aside.c_str(), name.c_str()) != 0) {
    return fail(request, "cannot make " + name);
  }
  answer(request, {terminal->slave}, {terminal->master.get()});
}

void unplug(const message& request) {
  if (::unlink(request.fields.at(2).c_str()) != 0) return fail(request, "cannot remove " + request.fields[2]);
  answer(request, {});
}

// Differs between a link and another one that took its name later.
std::string identity(const std::string& name) {
  struct stat status {};
  if (::lstat(name.c_str(), &status) != 0) return "";
  return std::to_string(status.st_ino) + " " + std::to_string(status.st_ctim.tv_sec) + " " +
         std::to_string(status.st_ctim.tv_nsec);
}

// For whoever plays an application of the phone: the terminals of this sandbox cannot be opened from outside. A missing
// terminal is no failure, because it may still come.
void open_terminal(const message& request) {
  const std::string& name = request.fields.at(2);
  const std::string link = identity(name);
  if (link.empty() || link == request.fields.at(3)) return answer(request, {link});
  const pub_fd terminal(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (!terminal) return answer(request, {link});
  answer(request, {link}, {terminal.get()});
}

struct command {
  std::string folder;
  std::vector<std::string> arguments;
  std::vector<std::string> environment;
};

command read_command(const message& request) {
  const auto first = request.fields.begin() + 4;
  const auto split = first + std::atoi(request.fields.at(3).c_str());
  return {request.fields.at(2), {first, split}, {split, request.fields.end()}};
}

// Keeps only those capabilities. Nothing is inheritable.
bool keep_capabilities(std::uint32_t kept) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> data{};
  data[0].effective = kept;
  data[0].permitted = kept;
  return ::syscall(SYS_capset, &header, data.data()) == 0;
}

std::uint32_t permitted_capabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> data{};
  return ::syscall(SYS_capget, &header, data.data()) == 0 ? data[0].permitted : 0;
}

// A program that root starts gets whatever the bounding set still holds. Other users get nothing.
void give_up_own_rights() {
  for (const int right : {CAP_SYS_ADMIN, CAP_NET_ADMIN, CAP_SETPCAP}) {
    if (::getuid() == 0 && ::prctl(PR_CAPBSET_DROP, right, 0, 0, 0) != 0) ::_exit(126);
  }
}

// The child's side of a start: the command inherits neither the agent's signal settings nor its own capabilities.
[[noreturn]] void become(const message& request, int report) {
  command todo = read_command(request);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  for (int number = 1; number < NSIG; ++number) ::signal(number, SIG_DFL);  // a shell's "&" may have ignored some
  ::setsid();
  give_up_own_rights();
  for (int stream = 0; stream < 3; ++stream) ::dup2(request.fds.at(static_cast<std::size_t>(stream)).get(), stream);
  if (::chdir(todo.folder.c_str()) != 0) ::chdir("/");
  auto arguments = handset::pointers_to(todo.arguments);
  auto environment = handset::pointers_to(todo.environment);
  environ = environment.data();
  ::execvp(arguments[0], arguments.data());
  const int reason = errno;
  ::write(report, &reason, sizeof reason);
  ::_exit(127);
}

void start(const message& request) {
  int report[2];
  if (::pipe2(report, O_CLOEXEC) != 0) return fail(request, "pipe");
  pub_fd read_end(report[0]);
  pub_fd write_end(report[1]);
  const pid_t child = ::fork();
  if (child < 0) return fail(request, "fork");
  if (child == 0) become(request, write_end.get());
  write_end.reset();
  int reason = 0;
  if (::read(read_end.get(), &reason, sizeof reason) == sizeof reason) {  // nothing arrives when the exec worked
    ::waitpid(child, nullptr, 0);
    errno = reason;
    return fail(request, "cannot run " + request.fields.at(4));
  }
  started.insert(child);
  answer(request, {std::to_string(child)});
}

void send_signal(const message& request) {
  const pid_t pid = std::atoi(request.fields.at(2).c_str());
  if (!started.contains(pid)) errno = ESRCH;  // never signals another process that got the number
  if (!started.contains(pid) || ::kill(pid, std::atoi(request.fields.at(3).c_str())) != 0) return fail(request, "kill");
  answer(request, {});
}

void uevent(const message& request) {
  const pub_fd socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
  sockaddr_nl group{};
  group.nl_family = AF_NETLINK;
  group.nl_groups = 1;
  std::string bytes = request.fields.at(2);
  iovec data{bytes.data(), bytes.size()};
  msghdr header{};
  header.msg_name = &group;
  header.msg_namelen = sizeof group;
  header.msg_iov = &data;
  header.msg_iovlen = 1;
  // The kernel hands the event to the group, then refuses its own copy; without CAP_NET_ADMIN nobody gets it (EPERM).
  if (!socket || (::sendmsg(socket.get(), &header, 0) < 0 && errno != ECONNREFUSED)) return fail(request, "uevent");
  answer(request, {});
}

struct request_kind {
  const char* name;
  std::size_t fields;  // at least
  void (*handle)(const message&);
};
constexpr request_kind REQUESTS[] = {
    {"plug", 3, plug},   {"unplug", 3, unplug},      {"open", 4, open_terminal},
    {"start", 5, start}, {"signal", 4, send_signal}, {"uevent", 3, uevent},
};

void handle(const message& request) {
  for (const auto& kind : REQUESTS) {
    if (request.fields[0] == kind.name && request.fields.size() >= kind.fields) return kind.handle(request);
  }
  errno = EINVAL;
  if (request.fields.size() > 1) fail(request, request.fields[0]);
}

void reap() {
  int status = 0;
  for (pid_t pid; (pid = ::waitpid(-1, &status, WNOHANG)) > 0;) {
    if (started.erase(pid) == 0) continue;
    const bool signalled = WIFSIGNALED(status);
    handset::send_message(SOCKET, {"ended", std::to_string(pid), signalled ? "signal" : "exit",
                                   std::to_string(signalled ? WTERMSIG(status) : WEXITSTATUS(status))});
  }
}

// A network of the phone's own, owned by this user namespace, so that CAP_NET_ADMIN counts in it. A kernel event can
// only be sent with that capability.
bool make_network() {
  return ::unshare(CLONE_NEWNET) == 0 && keep_capabilities(permitted_capabilities() & ~(1u << CAP_SYS_ADMIN));
}

int watch_children() {
  sigset_t children;
  sigemptyset(&children);
  sigaddset(&children, SIGCHLD);
  ::sigprocmask(SIG_BLOCK, &children, nullptr);
  return ::signalfd(-1, &children, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

int main() {
  ::fcntl(SOCKET, F_SETFD, FD_CLOEXEC);
  ::umask(022);
  if (!make_network()) {
    std::fprintf(stderr, "handset-agent: cannot make a network namespace: %s\n", std::strerror(errno));
    return 1;
  }
  const pub_fd children(watch_children());
  handset::send_message(SOCKET, {"hello"});
  for (;;) {
    std::array<pollfd, 2> items = {{{SOCKET, POLLIN, 0}, {children.get(), POLLIN, 0}}};
    if (::poll(items.data(), items.size(), -1) < 0 && errno != EINTR) return 1;
    if (items[1].revents != 0) {
      signalfd_siginfo information;
      while (::read(children.get(), &information, sizeof information) > 0) {
      }
      reap();
    }
    if (items[0].revents == 0) continue;
    const auto request = handset::receive_message(SOCKET);
    if (!request) return 0;
    handle(*request);
  }
}
