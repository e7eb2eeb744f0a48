#include "pub/cfg/cfg.h"

#include <cstring>

#include "pub/log.h"
#include "pub/result.h"

namespace {

constexpr pub_log_module_st k_log{"vx-kro-pub", "cfg/cfg"};

char* skip_blanks(char* text) {
  return text + std::strspn(text, " ");
}

void cut_from_end(char* text, const char* unwanted) {
  for (std::size_t length = std::strlen(text); length > 0; --length) {
    if (std::strchr(unwanted, text[length - 1]) == nullptr) return;
    text[length - 1] = '\0';
  }
}

}  // namespace

result_code_en pub_cfg_get_line(std::FILE* file, char* buffer, std::uint32_t size, std::uint32_t* length,
                                std::int32_t* is_eof) {
  if (pub_log_bad_arguments(k_log,
                            {file == nullptr, buffer == nullptr, size < 3, length == nullptr, is_eof == nullptr})) {
    return ERR_ARGUMENT;
  }
  std::memset(buffer, 0, size);
  *length = 0;
  *is_eof = 0;
  // A read error ends the file as well: a folder opens like a file and then never gives a line.
  if (std::fgets(buffer, static_cast<int>(size - 1), file) == nullptr) {
    *is_eof = 1;
    return ERR_NONE;
  }
  *length = static_cast<std::uint32_t>(std::strlen(buffer));
  return ERR_NONE;
}

result_code_en pub_cfg_get_param_and_value(char* line, char** key, char** value) {
  if (pub_log_bad_arguments(k_log, {line == nullptr, key == nullptr, value == nullptr})) return ERR_ARGUMENT;
  char* start = skip_blanks(line);
  if (*start == '#') return ERR_NOT_HANDLED;
  char* equals = std::strchr(start, '=');
  if (equals == nullptr) return ERR_NOT_HANDLED;
  *equals = '\0';
  cut_from_end(start, " ");
  *key = start;
  *value = skip_blanks(equals + 1);
  cut_from_end(*value, " \r\n");
  return ERR_NONE;
}
