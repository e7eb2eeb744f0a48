#include "tests/packaging/init-file.h"

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace {

struct words_st {
  std::size_t m_least;  // after the word itself
  std::size_t m_most;
};

// The commands and options of init that a kit like this can need.
const std::map<std::string, words_st> COMMANDS = {
    {"chmod", {2, 2}},       {"chown", {2, 3}},   {"mkdir", {1, 8}}, {"mount", {3, 20}},
    {"restorecon", {1, 20}}, {"rm", {1, 1}},      {"rmdir", {1, 1}}, {"restorecon_recursive", {1, 20}},
    {"setprop", {2, 2}},     {"start", {1, 1}},   {"stop", {1, 1}},  {"restart", {1, 2}},
    {"symlink", {2, 2}},     {"trigger", {1, 1}}, {"write", {2, 2}}, {"copy", {2, 2}},
};
const std::map<std::string, words_st> OPTIONS = {
    {"capabilities", {0, 20}}, {"class", {1, 20}},  {"critical", {0, 2}},  {"disabled", {0, 0}},
    {"group", {1, 13}},        {"oneshot", {0, 0}}, {"onrestart", {1, 9}}, {"priority", {1, 1}},
    {"seclabel", {1, 1}},      {"setenv", {2, 2}},  {"user", {1, 1}},      {"writepid", {1, 20}},
};
const std::set<std::string> EVENTS = {"early-init", "init",         "late-init", "early-fs",   "fs",     "post-fs",
                                      "late-fs",    "post-fs-data", "boot",      "early-boot", "charger"};
// What the platform starts by itself; a service of another class stays down.
const std::set<std::string> CLASSES = {"core", "main", "late_start", "hal", "early_hal", "charger"};
// Users and groups of the platform, by the numbers that it compiles in.
const std::set<std::string> USERS = {"root",  "system", "radio",   "bluetooth", "graphics", "input",
                                     "audio", "camera", "log",     "wifi",      "media",    "usb",
                                     "shell", "inet",   "net_raw", "cache",     "sdcard_rw"};

class checker {
 public:
  void find(int number, const std::string& what) {
    m_findings.push_back("line " + std::to_string(number) + ": " + what);
  }
  void user(const init_line_st& line, const std::string& name) {
    if (USERS.count(name) == 0) find(line.m_number, "no user or group " + name);
  }
  void mode(const init_line_st& line, const std::string& text) {
    if (!std::regex_match(text, std::regex("[01]?[0-7]{3}|0[0-7]{4}"))) find(line.m_number, "no mode " + text);
  }
  void path(const init_line_st& line, const std::string& text) {
    if (!std::regex_match(text, std::regex("/[A-Za-z0-9_./*-]*")) || text.find("..") != text.npos)
      find(line.m_number, "no path " + text);
  }
  bool count(const init_line_st& line, const std::map<std::string, words_st>& known, const std::string& kind) {
    const auto found = known.find(line.m_words[0]);
    if (found == known.end()) {
      find(line.m_number, "no " + kind + " " + line.m_words[0]);
      return false;
    }
    const std::size_t arguments = line.m_words.size() - 1;
    if (arguments >= found->second.m_least && arguments <= found->second.m_most) return true;
    find(line.m_number, line.m_words[0] + " with " + std::to_string(arguments) + " words");
    return false;
  }
  std::vector<std::string> m_findings;
};

std::vector<std::string> split(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word && word[0] != '#';) words.push_back(word);
  return words;
}

std::vector<init_section_st> read_sections(const std::string& text, checker& check) {
  std::vector<init_section_st> sections;
  std::istringstream stream(text);
  int number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    const auto words = split(line);
    if (words.empty()) continue;
    const bool is_head = words[0] == "on" || words[0] == "service" || words[0] == "import";
    if (is_head != (line[0] != ' ')) check.find(number, "indented wrongly");
    if (is_head) {
      sections.push_back({{number, words}, {}});
    } else if (sections.empty()) {
      check.find(number, "before the first section");
    } else {
      sections.back().m_lines.push_back({number, words});
    }
  }
  if (!text.empty() && text.back() != '\n') check.find(number, "no end of line");
  return sections;
}

// "on EVENT", "on property:a=b", "on EVENT && property:a=b && ...": at most one event.
void check_trigger(const init_line_st& head, checker& check) {
  int events = 0;
  if (head.m_words.size() % 2 != 0) check.find(head.m_number, "a trigger and && take turns");
  for (std::size_t at = 1; at < head.m_words.size(); ++at) {
    const std::string& word = head.m_words[at];
    if (at % 2 == 0) {
      if (word != "&&") check.find(head.m_number, "no && but " + word);
    } else if (word.starts_with("property:")) {
      if (!std::regex_match(word, std::regex("property:[a-z][A-Za-z0-9_.-]*=[^=]+"))) check.find(head.m_number, word);
    } else if (EVENTS.count(word) == 0 || ++events > 1) {
      check.find(head.m_number, "no event " + word);
    }
  }
}

