// How each kind of process of the phone is started.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/phone/options.h"

namespace handset {

struct process_plan {
  std::vector<std::string> arguments;
  std::vector<std::string> environment;  // "NAME=value"
  std::string folder = "/";
  bool attached = false;     // the caller's own standard streams
  bool discard_err = false;  // standard error to /dev/null
  int err_pipe_size = 0;
  std::function<void(std::string_view)> on_out;
  std::function<void(std::string_view)> on_err;
};

// The service, as the options ask for it.
process_plan service_plan(const phone_options& options, const std::vector<std::string>& arguments);
// Another command, with its output in logs.
process_plan command_plan(const std::vector<std::string>& command);
// Another command, with the caller's own standard streams and environment.
process_plan attached_plan(const std::vector<std::string>& command, const std::string& folder);

}  // namespace handset
