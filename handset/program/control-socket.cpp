// The socket between `handset ctl` and a running phone: both ends.
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "handset/program/control.h"
#include "handset/program/names.h"
#include "handset/wire/error.h"
#include "handset/wire/message.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr timeval PATIENCE{10, 0};  // how long either side waits for the other: a service takes a while to end

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

std::string names_of(const std::vector<named_phone>& phones) {
  std::string names;
  for (const auto& phone : phones) names += (names.empty() ? "" : ", ") + phone.name;
  return names;
}

// The folder of the wanted phone. A command never goes to another one by chance.
fs::path folder_of(const std::string& wanted) {
  const auto phones = running_phones();
  if (phones.empty()) throw error("no phone of this user is running (start one: handset run)");
  if (wanted.empty() && phones.size() > 1) {
    throw usage_error("several phones are running: " + names_of(phones) + "; say which: handset ctl --name NAME ...");
  }
  for (const auto& phone : phones) {
    if (wanted.empty() || phone.name == wanted) return phone.folder;
  }
  throw error("no phone named " + wanted + " is running; there is " + names_of(phones));
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
    answer = {"ok", run_control(m_target, request->fields), m_target.name};
  } catch (const usage_error& failure) {
    answer = {"wrong", failure.what(), m_target.name};
  } catch (const std::exception& failure) {
    answer = {"fail", failure.what(), m_target.name};
  }
  if (!send_message(connection.get(), answer)) {
    send_message(connection.get(),
                 {"fail", std::string("the answer cannot be sent: ") + std::strerror(errno), m_target.name});
  }
}

control_answer ask_control(const phone_choice& choice, const std::vector<std::string>& words) {
  const fs::path socket = choice.socket.empty() ? control_socket(folder_of(choice.name)) : choice.socket;
  const auto connection = connect_to(socket);
  if (!connection) throw error("no phone listens at " + socket.string());
  if (!send_message(connection->get(), words)) throw error(std::string("cannot ask: ") + std::strerror(errno));
  const auto answer = receive_message(connection->get());
  // A phone that the command ends may be gone before it has answered.
  if (!answer || answer->fields.size() != 3) throw error("the phone gave no answer");
  const auto& fields = answer->fields;
  const auto result = fields[0] == "ok"      ? control_result::done
                      : fields[0] == "wrong" ? control_result::wrong
                                             : control_result::failed;
  return {result, fields[1], fields[2]};
}

}  // namespace handset
