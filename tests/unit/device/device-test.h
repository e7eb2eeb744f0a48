// A station and a test application that ask for device tests, a phone whose files a test makes, breaks and looks at,
// and the vendor's libraries as fakes. Runs inside a fresh phone root.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "amt/amt-device/display.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-device/wifi.h"
#include "amt/amt-handle/service/registrations.h"
#include "pub/result.h"
#include "tests/unit/device/outside-calls.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/hwt-fake.h"
#include "tests/unit/links.h"
#include "tests/unit/temp-folder.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// Atoms and frames of requests, made here from the layout of the protocol and not by the code under test.
inline std::string little_endian(std::uint32_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

inline std::string atom(std::uint8_t id, std::uint8_t type, std::string_view value) {
  return std::string("\xEE") + static_cast<char>(id) + static_cast<char>(type) +
         little_endian(static_cast<std::uint32_t>(value.size()), 2) + std::string(value);
}

inline std::string int_atom(std::uint8_t id, std::uint32_t value) {
  return atom(id, 1, little_endian(value, 4));
}

inline std::string string_atom(std::uint8_t id, std::string_view text) {
  return atom(id, 2, text);
}

inline std::string bytes_atom(std::uint8_t id, std::string_view bytes) {
  return atom(id, 3, bytes);
}

inline std::string flag_atom(std::uint8_t id, std::uint8_t value) {
  return atom(id, 4, little_endian(value, 1));
}

inline std::string frame(std::uint8_t id, std::string_view atoms) {
  const auto size = static_cast<std::uint32_t>(atoms.size());
  return little_endian(size + 6, 2) + '\xBB' + static_cast<char>(id) + little_endian(size, 2) + std::string(atoms);
}

// A frame as a station sends it. Nobody looks at the checksum.
inline std::string wrapped(std::string_view bare) {
  return from_hex("AA BB CC DD ") + little_endian(static_cast<std::uint32_t>(bare.size()) + 8, 4) +
         little_endian(2, 4) + std::string(bare) + std::string(4, '\0');
}

inline amt_handle_func handler_of(amt_link_en link, std::uint8_t id) {
  for (const auto& row : amt_handle_registrations()) {
    if (row.m_link == link && row.m_request_id == id) return row.m_handler;
  }
  return nullptr;
}

class device_test : public context_test {
 protected:
  device_test() {
    namespace fs = std::filesystem;
    set_link(g_handle_context.m_pty_app.m_ptm_fd, m_app.service_end());
    g_hwt_fake = {};
    g_outside_calls = {};
    g_src_lcd_brightness = -1;
    g_wifi_is_running = 0;
    g_wifi_rtx_rx_channel = std::uint8_t{6};
    for (const char* folder :
         {"/amt", "/sys/class", "/proc/driver", "/data/local/wifi", "/data/etc", "/system/lib64/hw"}) {
      make_empty_folder(folder);
    }
    make_empty_folder("/amt/BT");
    make_empty_folder("/amt/WIFI");
    write_file("/handset/sync-calls", "");
    fs::remove("/data/property/ro.board.platform");
    amt_device_init_library_paths();
    m_log.clear();
  }

  static void make_empty_folder(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    fs::create_directories(folder);
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.is_directory() && !entry.is_symlink()) fs::permissions(entry.path(), fs::perms::owner_all);
      fs::remove_all(entry.path());
    }
  }
  static void write_file(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::remove(path);
    std::ofstream(path, std::ios::binary) << content;
  }
  // A file that can be opened and takes no byte.
  static void make_full_file(const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/dev/full", path);
  }
  static std::string content_of(const char* path) {
    return std::filesystem::exists(path) ? read_whole_file(path) : "(no file)";
  }
  // How often the platform's sync ran.
  static std::string sync_calls() { return content_of("/handset/sync-calls"); }
  // The board's library: the fake of misc-fake.h.
  static void install_misc_library() {
    std::filesystem::copy_file(MISC_FAKE_LIBRARY, "/system/lib64/hw/amt.vx5210.misc.so");
  }
  // A library that has none of the operations.
  static void install_empty_misc_library() {
    std::filesystem::copy_file(MISC_EMPTY_LIBRARY, "/system/lib64/hw/amt.vx5210.misc.so");
  }

  // Gives a request to the handler registered for it.
  std::int32_t ask(amt_link_en link, std::uint8_t id, std::string_view atoms = {}) {
    const amt_handle_func handler = handler_of(link, id);
    EXPECT_NE(handler, nullptr) << "no handler for request " << int{id} << " on link " << int{link};
    return handler == nullptr ? -1 : ask_handler(handler, link, id, atoms);
  }
  std::int32_t ask_handler(amt_handle_func handler, std::uint8_t link, std::uint8_t id, std::string_view atoms) {
    auto& context = g_handle_context;
    set_message(context.m_request_copy, frame(id, atoms));
    return handler(link, &context.m_request_copy, &context.m_response);
  }
  std::int32_t pc(std::uint8_t id, std::string_view atoms = {}) { return ask(AMT_LINK_PC, id, atoms); }
  std::int32_t app(std::uint8_t id, std::string_view atoms = {}) { return ask(AMT_LINK_APP, id, atoms); }

  std::string to_pc() { return m_pc.received_hex(); }
  std::string to_app() { return m_app.received_hex(); }
  bool is_silent() { return to_pc().empty() && to_app().empty(); }
  // The links fail: what is sent on them is refused.
  void close_links() {
    set_link(g_handle_context.m_fd_pc, 0);
    set_link(g_handle_context.m_pty_app.m_ptm_fd, 0);
  }

  std::vector<std::string> log() const { return m_log.texts(); }

  socket_link m_app;
};

// An error-trace line of the device tests.
inline testing::Matcher<const std::string&> device_failure(const std::string& function, std::int32_t code,
                                                           const std::string& error = "-?[0-9]+") {
  return failure_line("amt/amt-device", function, code, error);
}
