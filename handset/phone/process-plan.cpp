#include "handset/phone/process-plan.h"

#include <unistd.h>

#include <cstdlib>

#include "handset/phone/outfit.h"

namespace handset {

namespace {

constexpr const char* PATH = "PATH=/system/bin:/usr/bin:/bin:/usr/sbin:/sbin";

// The variables that a command in the phone inherits from whoever runs it: the options of a sanitizer's runtime.
std::vector<std::string> inherited_environment() {
  std::vector<std::string> environment = {PATH, "HOME=/data", "TMPDIR=/tmp"};
  for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  }
  return environment;
}

// All variables of the caller, but PATH and TMPDIR are the phone's.
std::vector<std::string> attached_environment() {
  std::vector<std::string> environment = {PATH, "TMPDIR=/tmp"};
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    if (!text.starts_with("PATH=") && !text.starts_with("TMPDIR=")) environment.emplace_back(text);
  }
  return environment;
}

}  // namespace

process_plan service_plan(const phone_options& options, const std::vector<std::string>& arguments) {
  process_plan plan;
  plan.arguments = {service_path_of(options)};
  plan.arguments.insert(plan.arguments.end(), arguments.begin(), arguments.end());
  plan.environment = inherited_environment();
  if (options.screen) plan.environment.push_back("LD_PRELOAD=" + preload_inside());
  plan.environment.insert(plan.environment.end(), options.environment.begin(), options.environment.end());
  plan.discard_err = options.log == log_sink::discard;
  plan.err_pipe_size = options.log_pipe_size;
  return plan;
}

process_plan command_plan(const std::vector<std::string>& command) {
  process_plan plan;
  plan.arguments = command;
  plan.environment = inherited_environment();
  return plan;
}

process_plan attached_plan(const std::vector<std::string>& command, const std::string& folder) {
  process_plan plan;
  plan.arguments = command;
  plan.environment = attached_environment();
  plan.folder = folder;
  plan.attached = true;
  return plan;
}

}  // namespace handset
