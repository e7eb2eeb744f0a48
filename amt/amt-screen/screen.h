// The phone's framebuffer and the one picture that is shown on it. Owns the mapped screen and the inflated picture;
// both stay for the life of the process, and only the banner's thread touches them. Results are 0 or -1
// (ERR_WRITE).
#pragma once

#include <linux/fb.h>

#include <cstdint>

#include "pub/result.h"

struct screen_image_st {
  std::uint32_t m_width;       // pixels
  std::uint32_t m_height;      // rows
  const std::uint8_t* m_data;  // gzip member
  std::uint32_t m_length;      // bytes of it that inflate is given
  std::uint8_t* m_pixels;      // null until loaded; then m_width x m_height RGB565 pixels, from malloc
};

struct screen_st {
  int m_fd;                        // -1 = not open
  std::uint8_t* m_base;            // the mapped memory, m_fixed.smem_len bytes
  fb_fix_screeninfo m_fixed;       // as the device gave it
  fb_var_screeninfo m_variable;    // as the device gave it, then as it was last set
  std::uint32_t m_width;           // of the screen, when the image was loaded
  std::uint32_t m_height;          // the same for its height
  std::uint32_t m_enabled_layers;  // 0 until the first update has switched the layer on
  std::uint8_t m_is_loaded;        // set by a successful load
};

extern screen_image_st g_screen_image;
extern screen_st g_screen;

// Puts the console into graphics mode, opens and maps the framebuffer, loads the image. Nothing stays open after -1.
result_code_en screen_init();
// Inflates the image and records the screen's size. After -1 there is no image, not even an earlier one.
result_code_en screen_load_image(std::uint32_t width, std::uint32_t height);
// Draws into the half of the framebuffer that is not shown and shows it.
result_code_en screen_update();
// A black screen with the image in its middle, at a byte offset into the mapped memory. An image larger than the screen
// is not cut to it and runs into the neighbouring rows; what lies outside the mapped memory is not written.
void screen_draw_image(std::int64_t destination);
