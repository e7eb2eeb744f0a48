#include "tests/fuzz/outside.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <span>

#include "platform/hwt.h"
#include "platform/power.h"
#include "platform/property.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/process.h"
#include "tests/fuzz/phone.h"

fuzz_outside_st g_fuzz_outside;

namespace {

bool fails(fuzz_fault_en fault) {
  return (g_fuzz_outside.m_faults & fault) != 0;
}

int library_result() {
  return fails(FUZZ_NO_HARDWARE) ? 1 : 0;
}

// The first bytes of the file as a number.
int number() {
  int value = 0;
  std::copy_n(g_fuzz_outside.m_file.begin(), std::min(g_fuzz_outside.m_file.size(), sizeof value),
              reinterpret_cast<std::uint8_t*>(&value));
  return value;
}

bool answers_on() {
  return g_fuzz_outside.m_answer_on != nullptr && g_fuzz_outside.m_answer_on();
}

}  // namespace

// The linker's --wrap sends the service's calls to these names; "real" is what they replace.
#define REPLACES(symbol) __asm__("__wrap_" symbol)
#define REAL(symbol) __asm__("__real_" symbol)

void replace_sleep_ms(std::uint32_t) REPLACES("_Z17pub_util_sleep_msj");
void replace_sleep_us(std::uint32_t) REPLACES("_Z17pub_util_sleep_usj");
ssize_t replace_read(int fd, void* buffer, std::size_t size) REPLACES("_Z13pub_util_readiPvm");
int replace_wait(int fd, short events, std::uint32_t timeout) REPLACES("_Z13pub_util_waitisj");
int replace_wait_any(std::span<pollfd> wanted, std::uint32_t timeout)
    REPLACES("_Z17pub_util_wait_anySt4spanI6pollfdLm18446744073709551615EEj");
int replace_run_command(const char* command) REPLACES("_Z20pub_util_run_commandPKc");
int replace_open(const char* path, int flags) REPLACES("_Z13pub_util_openPKci");
pub_file replace_fopen(const char* path, const char* mode) REPLACES("_Z14pub_util_fopenPKcS0_");
pid_t replace_fork() REPLACES("_Z13pub_util_forkv");
std::int32_t replace_reopen(pub_shared_fd* fd, const char* path, int flags, std::uint32_t tries, std::uint32_t pause)
    REPLACES("_Z29pub_util_try_to_reopen_deviceP13pub_shared_fdPKcijj");
std::int32_t replace_try_open(pub_shared_fd* fd, const char* path, int flags, std::uint32_t tries, std::uint32_t pause)
    REPLACES("_Z27pub_util_try_to_open_deviceP13pub_shared_fdPKcijj");
std::int32_t replace_check_run(const char* file, const char* name, std::int32_t* is_run, std::int64_t* pid)
    REPLACES("_Z30pub_util_get_pid_and_check_runPKcS0_PiPl");
std::int32_t real_check_run(const char* file, const char* name, std::int32_t* is_run, std::int64_t* pid)
    REAL("_Z30pub_util_get_pid_and_check_runPKcS0_PiPl");
int replace_power_off() REPLACES("_Z18platform_power_offv");
extern "C" int replace_property_get(const char* key, char* value, const char* preset) REPLACES("property_get");
extern "C" int replace_property_set(const char* key, const char* value) REPLACES("property_set");
extern "C" int replace_access(const char* path, int mode) REPLACES("access");
extern "C" int replace_kill(pid_t pid, int signo) REPLACES("kill");
extern "C" int replace_rename(const char* from, const char* to) REPLACES("rename");
extern "C" int replace_unlink(const char* path) REPLACES("unlink");
extern "C" void* replace_dlopen(const char* path, int flags) REPLACES("dlopen");
extern "C" void* real_dlopen(const char* path, int flags) REAL("dlopen");

void replace_sleep_ms(std::uint32_t) {}

void replace_sleep_us(std::uint32_t) {}

// A link on which nothing more comes is a reset one.
ssize_t replace_read(int fd, void* buffer, std::size_t size) {
  if (size == 0) return 0;
  ssize_t count = recv(fd, buffer, size, MSG_DONTWAIT);
  if (count < 0 && errno == EAGAIN && answers_on()) count = recv(fd, buffer, size, MSG_DONTWAIT);
  if (count < 0 && errno == EAGAIN) errno = EIO;
  return count;
}

int replace_wait(int fd, short events, std::uint32_t timeout) {
  pollfd wanted[] = {{fd, events, 0}};
  return replace_wait_any(wanted, timeout);
}

// A wait without an end is one for a link that is reset then.
int replace_wait_any(std::span<pollfd> wanted, std::uint32_t timeout) {
  const int ready = poll(wanted.data(), wanted.size(), 0);
  if (ready != 0 || timeout == 0) return ready;
  if (answers_on()) return poll(wanted.data(), wanted.size(), 0);
  wanted.front().revents = timeout > 5000 ? wanted.front().events : short{0};
  return wanted.front().revents != 0 ? 1 : 0;
}

int replace_run_command(const char* command) {
  FUZZ_CHECK(std::strlen(command) < 200);
  return fails(FUZZ_NO_COMMANDS) ? 256 : 0;
}

