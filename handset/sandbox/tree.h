// A phone's files on the host: one folder for each phone, and the user's folder that holds them all.
#pragma once

#include <filesystem>

#include "pub/util/fd.h"

namespace handset {

// $XDG_RUNTIME_DIR/handset, or handset-<uid> in the folder for temporary files; nobody else may look into it. Throws
// error when it belongs to somebody else.
std::filesystem::path user_folder();

// A folder of its own, filled with what every phone has. Removed with the object; what a killed process left over is
// removed when the next phone is made.
class phone_tree {
 public:
  phone_tree();
  ~phone_tree();
  phone_tree(const phone_tree&) = delete;
  phone_tree& operator=(const phone_tree&) = delete;

  const std::filesystem::path& folder() const { return m_folder; }  // the phone's: sockets and the like
  std::filesystem::path root() const { return m_folder / "root"; }  // its file tree, "/" of the phone
  // Where a path of the phone lies on the host.
  std::filesystem::path host_path(const std::filesystem::path& path) const;

 private:
  void fill() const;

  std::filesystem::path m_folder;
  pub_fd m_lock;  // held on the folder as long as the phone lives
};

}  // namespace handset
