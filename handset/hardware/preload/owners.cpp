#include "handset/hardware/preload/owners.h"

#include <cerrno>

#include "handset/hardware/preload/device.h"
#include "handset/hardware/preload/files.h"

namespace preload {

int give_away(const char* path, uid_t user, gid_t group, int result) {
  if (result != 0 && errno != EPERM && errno != EINVAL) return result;
  call_text line{};
  append(line, "%s %d %d\n", path, static_cast<int>(user), static_cast<int>(group));
  append_text("owners", line.data());
  return 0;
}

}  // namespace preload
