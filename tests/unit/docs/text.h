// The project's own files as text: documents, sources and tests are held against each other.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// The content of a file of the project; a missing one fails the test.
inline std::string project_text(const std::filesystem::path& path) {
  std::ifstream stream(std::filesystem::path(PROJECT_FOLDER) / path, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << path;
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

// The files below a folder of the project that end in one of the extensions, as paths within the project.
inline std::vector<std::filesystem::path> project_files(const char* folder, const std::set<std::string>& extensions) {
  std::vector<std::filesystem::path> result;
  const std::filesystem::path top = PROJECT_FOLDER;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(top / folder)) {
    if (extensions.count(entry.path().extension()) != 0) result.push_back(entry.path().lexically_relative(top));
  }
  EXPECT_FALSE(result.empty()) << folder;
  return result;
}

// Each match's first group, in the order of the text.
inline std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  std::vector<std::string> result;
  for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at)
    result.push_back(at->str(1));
  return result;
}

// What lies between two marks; empty, and a failure, when one is missing.
inline std::string between(const std::string& text, std::string_view begin, std::string_view end) {
  const std::size_t first = text.find(begin);
  const std::size_t start = first == text.npos ? text.npos : first + begin.size();
  const std::size_t last = start == text.npos ? text.npos : text.find(end, start);
  EXPECT_NE(last, text.npos) << begin << " ... " << end;
  return last == text.npos ? "" : text.substr(start, last - start);
}

inline std::set<int> numbers(const std::string& text) {
  std::set<int> result;
  for (const auto& number : matches(text, "([0-9]+)")) result.insert(std::stoi(number));
  return result;
}
