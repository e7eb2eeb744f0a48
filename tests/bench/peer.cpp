// The minimal programs that the service is compared with. Each opens the terminals that it is given, blocking.
//
//   amt-bench-peer threads A B       one thread for each way: read, write
//   amt-bench-peer poll A B          one thread, poll on both
//   amt-bench-peer reply A HEX...    answers whatever it reads with the given pieces, one write each
//   amt-bench-peer store A FILE HEX  writes "1" into the file before it answers
//   amt-bench-peer ask A B TEXT FRAME
//     for each block from A writes one to B, awaits an "OK" line from there and answers A; both blocks in hexadecimal
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <thread>
#include <vector>

#include "pub/util/io.h"
#include "tests/hex.h"

namespace {

using bytes = std::vector<std::uint8_t>;

bool carry(int from, int to) {
  std::array<std::uint8_t, 4096> buffer{};
  const ssize_t count = read(from, buffer.data(), buffer.size());
  return count > 0 && write(to, buffer.data(), static_cast<std::size_t>(count)) == count;
}

int run_threads(int one, int other) {
  std::thread back([=] {
    while (carry(other, one)) {
    }
    _exit(1);
  });
  while (carry(one, other)) {
  }
  _exit(1);
}

int run_poll(int one, int other) {
  std::array<pollfd, 2> wanted{{{one, POLLIN, 0}, {other, POLLIN, 0}}};
  while (poll(wanted.data(), wanted.size(), -1) > 0) {
    if (wanted[0].revents != 0 && !carry(one, other)) return 1;
    if (wanted[1].revents != 0 && !carry(other, one)) return 1;
  }
  return 1;
}

int run_reply(int fd, const std::vector<bytes>& pieces) {
  std::array<std::uint8_t, 4096> buffer{};
  while (read(fd, buffer.data(), buffer.size()) > 0) {
    for (const bytes& piece : pieces) {
      if (write(fd, piece.data(), piece.size()) < 0) return 1;
    }
  }
  return 1;
}

int run_store(int fd, const char* path, const bytes& answer) {
  std::array<std::uint8_t, 4096> buffer{};
  while (read(fd, buffer.data(), buffer.size()) > 0) {
    const int file = pub_util_open(path, O_WRONLY | O_TRUNC);
    if (write(file, "1", 1) != 1 || close(file) != 0) return 1;
    if (write(fd, answer.data(), answer.size()) < 0) return 1;
  }
  return 1;
}

bool read_answer(int fd) {
  constexpr std::string_view END = "OK\r\n";
  std::array<char, 4096> buffer{};
  std::size_t length = 0;
  while (!std::string_view(buffer.data(), length).ends_with(END)) {
    const ssize_t count = read(fd, buffer.data() + length, buffer.size() - length);
    if (count <= 0) return false;
    length += static_cast<std::size_t>(count);
  }
  return true;
}

int run_ask(int one, int other, const bytes& text, const bytes& frame) {
  std::array<std::uint8_t, 4096> buffer{};
  while (read(one, buffer.data(), buffer.size()) > 0) {
    if (write(other, text.data(), text.size()) < 0 || !read_answer(other)) return 1;
    if (write(one, frame.data(), frame.size()) < 0) return 1;
  }
  return 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  if (arguments.size() < 3) return 2;
  const int one = pub_util_open(argv[2], O_RDWR);
  if (arguments[0] == "reply") {
    std::vector<bytes> pieces;
    for (std::size_t i = 2; i < arguments.size(); ++i) pieces.push_back(bytes_from_hex(arguments[i]));
    return run_reply(one, pieces);
  }
  if (arguments[0] == "store") return run_store(one, argv[3], bytes_from_hex(arguments[3]));
  const int other = pub_util_open(argv[3], O_RDWR);
  if (arguments[0] == "ask") return run_ask(one, other, bytes_from_hex(arguments[3]), bytes_from_hex(arguments[4]));
  return arguments[0] == "threads" ? run_threads(one, other) : run_poll(one, other);
}
