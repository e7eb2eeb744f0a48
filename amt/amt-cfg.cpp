#include "amt/amt-cfg.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <tuple>
#include <variant>

#include "pub/cfg/cfg.h"
#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/text.h"

amt_cfg_st g_amt_cfg;

namespace {

constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-cfg"};
constexpr std::int32_t DEFAULT_BAUDRATE = 115200;

using device_field = char (amt_cfg_st::*)[28];
using file_field = char (amt_cfg_st::*)[48];
using number_field = std::int32_t amt_cfg_st::*;

struct cfg_key_st {
  const char* m_name;
  std::variant<device_field, file_field, number_field> m_field;
};

constexpr cfg_key_st CFG_KEYS[] = {
    {"vx.tty.pc", &amt_cfg_st::m_tty_pc_a},
    {"vx.tty.app", &amt_cfg_st::m_tty_app_a},
    {"vx.tty.modem", &amt_cfg_st::m_tty_modem_a},
    {"vx.tty.at.mux", &amt_cfg_st::m_tty_at_mux_a},
    {"vx.audio.file", &amt_cfg_st::m_audio_file_a},
    {"vx.audio.sample.rate", &amt_cfg_st::m_audio_sample_rate},
    {"vx.audio.format", &amt_cfg_st::m_audio_format},
    {"vx.audio.frame.count", &amt_cfg_st::m_audio_frame_count},
    {"vx.mode.file", &amt_cfg_st::m_mode_file_a},
    {"vx.modem.uart.amt.default.baudrate", &amt_cfg_st::m_modem_uart_amt_baudrate},
    {"vx.modem.uart.at.default.baudrate", &amt_cfg_st::m_modem_uart_at_baudrate},
};

void store_text(const char* key, const char* value, std::span<char> field) {
  std::fill(field.begin(), field.end(), '\0');
  std::copy_n(value, std::min(std::strlen(value), field.size() - 1), field.begin());
  LOG_LINE("[cfg]%s = %s", key, field.data());
}

void store_number(const char* key, const char* value, std::int32_t& field) {
  field = pub_text_number(value);
  LOG_LINE("[cfg]%s = %d", key, field);
}

void store(const cfg_key_st& key, const char* value) {
  if (const auto* device = std::get_if<device_field>(&key.m_field)) {
    store_text(key.m_name, value, g_amt_cfg.**device);
  } else if (const auto* file = std::get_if<file_field>(&key.m_field)) {
    store_text(key.m_name, value, g_amt_cfg.**file);
  } else {
    store_number(key.m_name, value, g_amt_cfg.*std::get<number_field>(key.m_field));
  }
}

void parse_line(char* line) {
  char* name = nullptr;
  char* value = nullptr;
  if (pub_cfg_get_param_and_value(line, &name, &value) != ERR_NONE || *name == '\0' || *value == '\0') return;
  const auto* key = std::find_if(std::begin(CFG_KEYS), std::end(CFG_KEYS),
                                 [name](const cfg_key_st& row) { return std::strcmp(row.m_name, name) == 0; });
  if (key != std::end(CFG_KEYS)) store(*key, value);
}

void reset_amt_cfg() {
  g_amt_cfg = {};
  g_amt_cfg.m_modem_uart_at_baudrate = DEFAULT_BAUDRATE;
  g_amt_cfg.m_modem_uart_amt_baudrate = DEFAULT_BAUDRATE;
}

result_code_en parse_amt_cfg(const char* path) {
  pub_log_entry(k_log);
  const pub_file file = pub_util_fopen(path, "r");
  if (!file) {
    pub_log_sys_call(k_log, "fopen");
    pub_log_failure(k_log, ERR_WRITE);
    return pub_fail(k_log, ERR_SYSTEM, "fail to open file: %s", path);
  }
  char line[100];
  std::uint32_t length = 0;
  std::int32_t is_eof = 0;
  while (is_eof == 0) {
    std::ignore = pub_cfg_get_line(file.get(), line, sizeof line, &length, &is_eof);
    parse_line(line);
  }
  if (std::ferror(file.get()) == 0) return ERR_NONE;
  pub_log_sys_call(k_log, "fgets");
  return pub_fail(k_log, ERR_SYSTEM, "fail to read file: %s", path);
}

}  // namespace

result_code_en amt_cfg_init(const char* path) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 231}, {path == nullptr})) return ERR_ARGUMENT;
  reset_amt_cfg();
  const result_code_en result = parse_amt_cfg(path);
  if (result != ERR_NONE) reset_amt_cfg();  // half a file is none
  return result;
}
