#include "amt/amt-handle/pc/amt1-flag.h"

#include <cstdio>
#include <cstdlib>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "platform/property.h"
#include "pub/result.h"

namespace {

constexpr char HANDSHAKE_PROPERTY[] = "sys.vx.amt.failure.handshake";
constexpr std::int32_t OPERATION_READ = 2;

std::int32_t amt_write_content_to_file_sync(const char* content) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(content == nullptr, content != nullptr && *content == '\0')) return ERR_ARGUMENT;
  return amt_write_record(__func__, "write content", AMT_FLAG_FILE, content);
}

std::int32_t write_flag(std::int32_t flag) {
  char content[AMT_CONTENT_SIZE] = {};
  std::snprintf(content, sizeof content, "%d", flag);
  if (amt_write_content_to_file_sync(content) != ERR_NONE) {
    LOG_FAILURE_OF("handle_amt_damt1_operation", ERR_FAIL);
    LOG_LINE("write error to do-not-permit-handshake file.");
    return ERR_FAIL;
  }
  LOG_LINE("Writed to file(%s) success.flag: %s.", AMT_FLAG_FILE, content);
  return ERR_NONE;
}

// Only the first character counts here, whatever else the file holds.
std::int32_t read_flag() {
  char content[AMT_CONTENT_SIZE];
  if (amt_read_data_from_file(content, AMT_FLAG_FILE) != ERR_NONE) {
    LOG_LINE("readed failure from file(%s)..", AMT_FLAG_FILE);
    return 1;
  }
  LOG_LINE("readed success from file(%s). flag: %s.", AMT_FLAG_FILE, content);
  content[1] = '\0';
  return std::atoi(content);
}

}  // namespace

std::int32_t amt_read_data_from_file(char (&content)[AMT_CONTENT_SIZE], const char* path) {
  LOG_ENTRY();
  return amt_read_record(__func__, "read content", path, content);
}

bool amt_is_handshake_permitted_by_file() {
  char content[AMT_CONTENT_SIZE];
  if (amt_read_data_from_file(content, AMT_FLAG_FILE) != ERR_NONE) return true;
  LOG_LINE("readed success from file(%s). flag: %s.", AMT_FLAG_FILE, content);
  return std::atoi(content) != 0;
}

std::int32_t handle_amt_damt1_operation(std::int32_t operation, std::int32_t* value) {
  LOG_ENTRY();
  *value = 0;
  LOG_LINE("handle_amt_damt1_operation op_type: %d.", operation);
  if (operation == 0 || operation == 1) return write_flag(operation);
  if (operation == OPERATION_READ) {
    *value = read_flag();
    return ERR_NONE;
  }
  LOG_FAILURE(ERR_ARGUMENT);
  LOG_LINE("unknown operation type: %u", static_cast<unsigned>(operation));
  return ERR_ARGUMENT;
}

void amt_set_handshake_permission() {
  LOG_ENTRY();
  const bool is_permitted = g_power_supply_is_ac == 0 && amt_is_handshake_permitted_by_file();
  LOG_LINE(is_permitted ? "permit to enter amt by handshake. " : "do not permit to enter amt by handshake. ");
  const char* value = is_permitted ? "2" : "1";
  property_set(HANDSHAKE_PROPERTY, value);
  LOG_LINE("set property(%s) to %s.", HANDSHAKE_PROPERTY, value);
}

std::int32_t handle_amt_not_permit_handshake_at() {
  LOG_LINE("handle_amt_not_permit_handshake_at. start.");
  auto rest = handle_amt_text_behind("AT^DAMT1=");
  if (!rest) return ERR_NOT_HANDLED;
  const auto field = handle_amt_next_field(*rest);
  if (!field) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("type is null!!!");
    return ERR_ARGUMENT;
  }
  const std::int32_t type = handle_amt_field_value(*field);
  std::int32_t value = 0;
  if (handle_amt_damt1_operation(type, &value) != ERR_NONE) return handle_amt_reply_error();
  if (type != OPERATION_READ) return handle_amt_reply_ok();
  return handle_amt_reply("\r\n^DAMT1: %d\r\n\r\nOK\r\n", value);
}

std::int32_t amt_handle_not_permit_handshake(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  std::int32_t value = 0;
  const std::int32_t result = handle_amt_damt1_operation(0, &value);
  return result == ERR_NONE ? amt_handle_send_rsp_ok(link, response, 220) : result;
}
