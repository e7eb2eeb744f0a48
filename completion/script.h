// The script that completes a program's command line in a shell.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "completion/command.h"

// bash, zsh or fish; none: there is no script for that shell.
std::optional<std::string> completion_script(std::string_view shell, const completion_command_st& program);
