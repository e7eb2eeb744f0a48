// The socket between `handset ctl` and a running phone: both ends.
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "handset/program/control.h"
#include "handset/sandbox/tree.h"
#include "handset/wire/error.h"
#include "handset/wire/message.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr timeval PATIENCE{5, 0};  // how long either side of a connection waits for the other

// Whether `action` (bind or connect) works on the socket's name.
template <typename Action>
bool with_address(const fs::path& name, Action action) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.native().size() >= sizeof address.sun_path) return false;
  name.native().copy(address.sun_path, sizeof address.sun_path - 1);
  const void* pointer = &address;
  return action(static_cast<const sockaddr*>(pointer), sizeof address) == 0;
}

pub_fd make_socket() {
  pub_fd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &PATIENCE, sizeof PATIENCE);
  ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &PATIENCE, sizeof PATIENCE);
  return socket;
}

std::optional<pub_fd> connect_to(const fs::path& name) {
  pub_fd socket = make_socket();
  const bool connected = with_address(
      name, [&](const sockaddr* address, socklen_t size) { return ::connect(socket.get(), address, size); });
  if (!connected) return std::nullopt;
  return socket;
}

// The control sockets of this user's phones, the youngest first; some may be left over from killed phones.
std::vector<fs::path> sockets_of_user() {
  std::vector<std::pair<fs::file_time_type, fs::path>> found;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(user_folder(), ignored)) {
    const fs::path socket = entry.path() / "control";
    const auto time = fs::last_write_time(socket, ignored);
    if (!ignored) found.emplace_back(time, socket);
  }
  std::sort(found.rbegin(), found.rend());
  std::vector<fs::path> sockets;
  sockets.reserve(found.size());
  for (auto& [time, socket] : found) sockets.push_back(std::move(socket));
  return sockets;
}

pub_fd connect_to_any(const fs::path& wanted) {
  const auto sockets = wanted.empty() ? sockets_of_user() : std::vector<fs::path>{wanted};
  for (const auto& socket : sockets) {
    if (auto connection = connect_to(socket)) return std::move(*connection);
  }
  throw error(wanted.empty() ? "no phone of this user is running (start one: handset run)"
                             : "no phone listens at " + wanted.string());
}

}  // namespace

control_server::control_server(event_loop& loop, const fs::path& socket, control_target target)
    : m_listener(make_socket()), m_target(std::move(target)) {
  const bool bound = with_address(
      socket, [&](const sockaddr* address, socklen_t size) { return ::bind(m_listener.get(), address, size); });
  if (!bound || ::listen(m_listener.get(), 8) != 0) throw error("cannot listen at " + socket.string());
  loop.watch(m_listener.get(), POLLIN, [this](short) { serve(); });
}

void control_server::serve() {
  const pub_fd connection(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (!connection) return;
  ::setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &PATIENCE, sizeof PATIENCE);
  const auto request = receive_message(connection.get());
  if (!request) return;
  std::vector<std::string> answer;
  try {
    answer = {"ok", run_control(m_target, request->fields)};
  } catch (const std::exception& failure) {
    answer = {"fail", failure.what()};
  }
  if (!send_message(connection.get(), answer)) {
    send_message(connection.get(), {"fail", std::string("the answer cannot be sent: ") + std::strerror(errno)});
  }
}

control_answer ask_control(const fs::path& socket, const std::vector<std::string>& words) {
  const pub_fd connection = connect_to_any(socket);
  if (!send_message(connection.get(), words)) throw error(std::string("cannot ask: ") + std::strerror(errno));
  const auto answer = receive_message(connection.get());
  // A phone that the command ends may be gone before it has answered.
  if (!answer || answer->fields.size() != 2) throw error("the phone gave no answer");
  return {answer->fields[0] == "ok", answer->fields[1]};
}

}  // namespace handset
