#include "amt/amt-device/misc-library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "amt/amt-device/log-module.h"
#include "platform/property.h"
#include "pub/result.h"

namespace {

constexpr char LIBRARY_FOLDER[] = "/system/lib64/hw";
constexpr char MODEL_PROPERTY[] = "ro.board.platform";

char g_misc_path_a[512];
char g_audio_path_a[512];

}  // namespace

void amt_device_init_library_paths() {
  pub_log_entry(k_log);
  const char* model = "vx5210";
  char value[PROPERTY_VALUE_MAX] = "";
  if (property_get(MODEL_PROPERTY, value, "") > 0) {
    LOG_LINE("property-%s value: %s", MODEL_PROPERTY, value);
    if (std::strstr(value, "vx5211") != nullptr) model = "vx5211";
  }
  std::snprintf(g_audio_path_a, sizeof g_audio_path_a, "%s/audio.primary.%s.amt.so", LIBRARY_FOLDER, model);
  std::snprintf(g_misc_path_a, sizeof g_misc_path_a, "%s/amt.%s.misc.so", LIBRARY_FOLDER, model);
  LOG_LINE("audio lib path-name: %s", g_audio_path_a);
  LOG_LINE("misc lib path-name: %s", g_misc_path_a);
}

const char* amt_device_misc_library_path() {
  return g_misc_path_a;
}

const char* amt_device_audio_library_path() {
  return g_audio_path_a;
}

amt_misc_operation::amt_misc_operation(const char* caller, const char* name)
    : m_library(dlopen(g_misc_path_a, RTLD_LAZY)), m_address(m_library == nullptr ? nullptr : dlsym(m_library, name)) {
  if (m_address != nullptr) return;
  const char* error = dlerror();
  pub_log_failure({k_log, caller}, ERR_SYSTEM, "call dlopen fail: - %s", error == nullptr ? name : error);
}

amt_misc_operation::~amt_misc_operation() {
  if (m_library != nullptr) dlclose(m_library);
}
