#include "handset/sandbox/tree.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "handset/wire/error.h"
#include "handset/wire/files.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view PHONE_PREFIX = "phone-";

constexpr const char* FOLDERS[] = {
    "amt", "data/property", "data/misc/wifi", "handset",   "phone/bin", "phone/lib",   "system/bin",
    "etc", "system/etc",    "system/lib",     "sys/class", "usr",       "proc/driver", "dev",
};

struct file {
  const char* path;
  const char* content;
  bool executable;
};
constexpr file FILES[] = {
    {"etc/passwd", "root:x:0:0:root:/:/bin/sh\nsystem:x:1000:1001:system:/:/bin/sh\n", false},
    {"etc/group", "root:x:0:\nsystem:x:1000:\nradio:x:1001:\n", false},
    {"handset/sync-calls", "", false},
    // Counts instead of waiting for the host's disks: one line for each call.
    {"system/bin/sync", "#!/bin/sh\necho sync >>/handset/sync-calls\n", true},
};

pub_fd open_folder(const fs::path& path) {
  return pub_fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// While a process holds this lock, no other one is between making a phone's folder and locking it.
pub_fd lock_user_folder(const fs::path& folder) {
  pub_fd lock = open_folder(folder);
  if (!lock || ::flock(lock.get(), LOCK_EX) != 0) throw error("cannot lock " + folder.string());
  return lock;
}

// The folders of phones whose process is gone, each locked by us now.
std::vector<std::pair<fs::path, pub_fd>> abandoned(const fs::path& folder) {
  std::vector<std::pair<fs::path, pub_fd>> result;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    if (!entry.path().filename().string().starts_with(PHONE_PREFIX)) continue;
    pub_fd lock = open_folder(entry.path());
    if (lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) result.emplace_back(entry.path(), std::move(lock));
  }
  return result;
}

// A test may have removed the permission to write from a folder.
void remove_tree(const fs::path& folder) {
  std::error_code failed;
  fs::remove_all(folder, failed);
  if (!failed) return;
  std::error_code ignored;
  for (auto at = fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied, ignored);
       at != fs::recursive_directory_iterator(); at.increment(ignored)) {
    if (at->is_directory(ignored)) fs::permissions(at->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
  }
  fs::remove_all(folder, ignored);
}

// /bin, /lib and the like, which lead into /usr on today's hosts.
void copy_top_links(const fs::path& root) {
  for (const char* name : {"bin", "sbin", "lib", "lib32", "lib64", "libx32"}) {
    const fs::path host = fs::path("/") / name;
    if (fs::is_symlink(host)) fs::create_symlink(fs::read_symlink(host), root / name);
  }
}

}  // namespace

fs::path user_folder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const bool has_runtime = runtime != nullptr && ::access(runtime, W_OK | X_OK) == 0;
  fs::path folder = has_runtime ? fs::path(runtime) / "handset"
                                : fs::temp_directory_path() / ("handset-" + std::to_string(::geteuid()));
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    throw error("cannot make " + folder.string() + ": " + std::strerror(errno));
  }
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != ::geteuid()) {
    throw error(folder.string() + " is not a folder of this user");
  }
  return folder;
}

phone_tree::phone_tree() {
  const fs::path user = user_folder();
  std::vector<std::pair<fs::path, pub_fd>> leftovers;
  {
    const pub_fd lock = lock_user_folder(user);
    leftovers = abandoned(user);
    std::string name = (user / PHONE_PREFIX).string() + "XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw error("cannot make " + name + ": " + std::strerror(errno));
    m_folder = name;
    m_lock = open_folder(m_folder);
    ::flock(m_lock.get(), LOCK_EX | LOCK_NB);
  }
  for (const auto& [folder, held] : leftovers) remove_tree(folder);
  fill();
}

phone_tree::~phone_tree() {
  remove_tree(m_folder);
}

fs::path phone_tree::host_path(const fs::path& path) const {
  return root() / path.relative_path();
}

void phone_tree::fill() const {
  for (const char* folder : FOLDERS) fs::create_directories(root() / folder);
  fs::create_directories(root() / "tmp");
  fs::permissions(root() / "tmp", fs::perms::all | fs::perms::sticky_bit);
  copy_top_links(root());
  for (const auto& entry : FILES) {
    write_whole_file(root() / entry.path, entry.content);
    if (entry.executable) fs::permissions(root() / entry.path, fs::perms(0755));
  }
}

}  // namespace handset
