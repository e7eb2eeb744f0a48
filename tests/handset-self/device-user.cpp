// Runs in a phone in the place of the service and uses its played devices, in the steps of a program that draws on a
// screen. For each step it prints "STEP 0", or the step and its errno, and goes on.
//
//   (nothing)   draws: the last pixel of the first row of the second half becomes red, the one below it green
//   dark        draws the same, but leaves the layer off
//   video       selects a camera, an input and a control
//   battery     reads the battery driver before and after the command that prepares a reading, and after another one
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
#include <cstdlib>
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

void print_result(const char* step, int result) {
  std::printf("%s %d\n", step, result < 0 ? errno : result);
}

void use_video() {
  const int fd = ::open("/dev/video0", O_RDWR | O_CLOEXEC);
  print("open", fd >= 0);
  int value = 1;
  print_result("select", ::ioctl(fd, 0xC0045662UL, &value));
  print_result("input", ::ioctl(fd, 0xC0045627UL, &value));
  print_result("control", ::ioctl(fd, 0xC0045663UL, &value));
  value = 2;
  print_result("bad control", ::ioctl(fd, 0xC0045663UL, &value));
  ::close(fd);
}

void read_battery(const char* step) {
  std::FILE* node = std::fopen("/proc/driver/zelta_battery", "r");
  if (node == nullptr) return print(step, false);
  char text[16] = "-";
  std::fscanf(node, "%15s", text);
  std::fclose(node);
  std::printf("%s %s\n", step, text);
}

void use_battery() {
  read_battery("unprepared");
  std::system("echo amt_get_vbatt >/proc/driver/zelta_battery");
  read_battery("prepared");
  std::system("echo amt_set_vbatt >/proc/driver/zelta_battery");
  read_battery("told");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view what = argc > 1 ? argv[1] : "";
  if (what == "video") return use_video(), 0;
  if (what == "battery") return use_battery(), 0;
  use_console();
  use_framebuffer(what == "dark");
}
