// The configuration file: whatever it holds, the record is filled within its fields and every line is taken apart
// within itself.
#include <cstring>
#include <memory>

#include "amt/amt-cfg.h"
#include "pub/cfg/cfg.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "tests/fuzz/phone.h"

namespace {

template <std::size_t Size>
bool is_terminated(const char (&field)[Size]) {
  return std::memchr(field, '\0', Size) != nullptr;
}

void check_line(char* line, std::size_t length) {
  char* key = nullptr;
  char* value = nullptr;
  const std::int32_t result = pub_cfg_get_param_and_value(line, &key, &value);
  FUZZ_CHECK(result == ERR_NONE || result == ERR_NOT_HANDLED);
  if (result != ERR_NONE) return;
  FUZZ_CHECK(key >= line && key < value && value <= line + length && *key != '#' && *value != ' ');
  const std::string_view name(key);
  const std::string_view text(value);
  FUZZ_CHECK(name.find('=') == std::string_view::npos && !name.starts_with(' ') && !name.ends_with(' '));
  FUZZ_CHECK(!text.ends_with(' ') && !text.ends_with('\r') && !text.ends_with('\n'));
}

void read_lines(std::uint32_t size) {
  const pub_file file = pub_util_fopen("lines", "r");
  const auto line = std::make_unique<char[]>(size);
  std::uint32_t length = 0;
  for (std::int32_t is_eof = 0; is_eof == 0;) {
    FUZZ_CHECK(pub_cfg_get_line(file.get(), line.get(), size, &length, &is_eof) == ERR_NONE);
    FUZZ_CHECK(length <= size - 2 && std::strlen(line.get()) == length && (is_eof == 0 || length == 0));
    check_line(line.get(), length);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint32_t line_size = 3u + input.byte();
  const fuzz_phone phone(0, input.rest());
  FUZZ_CHECK(amt_cfg_init("configuration") == ERR_NONE);
  const amt_cfg_st& cfg = g_amt_cfg;
  FUZZ_CHECK(is_terminated(cfg.m_tty_pc_a) && is_terminated(cfg.m_tty_app_a) && is_terminated(cfg.m_tty_modem_a));
  FUZZ_CHECK(is_terminated(cfg.m_tty_at_mux_a) && is_terminated(cfg.m_audio_file_a) &&
             is_terminated(cfg.m_mode_file_a));
  read_lines(line_size);
  return 0;
}
