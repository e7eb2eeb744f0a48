// A folder of its own for each test, removed with all that is in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

class temp_folder {
 public:
  temp_folder() {
    std::string name = (std::filesystem::temp_directory_path() / "unit-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    m_path = name;
  }
  ~temp_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  temp_folder(const temp_folder&) = delete;
  temp_folder& operator=(const temp_folder&) = delete;

  std::string path(std::string_view name) const { return (m_path / name).string(); }
  // Writes a file and gives its path.
  std::string write(std::string_view name, std::string_view content) const {
    std::ofstream(m_path / name, std::ios::binary) << content;
    return path(name);
  }

 private:
  std::filesystem::path m_path;
};

inline std::string read_whole_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}