int replace_open(const char*, int flags) {
  if (fails(FUZZ_NO_READING)) {
    errno = ENOENT;
    return -1;
  }
  return open("/dev/null", flags | O_CLOEXEC);
}

pub_file replace_fopen(const char*, const char* mode) {
  if (fails(*mode == 'r' ? FUZZ_NO_READING : FUZZ_NO_WRITING)) {
    errno = EACCES;
    return nullptr;
  }
  const int fd = memfd_create("record", MFD_CLOEXEC);
  const fuzz_bytes content = *mode == 'r' ? g_fuzz_outside.m_file : fuzz_bytes();
  FUZZ_CHECK(fd >= 0 && pwrite(fd, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
  return pub_file(fdopen(fd, mode));
}

// The caller goes on as the parent or as the child.
pid_t replace_fork() {
  if (fails(FUZZ_NO_COMMANDS)) return -1;
  return fails(FUZZ_NO_ACCESS) ? 0 : 1;
}

std::int32_t replace_reopen(pub_shared_fd*, const char*, int, std::uint32_t, std::uint32_t) {
  return ERR_SYSTEM;
}

std::int32_t replace_try_open(pub_shared_fd* fd, const char*, int, std::uint32_t, std::uint32_t) {
  fd->abandon();
  return ERR_SYSTEM;
}

// Reads its files, but finds nobody whom the caller could end.
std::int32_t replace_check_run(const char* file, const char* name, std::int32_t* is_run, std::int64_t* pid) {
  const std::int32_t result = real_check_run(file, name, is_run, pid);
  *is_run = 0;
  return result;
}

int replace_power_off() {
  return 0;
}

int replace_property_get(const char*, char* value, const char* preset) {
  const std::string_view text = fails(FUZZ_PROPERTIES) ? fuzz_text(g_fuzz_outside.m_file)
                                : preset == nullptr    ? ""
                                                       : preset;
  const std::size_t length = std::min(text.size(), std::size_t{PROPERTY_VALUE_MAX - 1});
  std::copy_n(text.begin(), length, value);
  value[length] = '\0';
  return static_cast<int>(std::strlen(value));
}

int replace_property_set(const char*, const char*) {
  return 0;
}

int replace_access(const char*, int mode) {
  errno = ENOENT;
  return fails(mode == F_OK ? FUZZ_NO_ACCESS : FUZZ_NO_READING) ? -1 : 0;
}

int replace_kill(pid_t, int) {
  return 0;
}

int replace_rename(const char*, const char*) {
  errno = EACCES;
  return fails(FUZZ_NO_WRITING) ? -1 : 0;
}

int replace_unlink(const char*) {
  return 0;
}

// The board's library is this program itself.
void* replace_dlopen(const char*, int flags) {
  return fails(FUZZ_NO_BOARD_LIBRARY) ? real_dlopen("/no such library", flags) : real_dlopen(nullptr, flags);
}

void fuzz_outside_check() {
  g_fuzz_outside.m_faults = FUZZ_NO_COMMANDS;
  FUZZ_CHECK(pub_util_run_command("exit 0") == 256 && pub_util_fork() == -1);
  g_fuzz_outside.m_faults = FUZZ_NO_READING;
  FUZZ_CHECK(!pub_util_fopen("/dev/null", "r") && pub_util_open("/dev/null", O_RDONLY) == -1);
  FUZZ_CHECK(platform_power_off() == 0);  // would end this program
  g_fuzz_outside.m_faults = 0;
}

extern "C" {

int hwt_btCtrl(int) {
  return library_result();
}
int hwt_btCheck(void) {
  return library_result();
}
int hwt_wifiCtrl(int) {
  return library_result();
}
int hwt_wifiCheck(void) {
  return library_result();
}
int hwt_TxTest(int, int, int, int) {
  return library_result();
}
int hwt_RxTest(int, int, int, int* count) {
  if (count != nullptr) *count = number();
  return library_result();
}
int hwt_gpsCtrl(int, int, int* svid, int* cnr) {
  if (svid != nullptr) *svid = number();
  if (cnr != nullptr) *cnr = number();
  return library_result();
}
int hwt_gpsCheck(void) {
  return library_result();
}

// The operations of the board's library.
int create_devinfo(char* text, int size);
int codec_loop_test(int type, int enable);
int amt_usb_charger_enable(int type);
int IsChargeState(void);
int amt_check_system_sanity(void);
int enter_idle(void);

// Fills the whole room, without a terminator, as a careless library would.
int create_devinfo(char* text, int size) {
  const fuzz_bytes file = g_fuzz_outside.m_file;
  for (int i = 0; i < size; ++i) {
    text[i] = file.empty() ? '\0' : static_cast<char>(file[static_cast<std::size_t>(i) % file.size()]);
  }
  return library_result();
}
int codec_loop_test(int, int) {
  return library_result();
}
int amt_usb_charger_enable(int) {
  return library_result();
}
int IsChargeState(void) {
  return number();
}
int amt_check_system_sanity(void) {
  return number();
}
int enter_idle(void) {
  return library_result();
}

}  // extern "C"
