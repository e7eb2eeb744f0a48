#include "handset/wire/files.h"

#include <fstream>
#include <iterator>

#include "handset/wire/error.h"

namespace handset {

namespace fs = std::filesystem;

fs::path program_folder() {
  return fs::read_symlink("/proc/self/exe").parent_path();
}

std::optional<std::string> read_whole_file(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

void write_whole_file(const fs::path& path, std::string_view content) {
  std::error_code ignored;
  fs::create_directories(path.parent_path(), ignored);
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!stream.flush()) throw error("cannot write " + path.string());
}

}  // namespace handset
