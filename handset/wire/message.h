// Messages between processes of the virtual handset: a list of byte strings and some descriptors, in one packet of a
// SOCK_SEQPACKET socket. Each string is its length (u32, host order) and its bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "pub/util/fd.h"

namespace handset {

inline constexpr std::size_t MESSAGE_SIZE = std::size_t{128} * 1024;  // the largest packet
inline constexpr std::size_t MESSAGE_FDS = 4;                         // the most descriptors in one

struct message {
  std::vector<std::string> fields;
  std::vector<pub_fd> fds;
};

// False with errno set when the packet could not be sent; EMSGSIZE when it is too large. Never raises SIGPIPE.
bool send_message(int socket, const std::vector<std::string>& fields, const std::vector<int>& fds = {});
// None at the end of the connection, on an error (errno EAGAIN: nothing there) or for a packet that is no message.
std::optional<message> receive_message(int socket);

}  // namespace handset
