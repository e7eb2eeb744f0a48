#include "tests/faults/campaign.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "handset/wire/files.h"
#include "tests/faults/harmless.h"

namespace faults {

namespace {

using namespace std::chrono_literals;

constexpr char LIBRARY[] = "libfaults-preload.so";
constexpr char LIBRARY_INSIDE[] = "/handset/libfaults-preload.so";
constexpr auto GONE_WAIT = 3s;

// Everything that runs in the phone but the shell that looks, with zombies; the application's link; what is left aside.
constexpr char LIST_REMAINS[] =
    "for file in /proc/[0-9]*/stat; do read -r line <$file && echo \"${line}\"; done 2>/dev/null;"
    "[ -L /dev/ttyAPP ] && echo 'link /dev/ttyAPP'; ls /amt/*.new 2>/dev/null; :";

std::vector<std::string> remains_of(handset::phone& phone) {
  std::istringstream lines(phone.exec({"/bin/sh", "-c", LIST_REMAINS}).out);
  std::vector<std::string> found;
  for (std::string line; std::getline(lines, line);) {
    const auto begin = line.find('(');
    const auto end = line.rfind(')');
    if (begin == line.npos || end == line.npos) {
      found.push_back(line);
      continue;
    }
    const std::string name = line.substr(begin + 1, end - begin - 1);
    const bool is_zombie = line.substr(end, 3) == ") Z";
    if (name != "sh" || is_zombie) found.push_back(name + (is_zombie ? " (zombie)" : ""));
  }
  std::sort(found.begin(), found.end());
  return found;
}

handset::phone_options options_of(const session_plan& plan, const std::optional<fault>& wanted) {
  auto options = plan.options();
  options.binds.push_back({handset::program_folder().parent_path() / "lib" / LIBRARY, LIBRARY_INSIDE});
  options.environment.push_back(std::string("LD_PRELOAD=") + LIBRARY_INSIDE + " /handset/libhandset-preload.so");
  options.files["/handset/faults/here"] = "";
  if (wanted) {
    options.environment.push_back(std::string(VARIABLE) + "=" + std::to_string(wanted->process) + " " +
                                  std::string(NAMES[wanted->function]) + " " + std::to_string(wanted->number) + " " +
                                  std::to_string(wanted->error));
  }
  return options;
}

// Words with which the service reports that something did not work.
constexpr std::string_view COMPLAINTS[] = {"error",  "fail",      "warning",  "empty data", "can not",
                                           "cannot", "ret_val[-", "return:-", "were lost",  "pty disconnect"};

bool is_complaint(std::string line) {
  std::transform(line.begin(), line.end(), line.begin(), [](unsigned char byte) { return std::tolower(byte); });
  return std::any_of(std::begin(COMPLAINTS), std::end(COMPLAINTS),
                     [&](std::string_view words) { return line.find(words) != line.npos; });
}

// Without the time, the process and the thread, which stand in front of the text: "vx-kro-amt D 11-22 06:37:35 4 11 ".
std::string text_of(const std::string& line) {
  std::istringstream words(line);
  std::string word;
  if (!(words >> word >> word) || word.size() != 1) return line;
  for (int skipped = 0; skipped < 4; ++skipped) words >> word;
  std::string text;
  std::getline(words, text);
  return text;
}

void add_complaints(const std::vector<std::string>& lines, complaints& found) {
  for (const std::string& line : lines) {
    if (is_complaint(line)) ++found[text_of(line)];
  }
}

bool says_more(const complaints& said, const complaints& usual) {
  return std::any_of(said.begin(), said.end(), [&](const auto& line) {
    const auto known = usual.find(line.first);
    return known == usual.end() || line.second > known->second;
  });
}

void judge_end(session& played, handset::phone& phone, report& found) {
  const auto status = phone.wait_exit(0ms);
  if (!status) return;  // a finding already
  const bool is_fatal = phone.log().count("FATAL ERROR!!!") > 0;
  if (status->signalled) {
    played.find("crash: " + to_string(*status));
  } else if (status->value != 0 && !is_fatal) {
    played.find("ends with " + to_string(*status));
  }
  found.has_ended_early = phone.log().count("receive signal: 15") == 0;
}

void judge_remains(session& played, handset::phone& phone, const std::vector<std::string>& before,
                   const std::string& made) {
  const auto deadline = std::chrono::steady_clock::now() + GONE_WAIT;
  auto now = remains_of(phone);
  while (now != before && std::chrono::steady_clock::now() < deadline) now = remains_of(phone);
  std::vector<std::string> left;
  std::set_difference(now.begin(), now.end(), before.begin(), before.end(), std::back_inserter(left));
  for (const std::string& each : left) {
    const std::string path = each.substr(each.find('/') == each.npos ? 0 : each.find('/'));
    // What could not be removed stays.
    if (made.find(" unlink ") == made.npos || made.find(path) == made.npos) played.find("leaves " + each);
  }
}

}  // namespace

const std::vector<failure_row>& failures() {
  static const std::vector<failure_row> rows = [] {
    std::vector<failure_row> all;
    for (const std::string_view name : NAMES) {
      const bool is_memory = name == "malloc" || name == "calloc" || name == "realloc";
      const bool is_room = name.starts_with("f") && (name == "fflush" || name == "fclose" || name == "fputs" ||
                                                     name == "fwrite" || name == "fsync");
      const bool is_process =
          name == "fork" || name == "posix_spawn" || name == "pthread_create" || name == "timer_create";
      int error = EIO;
      if (is_memory || name == "ppoll" || name == "mmap") error = ENOMEM;
      if (is_room) error = ENOSPC;
      if (is_process) error = EAGAIN;
      if (name == "waitpid") error = ECHILD;
      if (name == "socket" || name == "eventfd" || name == "pidfd_open") error = EMFILE;
      all.push_back({name, error});
    }
    // A short count.
    for (const std::string_view name : {"read", "write", "fputs", "fwrite"}) all.push_back({name, 0});
    // What a call may say that has done nothing wrong.
    for (const std::string_view name : {"read", "ppoll", "waitpid", "recv"}) all.push_back({name, EINTR});
    all.push_back({"recv", ENOBUFS});
    all.push_back({"open", EMFILE});
    all.push_back({"fopen", EACCES});
    return all;
  }();
  return rows;
}

std::string show(const fault& wanted) {
  return (wanted.process == 0 ? "" : "process 1, ") + std::string(NAMES[wanted.function]) + " " +
         std::to_string(wanted.number) + (wanted.error == 0 ? " short" : " errno " + std::to_string(wanted.error));
}

report play(const session_plan& plan, const std::optional<fault>& wanted, const complaints* usual) {
  report found;
  handset::phone phone(options_of(plan, wanted));
  const auto before = remains_of(phone);
  session played(phone);
  plan.play(played);
  found.made = phone.read_file(MADE_FILE).value_or("");
  judge_end(played, phone, found);
  judge_remains(played, phone, before, found.made);
  const std::string raw = phone.read_file(COUNTS_FILE).value_or("");
  if (raw.size() == sizeof found.called) std::memcpy(&found.called, raw.data(), raw.size());
  add_complaints(phone.log().lines(), found.said);
  add_complaints(phone.out().lines(), found.said);
  found.log = phone.log().text();
  found.findings = played.findings();
  if (!found.made.empty() && usual != nullptr) {
    if (played.was_silent() && !may_lose_a_block(found.made)) {
      found.findings.emplace_back("no answer to the first try at a request");
    }
    if (played.was_refused_twice() && !may_lose_a_block(found.made)) {
      found.findings.emplace_back("refuses the second try, too");
    }
    if (!says_more(found.said, *usual) && reason_for_silence(found.made) == nullptr) {
      found.findings.emplace_back("the log says nothing about it");
    }
  }
  std::erase_if(found.findings, [&](const std::string& what) {
    const char* reason = design_behind(found.made, what);
    if (reason != nullptr) found.by_design.emplace_back(reason);
    return reason != nullptr;
  });
  return found;
}

}  // namespace faults
