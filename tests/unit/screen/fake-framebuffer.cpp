#include "tests/unit/screen/fake-framebuffer.h"

#include <fcntl.h>
#include <linux/kd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>

#include "amt/amt-screen/banner-data.h"
#include "amt/amt-screen/screen.h"

namespace {

constexpr unsigned long EN_LAYER = 0x40014309;
constexpr unsigned long SET_LAYER_INPUT_FORMAT = 0x40014301;

fake_framebuffer* the_framebuffer = nullptr;
thread_local bool is_out_of_memory = false;

std::string access_text(int flags) {
  return (flags & O_ACCMODE) == O_RDWR ? " rw" : " not-rw";
}

template <typename Information>
Information* pointer_to(unsigned long argument) {
  return reinterpret_cast<Information*>(argument);  // NOLINT(performance-no-int-to-ptr): what an ioctl is given
}

}  // namespace

extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_close(int fd);
int __real_ioctl(int fd, unsigned long request, ...);
void* __real_mmap(void* address, std::size_t length, int protection, int flags, int fd, off_t offset);
int __real_munmap(void* address, std::size_t length);
void* __real_malloc(std::size_t size);

int __wrap_open(const char* path, int flags, ...);
int __wrap_close(int fd);
int __wrap_ioctl(int fd, unsigned long request, ...);
void* __wrap_mmap(void* address, std::size_t length, int protection, int flags, int fd, off_t offset);
int __wrap_munmap(void* address, std::size_t length);
void* __wrap_malloc(std::size_t size);

int __wrap_open(const char* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(list, unsigned) : 0;
  va_end(list);
  const std::string name = path;
  if (the_framebuffer != nullptr && (name == "/dev/tty0" || name == "/dev/graphics/fb0")) {
    return the_framebuffer->open_device(name, flags);
  }
  return __real_open(path, flags, mode);
}

int __wrap_close(int fd) {
  if (the_framebuffer != nullptr) the_framebuffer->close_device(fd);
  return __real_close(fd);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list list;
  va_start(list, request);
  const unsigned long argument = va_arg(list, unsigned long);
  va_end(list);
  if (the_framebuffer != nullptr && the_framebuffer->is_device(fd)) {
    return the_framebuffer->control(fd, request, argument);
  }
  return __real_ioctl(fd, request, argument);
}

void* __wrap_mmap(void* address, std::size_t length, int protection, int flags, int fd, off_t offset) {
  if (the_framebuffer != nullptr && the_framebuffer->is_device(fd)) {
    const bool is_as_expected = protection == (PROT_READ | PROT_WRITE) && flags == MAP_SHARED && offset == 0;
    if (!the_framebuffer->note("mmap " + std::to_string(length) + (is_as_expected ? " rw shared" : " otherwise"))) {
      return MAP_FAILED;
    }
  }
  return __real_mmap(address, length, protection, flags, fd, offset);
}

int __wrap_munmap(void* address, std::size_t length) {
  if (the_framebuffer != nullptr && address == g_screen.m_base) {
    the_framebuffer->note("munmap " + std::to_string(length));
  }
  return __real_munmap(address, length);
}

void* __wrap_malloc(std::size_t size) {
  return is_out_of_memory ? nullptr : __real_malloc(size);
}
}  // extern "C"

no_memory::no_memory() {
  is_out_of_memory = true;
}

no_memory::~no_memory() {
  is_out_of_memory = false;
}

fake_framebuffer::fake_framebuffer(std::uint32_t xres, std::uint32_t yres, std::uint32_t smem_len)
    : m_memory(memfd_create("framebuffer", MFD_CLOEXEC)) {
  m_fixed.smem_len = smem_len;
  m_variable.xres = xres;
  m_variable.yres = yres;
  m_variable.yres_virtual = yres;
  m_variable.bits_per_pixel = 32;
  if (ftruncate(m_memory, smem_len) != 0) std::abort();
  the_framebuffer = this;
}

fake_framebuffer::~fake_framebuffer() {
  the_framebuffer = nullptr;
  if (g_screen.m_base != nullptr) munmap(g_screen.m_base, m_fixed.smem_len);
  if (g_screen.m_fd >= 0) close(g_screen.m_fd);
  close(m_memory);
  std::free(g_screen_image.m_pixels);
  g_screen_image.m_pixels = nullptr;
  g_screen_image.m_length = BANNER_LENGTH;
  g_screen = {};
  g_screen.m_fd = -1;
}

fake_framebuffer* fake_framebuffer::current() {
  return the_framebuffer;
}

bool fake_framebuffer::note(const std::string& call) {
  m_calls.push_back(call);
  if (!m_failing.contains(call)) return true;
  errno = EIO;
  return false;
}

int fake_framebuffer::open_device(const std::string& path, int flags) {
  const std::string sync = (flags & O_SYNC) == O_SYNC ? " sync" : "";
  if (!note("open " + path + access_text(flags) + sync + ((flags & O_CLOEXEC) == 0 ? " inherited" : ""))) return -1;
  int& fd = path == "/dev/tty0" ? m_console : m_framebuffer;
  fd = fcntl(m_memory, F_DUPFD_CLOEXEC, 0);
  return fd;
}

void fake_framebuffer::close_device(int fd) {
  if (!is_device(fd)) return;
  m_calls.emplace_back(fd == m_console ? "close /dev/tty0" : "close /dev/graphics/fb0");
  (fd == m_console ? m_console : m_framebuffer) = -1;
}

int fake_framebuffer::control(int fd, unsigned long request, unsigned long argument) {
  std::string call = "unknown request " + std::to_string(request);
  auto* variable = pointer_to<fb_var_screeninfo>(argument);
  if (fd == m_console && request == KDSETMODE) call = "KDSETMODE " + std::to_string(argument);
  if (fd == m_framebuffer && request == EN_LAYER) call = "EN_LAYER " + std::to_string(argument);
  if (fd == m_framebuffer && request == SET_LAYER_INPUT_FORMAT) {
    call = "SET_LAYER_INPUT_FORMAT " + std::to_string(argument);
  }
  if (fd == m_framebuffer && request == FBIOGET_FSCREENINFO) call = "FBIOGET_FSCREENINFO";
  if (fd == m_framebuffer && request == FBIOGET_VSCREENINFO) call = "FBIOGET_VSCREENINFO";
  if (fd == m_framebuffer && request == FBIOPUT_VSCREENINFO) {
    call = "FBIOPUT_VSCREENINFO yoffset=" + std::to_string(variable->yoffset) +
           " yres_virtual=" + std::to_string(variable->yres_virtual) +
           " bits_per_pixel=" + std::to_string(variable->bits_per_pixel);
  }
  if (!note(call)) return -1;
  if (call == "FBIOGET_FSCREENINFO") *pointer_to<fb_fix_screeninfo>(argument) = m_fixed;
  if (call == "FBIOGET_VSCREENINFO") *variable = m_variable;
  return 0;
}

std::uint8_t fake_framebuffer::byte(std::size_t at) const {
  std::uint8_t value = 0;
  if (pread(m_memory, &value, 1, static_cast<off_t>(at)) != 1) std::abort();
  return value;
}
