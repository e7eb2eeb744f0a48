#include "capture/reader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <set>

#include "capture/line.h"

namespace {

constexpr std::size_t LARGEST_LOADED = std::size_t{64} * 1024 * 1024;  // bytes of a file that is read as a whole
constexpr std::chrono::milliseconds PIPE_WAIT{5000};                   // for whoever writes to a pipe

bool is_blank(std::string_view line) {
  return std::ranges::all_of(line, [](char one) { return one == ' ' || one == '\t' || one == '\r'; });
}

}  // namespace

void capture_reader_st::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view part = bytes.substr(0, end);
    const std::size_t room = CAPTURE_LONGEST_LINE - m_held.size();
    m_is_too_long = m_is_too_long || part.size() > room;
    m_held.append(part.substr(0, m_is_too_long ? 0 : part.size()));
    if (end == std::string_view::npos) return;
    take_line(m_held);
    m_held.clear();
    m_is_too_long = false;
    bytes.remove_prefix(end + 1);
  }
}

void capture_reader_st::finish() {
  if (m_held.empty() && !m_is_too_long) return;
  take_line(m_held);
  m_held.clear();
  m_is_too_long = false;
}

void capture_reader_st::report(const std::string& why) {
  ++m_bad_lines;
  m_on_bad_line(m_number, why);
}

void capture_reader_st::take_line(std::string_view line) {
  ++m_number;
  if (m_is_too_long) return report(fmt::format("the line has more than {} bytes", CAPTURE_LONGEST_LINE));
  if (is_blank(line)) return;
  capture_entry_st entry;
  const std::string wrong = capture_read_line(line, &entry);
  if (!wrong.empty()) return report(wrong);
  m_on_entry(entry, m_number);
}

std::string capture_load(const std::string& path, std::vector<capture_numbered_st>* entries,
                         const capture_reader_st::on_bad_line& bad_line) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) return fmt::format("{}: {}", path, std::strerror(errno));
  capture_reader_st reader(
      [entries](const capture_entry_st& entry, std::size_t line) {
        entries->push_back({entry, line});
      },
      bad_line);
  std::array<char, 65536> chunk{};
  std::size_t total = 0;
  std::string wrong;
  for (;;) {
    pollfd ready{fd, POLLIN, 0};
    const int is_ready = ::poll(&ready, 1, static_cast<int>(PIPE_WAIT.count()));
    if (is_ready == 0) {
      wrong = fmt::format("{}: nothing came for {} s", path, PIPE_WAIT / std::chrono::seconds(1));
      break;
    }
    const ssize_t count = ::read(fd, chunk.data(), chunk.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count < 0) wrong = fmt::format("{}: {}", path, std::strerror(errno));
    if (count <= 0) break;
    total += static_cast<std::size_t>(count);
    if (total > LARGEST_LOADED) {
      wrong = fmt::format("{}: larger than {} MiB; take a part of it", path, LARGEST_LOADED / 1024 / 1024);
      break;
    }
    reader.feed({chunk.data(), static_cast<std::size_t>(count)});
  }
  ::close(fd);
  reader.finish();
  return wrong;
}

bool capture_is_same_file(const std::string& one, const std::string& other) {
  std::error_code ignored;
  return std::filesystem::equivalent(one, other, ignored);
}

std::string capture_choose_phone(const std::string& phone, std::vector<capture_numbered_st>* entries) {
  std::set<std::string> names;
  for (const auto& one : *entries) names.insert(one.m_entry.m_phone);
  if (phone.empty() && names.size() < 2) return {};
  if (names == std::set<std::string>{""}) return "the capture names no phone: choose none";
  if (!names.contains(phone)) return fmt::format("the capture has the phones {}: choose one", fmt::join(names, ", "));
  std::erase_if(*entries, [&](const auto& one) { return one.m_entry.m_phone != phone; });
  return {};
}
