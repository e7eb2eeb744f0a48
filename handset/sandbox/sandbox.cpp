#include "handset/sandbox/sandbox.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>

#include "handset/sandbox/tree.h"
#include "handset/wire/files.h"
#include "handset/wire/word-list.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr int AGENT_SOCKET = 3;  // as the agent expects it
constexpr const char* AGENT_INSIDE = "/handset/agent";
constexpr int STOP_WAIT_MS = 5000;
constexpr const char* ROOT_RIGHTS[] = {"CAP_CHOWN", "CAP_DAC_OVERRIDE", "CAP_FOWNER", "CAP_FSETID", "CAP_SETPCAP"};

void add(std::vector<std::string>& list, std::initializer_list<std::string> items) {
  list.insert(list.end(), items);
}

void add_system(std::vector<std::string>& arguments) {
  for (const char* folder : {"/usr", "/bin", "/sbin", "/lib", "/lib32", "/lib64", "/libx32"}) {
    if (fs::is_directory(folder) && !fs::is_symlink(folder)) add(arguments, {"--ro-bind", folder, folder});
  }
  for (const char* path : {"/etc/ld.so.cache", "/etc/ld.so.conf", "/etc/ld.so.conf.d", "/etc/alternatives"}) {
    if (fs::exists(path)) add(arguments, {"--ro-bind", path, path});
  }
}

std::vector<std::string> bwrap_arguments(const phone_tree& tree, const std::vector<bind_mount>& binds,
                                         const std::vector<storage_card>& cards, phone_user user) {
  std::vector<std::string> arguments = {
      "bwrap", "--unshare-user", "--unshare-pid", "--unshare-ipc", "--die-with-parent", "--as-pid-1", "--clearenv"};
  add(arguments, {"--uid", user == phone_user::root ? "0" : "1000", "--gid", "1001"});
  // For the agent alone, which makes the phone's network namespace and sends kernel events in it. The namespace of
  // bubblewrap's own --unshare-net would belong to a user namespace above the agent's, so it would not do.
  add(arguments, {"--cap-drop", "ALL", "--cap-add", "CAP_SYS_ADMIN", "--cap-add", "CAP_NET_ADMIN"});
  // For the processes of root: the agent takes from them what is above.
  if (user == phone_user::root) {
    for (const char* right : ROOT_RIGHTS) add(arguments, {"--cap-add", right});
  }
  add(arguments, {"--bind", tree.root().string(), "/"});
  add_system(arguments);
  add(arguments, {"--proc", "/proc", "--dev", "/dev"});
  if (fs::is_directory("/proc/driver")) {
    add(arguments, {"--ro-bind", tree.host_path("/proc/driver").string(), "/proc/driver"});
  }
  for (const auto& card : cards) add(arguments, {"--size", std::to_string(card.size * 1024), "--tmpfs", card.folder});
  for (const auto& bind : binds) {
    add(arguments, {bind.writable ? "--bind" : "--ro-bind", bind.host.string(), bind.inside.string()});
  }
  add(arguments, {"--ro-bind", (program_folder() / "handset-agent").string(), AGENT_INSIDE});
  add(arguments, {"--chdir", "/", "--", AGENT_INSIDE});
  return arguments;
}

// What posix_spawn is to do in the child. Always freed.
struct spawn_plan {
  spawn_plan() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
  }
  ~spawn_plan() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  spawn_plan(const spawn_plan&) = delete;
  spawn_plan& operator=(const spawn_plan&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

std::string first_word(const char* path) {
  std::string word;
  std::ifstream(path) >> word;
  return word;
}

std::string machine_reasons() {
  std::string reasons;
  if (first_word("/proc/sys/user/max_user_namespaces") == "0") {
    reasons += "user namespaces are switched off (sysctl user.max_user_namespaces is 0)\n";
  }
  if (first_word("/proc/sys/kernel/unprivileged_userns_clone") == "0") {
    reasons += "user namespaces are kept from ordinary users (sysctl kernel.unprivileged_userns_clone is 0)\n";
  }
  if (first_word("/proc/sys/kernel/apparmor_restrict_unprivileged_userns") == "1") {
    reasons +=
        "AppArmor may keep user namespaces from ordinary users "
        "(sysctl kernel.apparmor_restrict_unprivileged_userns is 1)\n";
  }
  return reasons;
}

}  // namespace

sandbox::~sandbox() {
  stop();
}

void sandbox::start(const phone_tree& tree, const std::vector<bind_mount>& binds,
                    const std::vector<storage_card>& cards, phone_user user) {
  int sockets[2];
  int complaints[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0) throw error("cannot make a socket pair");
  m_agent.reset(sockets[0]);
  const pub_fd theirs(sockets[1]);
  if (::pipe2(complaints, O_CLOEXEC) != 0) throw error("cannot make a pipe");
  m_complaints.reset(complaints[0]);
  const pub_fd their_complaints(complaints[1]);

  spawn_plan plan;
  posix_spawn_file_actions_addopen(&plan.actions, 0, "/dev/null", O_RDWR, 0);
  posix_spawn_file_actions_addopen(&plan.actions, 1, "/dev/null", O_RDWR, 0);
  posix_spawn_file_actions_adddup2(&plan.actions, their_complaints.get(), 2);
  posix_spawn_file_actions_adddup2(&plan.actions, theirs.get(), AGENT_SOCKET);
  // A session of its own: a Ctrl-C goes to the program that runs the phone, which then ends the phone in order.
  sigset_t no_signals;
  sigset_t all_signals;
  sigemptyset(&no_signals);
  sigfillset(&all_signals);
  posix_spawnattr_setsigmask(&plan.attributes, &no_signals);
  posix_spawnattr_setsigdefault(&plan.attributes, &all_signals);
  posix_spawnattr_setflags(&plan.attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  auto arguments = bwrap_arguments(tree, binds, cards, user);
  const int failed =
      ::posix_spawnp(&m_bwrap, "bwrap", &plan.actions, &plan.attributes, pointers_to(arguments).data(), environ);
  if (failed == 0) return;
  m_bwrap = 0;
  throw sandbox_error(failed == ENOENT ? "bubblewrap is not installed (no program bwrap in PATH; Debian: bubblewrap)"
                                       : std::string("cannot start bubblewrap: ") + std::strerror(failed));
}

std::string sandbox::why_not() {
  stop();  // after this its standard error is complete
  std::string said;
  std::array<char, 4096> buffer;
  for (ssize_t count; (count = ::read(m_complaints.get(), buffer.data(), buffer.size())) > 0;) {
    said.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return "no sandbox can be made here\n" + said + machine_reasons();
}

void sandbox::stop() {
  m_agent.reset();
  if (m_bwrap == 0) return;
  // The agent ends when its socket ends. It is process 1, so all other processes end with it; bubblewrap follows.
  const pub_fd process(static_cast<int>(::syscall(SYS_pidfd_open, m_bwrap, 0)));
  pollfd item{process.get(), POLLIN, 0};
  if (!process || ::poll(&item, 1, STOP_WAIT_MS) <= 0) ::kill(m_bwrap, SIGKILL);
  while (::waitpid(m_bwrap, nullptr, 0) < 0 && errno == EINTR) {
  }
  m_bwrap = 0;
}

}  // namespace handset
