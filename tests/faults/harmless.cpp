#include "tests/faults/harmless.h"

#include <algorithm>
#include <iterator>

namespace faults {

namespace {

struct harmless_row {
  std::string_view function;
  std::string_view text;  // in the line that was written down; "" fits every call
  const char* reason;
};

constexpr char AGAIN[] = "an interrupted call is made again";
constexpr char FLUSHED[] = "nothing was left to be written: a record is flushed before";
constexpr char PROPERTY[] = "a file in place of the phone's own property service";
constexpr char OWN_LINK[] = "only decides whether a link is another process's; then it is taken for the own";
constexpr char BUFFER[] = "a stream without a buffer works byte by byte";

constexpr harmless_row HARMLESS[] = {
    {"access", "/dev/ttyAPP", "only tells the log whether the link is there"},
    {"chown", "/dev/ttyAPP", "not every system lets the service give its terminal away"},
    {"fclose", "", FLUSHED},
    {"fcntl", "/dev/null", "the descriptor is there all the same"},
    {"fcntl", "pipe:", "the descriptor is there all the same"},
    {"fflush", "/data/property/", PROPERTY},
    {"fopen", "/data/property/", PROPERTY},
    {"fputs", "/data/property/", PROPERTY},
    {"lstat", "/dev/ttyAPP", "the link is removed without a look at it"},
    {"lstat", ".txt", "only a link without a file is treated otherwise"},
    {"fopen", "/amt/amt_result.txt", "the update that follows reports why the file cannot be opened"},
    {"access", "/amt/amt_result.txt", "the update that follows reports why the file cannot be opened"},
    {"access", "/amt/product.txt", "the opening that follows reports why the file cannot be opened"},
    {"ioctl", "/dev/tty0", "the banner is shown without a console, too"},
    {"open", "/dev/tty0", "the banner is shown without a console, too"},
    {"malloc", " 36 bytes", "the loader does without its copy of the board library's path"},
    {"malloc", " 512 bytes", BUFFER},
    {"malloc", " 1024 bytes", BUFFER},
    {"malloc", " 4096 bytes", BUFFER},
    {"pidfd_open", "", "the end of a child is then looked for every 10 ms"},
    {"ppoll", "errno 4 ", AGAIN},
    {"ppoll", "errno 12 ", "a wait or sleep is cut short; what it was for is tried at once"},
    {"ptsname_r", "/dev/pts/ptmx", OWN_LINK},
    {"read", "/dev/pts/ptmx", "an application that closes its link shows by the same error"},
    {"read", "errno 0 ", "a terminal may split a block anywhere"},
    {"read", "errno 4 ", AGAIN},
    {"readlink", "/dev/ttyAPP", OWN_LINK},
    {"recv", "errno 4 ", AGAIN},
    {"rename", "/data/property/", PROPERTY},
    {"sched_setscheduler", "", "needs a right that the virtual handset does not give, so it always fails there"},
    {"setsockopt", "", "the system's usual queue serves, too"},
    {"stat", ".txt", "an item file whose mode is not known gets the usual one"},
    {"unlink", ".new", "there was none"},
    {"unlink", "/dev/ttyAPP", "there was none, or the link that is to come in its place is refused and that logged"},
    {"write", "errno 0 ", "the log has what was to be written and what was"},
    {"waitpid", "errno 4 ", AGAIN},
};

struct design_row {
  std::string_view function;
  std::string_view text;     // in the line that was written down
  std::string_view finding;  // in the finding
  const char* reason;
};

constexpr char NO_APP_READER[] =
    "a terminal that cannot be made or waited for ends the application's link, and no more";
constexpr char HALF_A_COMMAND[] =
    "a command that the AT link took in part counts as sent, and its answer is waited for";

constexpr design_row BY_DESIGN[] = {
    {"chmod", "/dev/ttyAPP", "hangs", NO_APP_READER}, {"grantpt", "", "hangs", NO_APP_READER},
    {"open", "/dev/ptmx", "hangs", NO_APP_READER},    {"ppoll", "/dev/pts/ptmx", "", NO_APP_READER},
    {"ptsname_r", "", "hangs", NO_APP_READER},        {"symlink", "/dev/ttyAPP", "hangs", NO_APP_READER},
    {"tcgetattr", "", "hangs", NO_APP_READER},        {"tcsetattr", "", "hangs", NO_APP_READER},
    {"unlockpt", "", "hangs", NO_APP_READER},         {"write", "errno 0 ", "hangs: no answer", HALF_A_COMMAND},
};

template <typename Row>
bool fits(const Row& row, std::string_view made) {
  const auto name = made.substr(made.find(' ') + 1);
  return name.starts_with(row.function) && name.substr(row.function.size()).starts_with(' ') &&
         name.find(row.text) != name.npos;
}

}  // namespace

const char* reason_for_silence(std::string_view made) {
  const auto row = std::find_if(std::begin(HARMLESS), std::end(HARMLESS),
                                [&](const harmless_row& each) { return fits(each, made); });
  return row == std::end(HARMLESS) ? nullptr : row->reason;
}

bool may_lose_a_block(std::string_view made) {
  // A light that cannot be set gives no answer (docs/device-tests.md).
  return made.find(" read ") != made.npos || made.find(" write ") != made.npos ||
         made.find("lcd-backlight") != made.npos;
}

const char* design_behind(std::string_view made, std::string_view finding) {
  const auto row = std::find_if(std::begin(BY_DESIGN), std::end(BY_DESIGN), [&](const design_row& each) {
    return fits(each, made) && finding.find(each.finding) != finding.npos;
  });
  return row == std::end(BY_DESIGN) ? nullptr : row->reason;
}

}  // namespace faults
