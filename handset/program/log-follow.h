// `handset ctl log`: prints a phone's log file.
#pragma once

#include <filesystem>

namespace handset {

// Prints what the log holds; when it follows, what comes next too, until the phone has ended. Returns the program's
// exit status.
int print_log(const std::filesystem::path& log, bool follows);

}  // namespace handset
