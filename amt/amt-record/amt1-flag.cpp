#include "amt/amt-record/amt1-flag.h"

#include <cstdio>

#include "amt/amt-handle/context/state.h"
#include "amt/amt-record/log-module.h"
#include "platform/property.h"
#include "pub/util/text.h"

namespace {

constexpr char HANDSHAKE_PROPERTY[] = "sys.vx.amt.failure.handshake";

result_code_en amt_write_content_to_file_sync(const char* content) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {content == nullptr, content != nullptr && *content == '\0'})) return ERR_ARGUMENT;
  return amt_write_record(k_log, "write content", AMT_FLAG_FILE, content);
}

result_code_en write_flag(std::int32_t flag) {
  char content[AMT_CONTENT_SIZE] = {};
  std::snprintf(content, sizeof content, "%d", flag);
  if (amt_write_content_to_file_sync(content) != ERR_NONE) {
    return pub_fail({k_log, "handle_amt_damt1_operation"}, ERR_FAIL, "write error to do-not-permit-handshake file.");
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
  return pub_text_number(content);
}

}  // namespace

result_code_en amt_read_data_from_file(char (&content)[AMT_CONTENT_SIZE], const char* path) {
  pub_log_entry(k_log);
  return amt_read_record(k_log, "read content", path, content);
}

bool amt_is_handshake_permitted_by_file() {
  char content[AMT_CONTENT_SIZE];
  if (amt_read_data_from_file(content, AMT_FLAG_FILE) != ERR_NONE) return true;
  LOG_LINE("readed success from file(%s). flag: %s.", AMT_FLAG_FILE, content);
  return pub_text_number(content) != 0;
}

result_code_en handle_amt_damt1_operation(std::int32_t operation, std::int32_t* value) {
  pub_log_entry(k_log);
  *value = 0;
  LOG_LINE("handle_amt_damt1_operation op_type: %d.", operation);
  if (operation == AMT_FLAG_FORBID || operation == AMT_FLAG_PERMIT) return write_flag(operation);
  if (operation == AMT_FLAG_READ) {
    *value = read_flag();
    return ERR_NONE;
  }
  return pub_fail(k_log, ERR_ARGUMENT, "unknown operation type: %u", static_cast<unsigned>(operation));
}

void amt_set_handshake_permission() {
  pub_log_entry(k_log);
  const bool is_permitted = g_power_supply_is_ac == 0 && amt_is_handshake_permitted_by_file();
  LOG_LINE(is_permitted ? "permit to enter amt by handshake. " : "do not permit to enter amt by handshake. ");
  const char* value = is_permitted ? "2" : "1";
  property_set(HANDSHAKE_PROPERTY, value);
  LOG_LINE("set property(%s) to %s.", HANDSHAKE_PROPERTY, value);
}
