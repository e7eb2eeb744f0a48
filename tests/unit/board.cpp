#include "tests/unit/board.h"

#include <filesystem>

#include "amt/amt-device/misc-library.h"
#include "tests/unit/phone-root.h"

namespace {

test_board* g_board = nullptr;

void use(const char* library) {
  phone_root::remove(test_board::PATH);
  std::filesystem::create_directories(std::filesystem::path(test_board::PATH).parent_path());
  std::filesystem::create_symlink(library, test_board::PATH);
}

}  // namespace

// What the library calls.
extern "C" int unit_board_call(const char* operation, int argument);

int unit_board_call(const char* operation, int argument) {
  if (g_board == nullptr) return -1;
  g_board->m_calls.push_back({operation, argument});
  return g_board->m_result;
}

test_board::test_board() {
  g_board = this;
  phone_root::remove("/data/property/ro.board.platform");
  amt_device_init_library_paths();
  use_whole();
}

test_board::~test_board() {
  g_board = nullptr;
}

void test_board::use_whole() {
  use(UNIT_BOARD);
}

void test_board::use_empty() {
  use(UNIT_EMPTY_BOARD);
}

void test_board::remove() {
  phone_root::remove(PATH);
}
