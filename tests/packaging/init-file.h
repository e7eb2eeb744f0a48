// The language of init's and ueventd's files, as far as the kit uses it, read the way the platform's verifier reads it.
#pragma once

#include <string>
#include <vector>

struct init_line_st {
  int m_number;
  std::vector<std::string> m_words;
};

struct init_section_st {
  init_line_st m_head;  // "service ...", "on ...", "import ..."
  std::vector<init_line_st> m_lines;
};

// What is wrong with the file, one text for each finding; empty: nothing. Sections are given back if asked for.
std::vector<std::string> check_init_file(const std::string& text, std::vector<init_section_st>* sections = nullptr);
// The same for a file of ueventd.
std::vector<std::string> check_ueventd_file(const std::string& text);
