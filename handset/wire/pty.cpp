#include "handset/wire/pty.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>

#include <array>

namespace handset {

// The attributes are set through the master: if the slave were opened here, its closing would look like its user's.
std::optional<pty> open_pty(pty_line line) {
  pty made;
  made.master.reset(::open("/dev/ptmx", O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  const int master = made.master.get();
  std::array<char, 64> name{};
  termios attributes{};
  if (!made.master || grantpt(master) != 0 || unlockpt(master) != 0 ||
      ptsname_r(master, name.data(), name.size()) != 0 || tcgetattr(master, &attributes) != 0) {
    return std::nullopt;
  }
  if (line == pty_line::raw) cfmakeraw(&attributes);
  if (tcsetattr(master, TCSANOW, &attributes) != 0) return std::nullopt;
  made.slave = name.data();
  return made;
}

}  // namespace handset
