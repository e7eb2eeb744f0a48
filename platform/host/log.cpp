#include "platform/log.h"

#include <android/log.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

// The host logger lets debug lines through only on request. ANDROID_LOG_TAGS, the variable by which host builds
// of the platform's programs are made quieter, is understood in its general form "*:<priority letter>".
void platform_log_init() {
  static constexpr char LETTERS[] = "??vdiwefs";  // index = priority
  int priority = ANDROID_LOG_DEBUG;
  const char* tags = std::getenv("ANDROID_LOG_TAGS");
  if (tags != nullptr && std::strncmp(tags, "*:", 2) == 0) {
    const char* found = std::strchr(LETTERS + ANDROID_LOG_VERBOSE, std::tolower(static_cast<unsigned char>(tags[2])));
    if (found != nullptr && *found != '\0') priority = static_cast<int>(found - LETTERS);
  }
  __android_log_set_minimum_priority(priority);
}
