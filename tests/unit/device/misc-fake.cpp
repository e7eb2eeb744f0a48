#include "tests/unit/device/misc-fake.h"

#include <algorithm>

misc_fake_st g_misc_fake;

namespace {

int note(const std::string& call) {
  g_misc_fake.m_calls.push_back(call);
  return g_misc_fake.m_result;
}

}  // namespace

int misc_fake_codec_loop_test(int type, int enable) {
  return note("codec_loop_test(" + std::to_string(type) + ", " + std::to_string(enable) + ")");
}

int misc_fake_create_devinfo(char* buffer, int size) {
  const std::string& text = g_misc_fake.m_device_information;
  // At most one more than it was asked for: a caller has to have room for that.
  std::copy_n(text.begin(), std::min<std::size_t>(text.size(), static_cast<std::size_t>(size) + 1), buffer);
  return note("create_devinfo(" + std::to_string(size) + ")");
}

int misc_fake_enter_idle() {
  return note("enter_idle()");
}
