#include "handset/wire/output-pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

#include "handset/wire/error.h"

namespace handset {

pub_fd output_pipe::open(int size) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw error("cannot make a pipe");
  m_read_end.reset(ends[0]);
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  if (size > 0) ::fcntl(ends[0], F_SETPIPE_SZ, size);
  resume();
  return pub_fd(ends[1]);
}

void output_pipe::watch() {
  m_loop.watch(m_read_end.get(), POLLIN, [this](short) { drain(); });
}

void output_pipe::pause() {
  m_loop.call([this] { m_loop.forget(m_read_end.get()); });
}

void output_pipe::resume() {
  m_loop.call([this] {
    if (m_read_end) watch();
  });
}

void output_pipe::drain() {
  std::array<char, 65536> buffer;
  while (m_read_end) {
    const auto count = ::read(m_read_end.get(), buffer.data(), buffer.size());
    if (count > 0) log.append({buffer.data(), static_cast<std::size_t>(count)});
    if (count == 0) finish();
    if (count <= 0) return;
  }
}

void output_pipe::finish() {
  if (m_read_end) m_loop.forget(m_read_end.get());
  m_read_end.reset();
  log.end();
}

}  // namespace handset
