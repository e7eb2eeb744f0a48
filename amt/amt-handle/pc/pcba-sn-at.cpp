#include "amt/amt-handle/pc/pcba-sn-at.h"

#include <algorithm>
#include <string_view>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "amt/amt-handle/pc/pcba-sn.h"
#include "pub/result.h"

namespace {

constexpr std::uint8_t TYPE_READ = 1;
constexpr std::uint8_t TYPE_WRITE = 2;
constexpr char LINK[] = "handle_amt_pcba_sn_at";

std::int32_t reply_failure(const char* text) {
  LOG_FAILURE_OF(LINK, ERR_FAIL);
  LOG_LINE("%s", text);
  return handle_amt_reply_error();
}

std::int32_t read_serial() {
  char serial[AMT_PCBA_SN_SIZE];
  if (amt_read_pcba_sn(serial) != ERR_NONE) return reply_failure("read error.");
  LOG_LINE("readed pcba-sn: %s.", serial);
  return handle_amt_reply("\r\n^DPCBACTRL: %s\r\n\r\nOK\r\n", serial);
}

// The carriage return that ends the command is part of the serial number: on purpose, what is read back has it, too.
std::int32_t write_serial(std::string_view rest) {
  const auto field = handle_amt_next_field(rest);
  if (!field) {
    LOG_FAILURE_OF(LINK, ERR_ARGUMENT);
    LOG_LINE("pcba-sn is null!!!");
    return ERR_ARGUMENT;
  }
  char serial[AMT_PCBA_SN_SIZE] = {};
  if (field->size() > sizeof serial - 1) return reply_failure("pcba-sn is too long.");
  std::copy(field->begin(), field->end(), serial);
  if (amt_write_pcba_sn(serial, AMT_PCBA_SN_FILE) != ERR_NONE) return reply_failure("write error.");
  LOG_LINE("Writed pcba-sn: %s.", serial);
  return handle_amt_reply_ok();
}

}  // namespace

std::int32_t handle_amt_pcba_sn_at() {
  LOG_ENTRY();
  auto rest = handle_amt_text_behind("AT^DPCBACTRL=");
  if (!rest) return ERR_NOT_HANDLED;
  const auto field = handle_amt_next_field(*rest);
  if (!field) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("type is null!!!");
    return ERR_ARGUMENT;
  }
  const auto type = static_cast<std::uint8_t>(handle_amt_field_value(*field));
  if (type == TYPE_READ) return read_serial();
  if (type == TYPE_WRITE) return write_serial(*rest);
  LOG_FAILURE(ERR_ARGUMENT);
  LOG_LINE("unknown operation type: %u", type);
  return handle_amt_reply_error();
}
