#include "handset/wire/message.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace handset {

namespace {

std::string encode(const std::vector<std::string>& fields) {
  std::string packet;
  for (const auto& field : fields) {
    std::array<char, sizeof(std::uint32_t)> length;
    const auto size = static_cast<std::uint32_t>(field.size());
    std::memcpy(length.data(), &size, length.size());
    packet.append(length.data(), length.size()).append(field);
  }
  return packet;
}

bool decode(std::string_view packet, std::vector<std::string>& fields) {
  while (!packet.empty()) {
    std::uint32_t size = 0;
    if (packet.size() < sizeof size) return false;
    std::memcpy(&size, packet.data(), sizeof size);
    packet.remove_prefix(sizeof size);
    if (packet.size() < size) return false;
    fields.emplace_back(packet.substr(0, size));
    packet.remove_prefix(size);
  }
  return !fields.empty();
}

using fd_space = std::array<char, CMSG_SPACE(sizeof(int) * MESSAGE_FDS)>;

void put_fds(msghdr& header, fd_space& space, const std::vector<int>& fds) {
  header.msg_control = space.data();
  header.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
  cmsghdr* control = CMSG_FIRSTHDR(&header);
  control->cmsg_level = SOL_SOCKET;
  control->cmsg_type = SCM_RIGHTS;
  control->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
  std::memcpy(CMSG_DATA(control), fds.data(), sizeof(int) * fds.size());
}

void take_fds(msghdr& header, std::vector<pub_fd>& fds) {
  for (cmsghdr* control = CMSG_FIRSTHDR(&header); control != nullptr; control = CMSG_NXTHDR(&header, control)) {
    if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS) continue;
    for (std::size_t at = 0; CMSG_LEN(at + sizeof(int)) <= control->cmsg_len; at += sizeof(int)) {
      int fd = -1;
      std::memcpy(&fd, CMSG_DATA(control) + at, sizeof fd);
      fds.emplace_back(fd);
    }
  }
}

}  // namespace

bool send_message(int socket, const std::vector<std::string>& fields, const std::vector<int>& fds) {
  std::string packet = encode(fields);
  if (packet.size() > MESSAGE_SIZE || fds.size() > MESSAGE_FDS) {
    errno = EMSGSIZE;
    return false;
  }
  iovec data{packet.data(), packet.size()};
  msghdr header{};
  header.msg_iov = &data;
  header.msg_iovlen = 1;
  alignas(cmsghdr) fd_space space{};
  if (!fds.empty()) put_fds(header, space, fds);
  ssize_t sent;
  do sent = ::sendmsg(socket, &header, MSG_NOSIGNAL);
  while (sent < 0 && errno == EINTR);
  return sent == static_cast<ssize_t>(packet.size());
}

std::optional<message> receive_message(int socket) {
  std::string packet(MESSAGE_SIZE, '\0');
  iovec data{packet.data(), packet.size()};
  msghdr header{};
  header.msg_iov = &data;
  header.msg_iovlen = 1;
  alignas(cmsghdr) fd_space space{};
  header.msg_control = space.data();
  header.msg_controllen = space.size();
  ssize_t received;
  do received = ::recvmsg(socket, &header, MSG_CMSG_CLOEXEC);
  while (received < 0 && errno == EINTR);
  if (received < 0) return std::nullopt;
  errno = 0;  // by this the caller can distinguish the end from "nothing there"
  message result;
  take_fds(header, result.fds);
  if (!decode({packet.data(), static_cast<std::size_t>(received)}, result.fields)) return std::nullopt;
  return result;
}

}  // namespace handset
