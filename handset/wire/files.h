// Whole files of the host, and the folder of the running program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace handset {

// The folder of the running program, where its companions (agent, service) lie.
std::filesystem::path program_folder();

// None when it cannot be opened.
std::optional<std::string> read_whole_file(const std::filesystem::path& path);
// Makes the folders above the file too. Throws error when it cannot be written.
void write_whole_file(const std::filesystem::path& path, std::string_view content);

}  // namespace handset
