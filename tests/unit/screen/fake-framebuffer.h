// A framebuffer and a console for the service's system calls. Notes each call as a text; a test chooses which fail.
//
//   open /dev/tty0 rw sync     KDSETMODE 1                close /dev/tty0
//   open /dev/graphics/fb0 rw  FBIOGET_FSCREENINFO        FBIOGET_VSCREENINFO      mmap 7372800 rw shared
//   EN_LAYER 0                 SET_LAYER_INPUT_FORMAT 1   munmap 1843200           close /dev/graphics/fb0
//   FBIOPUT_VSCREENINFO yoffset=1280 yres_virtual=2560 bits_per_pixel=16
#pragma once

#include <linux/fb.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

class fake_framebuffer {
 public:
  // The device claims smem_len bytes and has as many.
  fake_framebuffer(std::uint32_t xres, std::uint32_t yres, std::uint32_t smem_len);
  // Gives back what screen_init has left open, and puts the globals of the screen back to their start.
  ~fake_framebuffer();
  fake_framebuffer(const fake_framebuffer&) = delete;
  fake_framebuffer& operator=(const fake_framebuffer&) = delete;

  static fake_framebuffer* current();

  // What the kernel is asked; -1 and errno when the note is among m_failing.
  int open_device(const std::string& path, int flags);
  void close_device(int fd);
  int control(int fd, unsigned long request, unsigned long argument);
  bool note(const std::string& call);
  bool is_device(int fd) const { return fd >= 0 && (fd == m_console || fd == m_framebuffer); }

  std::uint8_t byte(std::size_t at) const;  // of the device's memory

  std::vector<std::string> m_calls;
  std::set<std::string> m_failing;
  fb_fix_screeninfo m_fixed = {};
  fb_var_screeninfo m_variable = {};

 private:
  int m_memory;
  int m_console = -1;
  int m_framebuffer = -1;
};

// While it lives, malloc gives nothing to the calling thread.
class no_memory {
 public:
  no_memory();
  ~no_memory();
  no_memory(const no_memory&) = delete;
  no_memory& operator=(const no_memory&) = delete;
};
