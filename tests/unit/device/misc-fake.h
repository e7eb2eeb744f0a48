// The board's library as a fake: a shared library whose operations end up in this record of the test program.
#pragma once

#include <string>
#include <vector>

struct misc_fake_st {
  std::vector<std::string> m_calls;  // "codec_loop_test(7, 1)"
  int m_result = 0;                  // of every operation
  std::string m_device_information;
};

extern misc_fake_st g_misc_fake;

// What the library's operations call.
extern "C" int misc_fake_codec_loop_test(int type, int enable);
extern "C" int misc_fake_create_devinfo(char* buffer, int size);
extern "C" int misc_fake_enter_idle();