void check_command(const init_line_st& line, const std::set<std::string>& services, checker& check) {
  if (!check.count(line, COMMANDS, "command")) return;
  const auto& words = line.m_words;
  const std::string& name = words[0];
  if (name == "chmod") {
    check.mode(line, words[1]);
    check.path(line, words[2]);
  } else if (name == "chown") {
    for (std::size_t at = 1; at + 1 < words.size(); ++at) check.user(line, words[at]);
    check.path(line, words.back());
  } else if (name == "mkdir") {
    check.path(line, words[1]);
    if (words.size() > 2) check.mode(line, words[2]);
    for (std::size_t at = 3; at < words.size(); ++at) check.user(line, words[at]);
  } else if (name == "mount") {
    check.path(line, words[3]);
  } else if (name.starts_with("restorecon")) {
    for (std::size_t at = 1; at < words.size(); ++at) check.path(line, words[at]);
  } else if (name == "setprop") {
    if (!std::regex_match(words[1], std::regex("[a-z][A-Za-z0-9_.-]*")))
      check.find(line.m_number, "no property " + words[1]);
  } else if (name == "start" || name == "stop" || name == "restart") {
    if (services.count(words[1]) == 0) check.find(line.m_number, "no service " + words[1]);
  }
}

void check_service(const init_section_st& section, checker& check) {
  const auto& head = section.m_head.m_words;
  if (head.size() < 3) return check.find(section.m_head.m_number, "a service has a name and a program");
  if (!std::regex_match(head[1], std::regex("[a-z0-9-]{1,60}")))
    check.find(section.m_head.m_number, "no name " + head[1]);
  check.path(section.m_head, head[2]);
  std::set<std::string> seen;
  for (const auto& line : section.m_lines) {
    if (!check.count(line, OPTIONS, "option")) continue;
    if (!seen.insert(line.m_words[0]).second) check.find(line.m_number, line.m_words[0] + " is there twice");
    for (std::size_t at = 1; line.m_words[0] == "class" && at < line.m_words.size(); ++at) {
      if (CLASSES.count(line.m_words[at]) == 0) check.find(line.m_number, "no class " + line.m_words[at]);
    }
    if (line.m_words[0] != "user" && line.m_words[0] != "group") continue;
    for (std::size_t at = 1; at < line.m_words.size(); ++at) check.user(line, line.m_words[at]);
  }
  if (seen.count("user") == 0) check.find(section.m_head.m_number, "no user is named: it would be root unseen");
}

// Services of the kit's first file, which its other one starts and stops.
std::set<std::string> names_of_services(const std::vector<init_section_st>& sections, checker& check) {
  std::set<std::string> names = {"vx-kro-amt", "vx-kro-amt-usb"};
  std::set<std::string> here;
  for (const auto& section : sections) {
    const auto& head = section.m_head.m_words;
    if (head[0] != "service" || head.size() < 2) continue;
    if (!here.insert(head[1]).second) check.find(section.m_head.m_number, "service " + head[1] + " is there twice");
    names.insert(head[1]);
  }
  return names;
}

}  // namespace

std::vector<std::string> check_init_file(const std::string& text, std::vector<init_section_st>* sections) {
  checker check;
  const auto all = read_sections(text, check);
  const auto services = names_of_services(all, check);
  for (const auto& section : all) {
    if (section.m_head.m_words[0] == "service") check_service(section, check);
    if (section.m_head.m_words[0] != "on") continue;
    check_trigger(section.m_head, check);
    if (section.m_lines.empty()) check.find(section.m_head.m_number, "nothing is done");
    for (const auto& line : section.m_lines) check_command(line, services, check);
  }
  if (sections != nullptr) *sections = all;
  return check.m_findings;
}

std::vector<std::string> check_ueventd_file(const std::string& text) {
  checker check;
  std::istringstream stream(text);
  init_line_st line{0, {}};
  for (std::string whole; std::getline(stream, whole);) {
    ++line.m_number;
    line.m_words = split(whole);
    if (line.m_words.empty()) continue;
    const bool is_sysfs = line.m_words[0].starts_with("/sys/");
    if (line.m_words.size() != (is_sysfs ? 5u : 4u)) {
      check.find(line.m_number, "path, attribute for /sys, mode, user, group");
      continue;
    }
    check.path(line, line.m_words[0]);
    if (!is_sysfs && !line.m_words[0].starts_with("/dev/")) check.find(line.m_number, "neither /dev nor /sys");
    const auto rest = line.m_words.end() - 3;
    check.mode(line, rest[0]);
    check.user(line, rest[1]);
    check.user(line, rest[2]);
  }
  return check.m_findings;
}
