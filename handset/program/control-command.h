// What a command of `handset ctl` is, and the families of commands: the rows of each family stand in a file of its own.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "handset/program/control.h"

namespace handset {

using words = std::vector<std::string>;

struct control_command {
  std::string_view name;       // one or two words
  std::string_view arguments;  // as the help shows them
  std::string_view help;
  std::size_t least;  // words after the name
  std::size_t most;
  std::string (*run)(control_target& target, const words& rest);  // rest: the words after the name
};
inline constexpr std::size_t ANY = 1000;

// In each family a longer name comes before a shorter one that it begins with.
std::span<const control_command> phone_commands();     // the service, kernel events, the PC tty, properties, files
std::span<const control_command> hardware_commands();  // failing files, parts, screen, played devices, libraries
std::span<const control_command> modem_commands();     // the simulated modem and its two links

// Throws error when the text is no number.
std::size_t number_of(const std::string& text);

}  // namespace handset
