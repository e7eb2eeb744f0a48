// Properties as files: /data/property/<name>, the whole content is the value.
#include "platform/property.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "pub/util/io.h"

namespace {

bool path_of(char (&path)[160], const char* key) {
  if (key == nullptr || *key == '\0' || std::strchr(key, '/') != nullptr) return false;
  const int length = std::snprintf(path, sizeof path, "/data/property/%s", key);
  return length > 0 && static_cast<std::size_t>(length) < sizeof path;
}

int read_value(const char* key, char* value) {
  char path[160];
  if (!path_of(path, key)) return 0;
  const pub_file file = pub_util_fopen(path, "r");
  if (!file) return 0;
  const std::size_t count = std::fread(value, 1, PROPERTY_VALUE_MAX - 1, file.get());
  value[count] = '\0';
  return static_cast<int>(std::strlen(value));
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
  value[0] = '\0';
  const int length = read_value(key, value);
  if (length > 0 || default_value == nullptr) return length;
  return std::snprintf(value, PROPERTY_VALUE_MAX, "%.*s", PROPERTY_VALUE_MAX - 1, default_value);
}

int property_set(const char* key, const char* value) {
  char path[160];
  if (!path_of(path, key) || std::strlen(value) >= static_cast<std::size_t>(PROPERTY_VALUE_MAX)) return -1;
  // Written aside and renamed, so that a reader sees the old value or the new one.
  char fresh[176];
  std::snprintf(fresh, sizeof fresh, "%s.%d", path, getpid());
  pub_file file = pub_util_fopen(fresh, "w");
  if (!file) return -1;
  const bool is_written = std::fputs(value, file.get()) >= 0 && std::fflush(file.get()) == 0;
  file.reset();
  if (is_written && std::rename(fresh, path) == 0) return 0;
  unlink(fresh);
  return -1;
}
