#include "tests/soak/facts.h"

#include <algorithm>
#include <sstream>

namespace soak {

namespace {

// Its own two processes are left out.
constexpr char LIST_PROCESSES[] =
    "for file in /proc/[0-9]*/stat; do read -r line <$file && echo \"${line}\"; done 2>/dev/null";

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string run(handset::phone& phone, const std::vector<std::string>& command) {
  return phone.exec(command).out;
}

// "... 17 -> /dev/pts/3": the descriptor's file, without its number, which a link that comes back has anew.
std::string file_of(const std::string& line) {
  const std::string file = line.substr(line.find(" -> ") + 4);
  return file.substr(0, file.find_first_of("0123456789:"));
}

void read_descriptors(handset::phone& phone, const std::string& folder, facts& found) {
  for (const std::string& line : lines_of(run(phone, {"/bin/ls", "-l", folder + "/fd"}))) {
    if (line.find(" -> ") != std::string::npos) found.descriptors.push_back(file_of(line));
  }
  std::sort(found.descriptors.begin(), found.descriptors.end());
}

// "12 (vx-kro-amt) S 1 ...": id, name, state, parent.
void read_processes(handset::phone& phone, facts& found) {
  for (const std::string& line : lines_of(run(phone, {"/bin/sh", "-c", LIST_PROCESSES}))) {
    const std::size_t end = line.rfind(')');
    std::istringstream rest(line.substr(end + 1));
    char state = 0;
    int parent = 0;
    rest >> state >> parent;
    const std::string name = line.substr(line.find('(') + 1, end - line.find('(') - 1);
    if (parent == found.pid) ++found.children;
    if (name != "sh") found.processes.push_back(name + (state == 'Z' ? " (zombie)" : ""));
  }
  std::sort(found.processes.begin(), found.processes.end());
}

// Pages that are no file's. What else is private depends on who else runs the same program, and on what the disk has.
void read_memory(handset::phone& phone, const std::string& folder, facts& found) {
  for (const std::string& line : lines_of(run(phone, {"/bin/cat", folder + "/smaps_rollup"}))) {
    if (line.starts_with("Anonymous:")) found.memory_kb += std::stol(line.substr(line.find(':') + 1));
  }
}

std::string join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += " " + word;
  return text;
}

}  // namespace

facts facts_of(handset::phone& phone) {
  facts found;
  found.pid = phone.service().pid();
  const std::string folder = "/proc/" + std::to_string(found.pid);
  read_descriptors(phone, folder, found);
  found.threads = lines_of(run(phone, {"/bin/ls", folder + "/task"}));
  read_processes(phone, found);
  read_memory(phone, folder, found);
  return found;
}

std::string show(const facts& found) {
  return "pid " + std::to_string(found.pid) + ", descriptors" + join(found.descriptors) + ", threads" +
         join(found.threads) + ", processes" + join(found.processes) + ", children " + std::to_string(found.children) +
         ", memory " + std::to_string(found.memory_kb) + " kB";
}

}  // namespace soak
