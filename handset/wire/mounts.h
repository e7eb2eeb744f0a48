// What a sandbox has besides its own tree.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace handset {

// Who everything in a sandbox runs as. Root may read and write every file of the phone, whatever its mode says, give
// files to the phone's group, and nothing more: no mounts, no network of the host.
enum class phone_user { root, system };

// A file or folder of the host, seen in the sandbox at `inside`.
struct bind_mount {
  std::filesystem::path host;
  std::filesystem::path inside;
  bool writable = false;
};

// A storage card: a file system of its own in that folder of the sandbox, of so many KB (whole pages of 4 KB).
struct storage_card {
  std::string folder;
  std::uint64_t size;
};

}  // namespace handset
