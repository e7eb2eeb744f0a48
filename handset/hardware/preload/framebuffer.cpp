// /dev/graphics/fb0: the pixel memory is the device's own file; what the screen shows of it stands in the file
// "fb0.screen", as "name value" lines.
#include <linux/fb.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "handset/hardware/call-names.h"
#include "handset/hardware/preload/device.h"
#include "handset/hardware/preload/state-file.h"

namespace preload {

namespace {

constexpr char SCREEN_FILE[] = "fb0.screen";

struct screen_state {
  std::uint32_t xres;
  std::uint32_t yres;
  std::uint32_t yres_virtual;
  std::uint32_t yoffset;
  std::uint32_t bits_per_pixel;
  std::uint32_t smem_len;
  std::uint32_t layer;   // 1: the layer is on
  std::uint32_t format;  // its input format
};

constexpr state_field<screen_state> FIELDS[] = {
    {"xres", &screen_state::xres},       {"yres", &screen_state::yres},
    {"yoffset", &screen_state::yoffset}, {"yres_virtual", &screen_state::yres_virtual},
    {"layer", &screen_state::layer},     {"bits_per_pixel", &screen_state::bits_per_pixel},
    {"format", &screen_state::format},   {"smem_len", &screen_state::smem_len},
};

screen_state read_screen() {
  return read_state<screen_state>(SCREEN_FILE, FIELDS);
}

void write_screen(const screen_state& state) {
  write_state<screen_state>(SCREEN_FILE, FIELDS, state);
}

int get_fixed(unsigned long argument) {
  const screen_state state = read_screen();
  fb_fix_screeninfo fixed = {};
  std::strcpy(fixed.id, "handset");
  fixed.smem_len = state.smem_len;
  fixed.line_length = state.xres * (state.bits_per_pixel / 8);
  *pointer_to<fb_fix_screeninfo>(argument) = fixed;
  return 0;
}

int get_variable(unsigned long argument) {
  const screen_state state = read_screen();
  fb_var_screeninfo variable = {};
  variable.xres = state.xres;
  variable.yres = state.yres;
  variable.xres_virtual = state.xres;
  variable.yres_virtual = state.yres_virtual;
  variable.yoffset = state.yoffset;
  variable.bits_per_pixel = state.bits_per_pixel;
  *pointer_to<fb_var_screeninfo>(argument) = variable;
  return 0;
}

int put_variable(unsigned long argument) {
  const auto* variable = pointer_to<const fb_var_screeninfo>(argument);
  screen_state state = read_screen();
  const std::uint64_t last_row = std::uint64_t{variable->yoffset} + state.yres;
  if (variable->xres != state.xres || variable->yres != state.yres || last_row > variable->yres_virtual) return EINVAL;
  state.yoffset = variable->yoffset;
  state.yres_virtual = variable->yres_virtual;
  state.bits_per_pixel = variable->bits_per_pixel;
  write_screen(state);
  return 0;
}

void describe_variable(call_text& text, unsigned long argument) {
  const auto* variable = pointer_to<const fb_var_screeninfo>(argument);
  append(text, " yoffset=%u yres_virtual=%u bits_per_pixel=%u", variable->yoffset, variable->yres_virtual,
         variable->bits_per_pixel);
}

int enable_layer(unsigned long enable) {
  if (enable > 1) return EINVAL;
  screen_state state = read_screen();
  state.layer = static_cast<std::uint32_t>(enable);
  write_screen(state);
  return 0;
}

int set_format(unsigned long format) {
  screen_state state = read_screen();
  if (state.layer != 0) return EBUSY;  // the display reads it
  state.format = static_cast<std::uint32_t>(format);
  write_screen(state);
  return 0;
}

constexpr request REQUESTS[] = {
    {FBIOGET_FSCREENINFO, "FBIOGET_FSCREENINFO", nullptr, get_fixed},
    {FBIOGET_VSCREENINFO, "FBIOGET_VSCREENINFO", nullptr, get_variable},
    {FBIOPUT_VSCREENINFO, "FBIOPUT_VSCREENINFO", describe_variable, put_variable},
    {0x40014309, "ZELTAFB_IOCTL_EN_LAYER", describe_number, enable_layer},
    {0x40014301, "ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT", describe_number, set_format},
};

static_assert(handset::are_listed(REQUESTS, handset::FRAMEBUFFER_CALLS));

}  // namespace

const device FRAMEBUFFER = {"/dev/graphics/fb0", "fb0", REQUESTS};

}  // namespace preload
