#include "handset/program/names.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "handset/sandbox/tree.h"
#include "handset/wire/error.h"
#include "pub/util/fd.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view PREFIX = "name-";
constexpr std::size_t LONGEST = 20;
constexpr int MOST_PHONES = 1000;

fs::path link_of(const std::string& name) {
  return user_folder() / (std::string(PREFIX) + name);
}

// A phone's process keeps a lock on its folder as long as it lives.
bool is_alive(const fs::path& folder) {
  const pub_fd opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened && ::flock(opened.get(), LOCK_SH | LOCK_NB) != 0;
}

// Where a name leads; none when it leads nowhere, or to a phone that has ended.
std::optional<fs::path> phone_of(const fs::path& link) {
  std::error_code missing;
  const fs::path folder = fs::read_symlink(link, missing);
  if (missing || !is_alive(folder)) return std::nullopt;
  return folder;
}

// False when a running phone has the name.
bool take(const std::string& name, const fs::path& folder) {
  const fs::path link = link_of(name);
  if (::symlink(folder.c_str(), link.c_str()) == 0) return true;
  if (errno != EEXIST) throw error("cannot make " + link.string());
  if (phone_of(link)) return false;
  fs::remove(link);  // what a killed phone left
  return ::symlink(folder.c_str(), link.c_str()) == 0;
}

std::string first_free(const fs::path& folder) {
  for (int number = 1; number <= MOST_PHONES; ++number) {
    std::string name = "phone" + std::to_string(number);
    if (take(name, folder)) return name;
  }
  throw error("too many phones");
}

}  // namespace

bool is_phone_name(const std::string& text) {
  return !text.empty() && text.size() <= LONGEST && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_';
  });
}

phone_name::phone_name(const std::string& wanted, const fs::path& folder)
    : m_text(wanted.empty() ? first_free(folder) : wanted) {
  if (!wanted.empty() && !take(wanted, folder)) throw error("a phone named " + wanted + " runs already");
}

phone_name::~phone_name() {
  std::error_code ignored;
  fs::remove(link_of(m_text), ignored);
}

std::vector<named_phone> running_phones() {
  std::vector<named_phone> phones;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(user_folder(), ignored)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with(PREFIX)) continue;
    if (const auto folder = phone_of(entry.path())) phones.push_back({name.substr(PREFIX.size()), *folder});
  }
  std::sort(phones.begin(), phones.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return phones;
}

fs::path control_socket(const fs::path& folder) {
  return folder / "control";
}

}  // namespace handset
