#include "amt/amt-screen/screen.h"

#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>

#include "amt/amt-screen/geometry.h"
#include "amt/amt-screen/log-module.h"
#include "pub/util/io.h"

screen_st g_screen = {.m_fd = -1,
                      .m_base = nullptr,
                      .m_fixed = {},
                      .m_variable = {},
                      .m_width = 0,
                      .m_height = 0,
                      .m_enabled_layers = 0,
                      .m_is_loaded = 0};

namespace {

// The display driver's own requests. Both take their argument by value.
constexpr unsigned long ZELTAFB_IOCTL_EN_LAYER = 0x40014309;
constexpr unsigned long ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT = 0x40014301;
constexpr unsigned long INPUT_FORMAT_RGB565 = 1;

constexpr std::uint32_t BITS_PER_PIXEL = 16;
// The layer counts its offset in pixels of 32 bits, whatever the format of what is drawn.
constexpr std::int64_t OFFSET_BYTES_PER_PIXEL = 4;

void set_console_to_graphics() {
  const pub_fd console(pub_util_open("/dev/tty0", O_RDWR | O_SYNC));
  if (console.get() >= 0) ioctl(console.get(), KDSETMODE, static_cast<unsigned long>(KD_GRAPHICS));
}

bool query(int fd) {
  if (ioctl(fd, FBIOGET_FSCREENINFO, &g_screen.m_fixed) < 0) {
    log_message(k_framebuffer_log, "fb ioctl FBIOGET_FSCREENINFO failed \n");
    return false;
  }
  if (ioctl(fd, FBIOGET_VSCREENINFO, &g_screen.m_variable) < 0) {
    log_message(k_framebuffer_log, "fb ioctl FBIOGET_VSCREENINFO failed \n");
    return false;
  }
  return true;
}

bool map(int fd) {
  void* memory = mmap(nullptr, g_screen.m_fixed.smem_len, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (memory == MAP_FAILED) {
    log_message(k_framebuffer_log, "fb mapping failed!\n");
    return false;
  }
  g_screen.m_base = static_cast<std::uint8_t*>(memory);
  return true;
}

// Unmaps one screen of 16-bit pixels, not all that was mapped: the rest stays mapped, unused. Never more than was
// mapped: a device that claims a huge screen would otherwise unmap its neighbours in memory, too.
void unmap_one_screen() {
  const std::size_t screen = std::size_t{g_screen.m_variable.xres} * g_screen.m_variable.yres * (BITS_PER_PIXEL / 8);
  munmap(g_screen.m_base, std::min<std::size_t>(screen, g_screen.m_fixed.smem_len));
  g_screen.m_base = nullptr;
}

bool enable_layer(unsigned long enable) {
  return ioctl(g_screen.m_fd, ZELTAFB_IOCTL_EN_LAYER, enable) >= 0;
}

// The layer's format can be changed while the layer is off.
bool prepare_layer() {
  if (!enable_layer(0)) {
    log_message(k_framebuffer_log, "fb ioctl ZELTAFB_IOCTL_EN_LAYER failed \n");
    return false;
  }
  if (ioctl(g_screen.m_fd, ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT, INPUT_FORMAT_RGB565) < 0) {
    log_message(k_framebuffer_log, "fb ioctl ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT failed \n");
    enable_layer(1);
    return false;
  }
  return true;
}

bool show_layer() {
  if (!enable_layer(1)) {
    log_message(k_framebuffer_log, "fb ioctl ZELTAFB_IOCTL_EN_LAYER failed \n");
    enable_layer(1);
    return false;
  }
  ++g_screen.m_enabled_layers;
  return true;
}

}  // namespace

result_code_en screen_init() {
  pub_log_entry(k_log);
  set_console_to_graphics();
  pub_fd framebuffer(pub_util_open("/dev/graphics/fb0", O_RDWR));
  if (framebuffer.get() < 0) {
    log_message(k_framebuffer_log, "fb open failed!\n");
    return ERR_WRITE;
  }
  if (!query(framebuffer.get()) || !map(framebuffer.get())) return ERR_WRITE;
  if (screen_load_image(g_screen.m_variable.xres, g_screen.m_variable.yres) != 0) {
    unmap_one_screen();
    return ERR_WRITE;
  }
  g_screen.m_fd = framebuffer.release();
  return ERR_NONE;
}

result_code_en screen_update() {
  pub_log_entry(k_log);
  fb_var_screeninfo& variable = g_screen.m_variable;
  variable.yoffset = variable.yoffset == 0 ? variable.yres : 0;
  variable.bits_per_pixel = BITS_PER_PIXEL;
  variable.yres_virtual = 2 * variable.yres;
  screen_draw_image(OFFSET_BYTES_PER_PIXEL * screen_distance(variable.xres, variable.yoffset));

  const bool is_first = g_screen.m_enabled_layers == 0;
  if (is_first && !prepare_layer()) return ERR_WRITE;
  ioctl(g_screen.m_fd, FBIOPUT_VSCREENINFO, &variable);
  if (is_first && !show_layer()) return ERR_WRITE;
  return ERR_NONE;
}
