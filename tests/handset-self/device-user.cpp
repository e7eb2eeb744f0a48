// Runs in a phone in the place of the service and uses its played devices, step by step as a program does that draws on
// a screen. Prints "STEP 0" for each, or its errno, and goes on.
//
//   (nothing)   draws: the last pixel of the first row of the second half becomes red, the one below it green
//   dark        likewise, but leaves the layer off
#include <fcntl.h>
#include <linux/fb.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace {

constexpr unsigned long EN_LAYER = 0x40014309;
constexpr unsigned long SET_LAYER_INPUT_FORMAT = 0x40014301;

void print(const char* step, bool is_done) {
  std::printf("%s %d\n", step, is_done ? 0 : errno);
}

void put_pixel(std::uint8_t* at, unsigned value) {
  at[0] = static_cast<std::uint8_t>(value);
  at[1] = static_cast<std::uint8_t>(value >> 8);
}

void use_console() {
  const int fd = ::open("/dev/tty0", O_RDWR | O_CLOEXEC);
  print("open", fd >= 0);
  print("mode", ::ioctl(fd, KDSETMODE, 1UL) == 0);
  print("bad mode", ::ioctl(fd, KDSETMODE, 9UL) == 0);
  print("unknown", ::ioctl(fd, FBIOGET_FSCREENINFO, nullptr) == 0);
  ::close(fd);
}

void draw(int fd, std::size_t memory, const fb_var_screeninfo& shape) {
  void* mapped = ::mmap(nullptr, memory, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  print("map", mapped != MAP_FAILED);
  if (mapped == MAP_FAILED || shape.xres == 0) return;
  auto* half = static_cast<std::uint8_t*>(mapped) + std::size_t{4} * shape.xres * shape.yres;
  put_pixel(half + std::size_t{2} * (shape.xres - 1), 0xF800);
  put_pixel(half + std::size_t{2} * (2 * shape.xres - 1), 0x07E0);
}

void use_framebuffer(bool stays_dark) {
  const int fd = ::open("/dev/graphics/fb0", O_RDWR | O_CLOEXEC);
  print("open", fd >= 0);
  fb_fix_screeninfo fixed = {};
  fb_var_screeninfo shape = {};
  print("fixed", ::ioctl(fd, FBIOGET_FSCREENINFO, &fixed) == 0);
  print("variable", ::ioctl(fd, FBIOGET_VSCREENINFO, &shape) == 0);
  std::printf("%ux%u of %u, %u bytes\n", shape.xres, shape.yres, shape.yres_virtual, fixed.smem_len);
  draw(fd, fixed.smem_len, shape);
  print("early format", ::ioctl(fd, SET_LAYER_INPUT_FORMAT, 1UL) == 0);
  print("off", ::ioctl(fd, EN_LAYER, 0UL) == 0);
  print("format", ::ioctl(fd, SET_LAYER_INPUT_FORMAT, 1UL) == 0);
  shape.yoffset = shape.yres;
  shape.bits_per_pixel = 16;
  print("pan", ::ioctl(fd, FBIOPUT_VSCREENINFO, &shape) == 0);
  if (!stays_dark) print("on", ::ioctl(fd, EN_LAYER, 1UL) == 0);
  shape.yoffset = shape.yres + 1;
  print("pan too far", ::ioctl(fd, FBIOPUT_VSCREENINFO, &shape) == 0);
  ::close(fd);
}

}  // namespace

int main(int argc, char** argv) {
  use_console();
  use_framebuffer(argc > 1 && std::string_view(argv[1]) == "dark");
}
