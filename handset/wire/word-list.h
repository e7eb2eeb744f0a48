// Words as the kernel takes a program's arguments and environment.
#pragma once

#include <string>
#include <vector>

namespace handset {

// A null pointer follows the last word. Valid as long as the texts are.
inline std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (auto& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

}  // namespace handset
