#include "amt/amt-handle/pc/pcba-sn.h"

#include <cstring>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/record.h"
#include "pub/result.h"

namespace {

constexpr std::uint8_t RESPONSE_ID = 194;
constexpr std::uint8_t ATOM_OPERATION = 190;
constexpr std::uint8_t ATOM_SERIAL = 191;
constexpr std::uint8_t OPERATION_READ = 1;
constexpr std::uint8_t OPERATION_WRITE = 2;

constexpr char HANDLER[] = "amt_handle_board_pcba_ctrl";

std::int32_t read_for_pc(amt_message_st* response) {
  char serial[AMT_PCBA_SN_SIZE];
  if (amt_read_pcba_sn(serial) != ERR_NONE) {
    LOG_FAILURE_OF(HANDLER, ERR_FAIL);
    LOG_LINE("read error.");
    return ERR_FAIL;
  }
  LOG_LINE("readed pcba-sn: %s.", serial);
  amt_frame_add_string(&response->m_buf_a, ATOM_SERIAL, serial);
  return ERR_NONE;
}

std::int32_t write_for_pc(const amt_message_st* request) {
  char serial[AMT_PCBA_SN_SIZE] = {};
  amt_frame_get_string(&request->m_buf_a, ATOM_SERIAL, serial, sizeof serial);
  serial[AMT_PCBA_SN_SIZE - 1] = '\0';  // a value of exactly 30 characters comes without a terminator
  LOG_LINE("getted pcba-sn: %s.", serial);
  if (amt_write_pcba_sn(serial, AMT_PCBA_SN_FILE) != ERR_NONE) {
    LOG_FAILURE_OF(HANDLER, ERR_FAIL);
    LOG_LINE("write error.");
    return ERR_FAIL;
  }
  LOG_LINE("Writed to file success.pcba-sn: %s.", serial);
  return ERR_NONE;
}

std::int32_t fail_operation(std::uint8_t operation) {
  LOG_FAILURE_OF(HANDLER, ERR_ARGUMENT);
  LOG_LINE("unknown operation type: %u", operation);
  return ERR_ARGUMENT;
}

}  // namespace

std::int32_t amt_write_pcba_sn(const char* text, const char* path) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(text == nullptr, text != nullptr && *text == '\0')) return ERR_ARGUMENT;
  return amt_write_record(__func__, "write pcba-sn", path, text);
}

std::int32_t amt_read_pcba_sn(char (&buffer)[AMT_PCBA_SN_SIZE]) {
  LOG_ENTRY();
  std::memset(buffer, 0, sizeof buffer);
  char line[AMT_CONTENT_SIZE];
  const std::int32_t result = amt_read_record(__func__, nullptr, AMT_PCBA_SN_FILE, line);
  if (result != ERR_NONE) return result;
  std::memcpy(buffer, line, sizeof buffer - 1);
  LOG_LINE("read pcba-sn: %s", buffer);
  return ERR_NONE;
}

std::int32_t amt_handle_board_pcba_ctrl(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, RESPONSE_ID);
  std::uint8_t operation = 0;
  amt_frame_get_bytes(&request->m_buf_a, ATOM_OPERATION, &operation, sizeof operation);
  LOG_LINE("pcba op-type: %d.", operation);

  std::int32_t result = ERR_NONE;
  if (operation == OPERATION_READ) {
    result = read_for_pc(response);
  } else if (operation == OPERATION_WRITE) {
    result = write_for_pc(request);
  } else {
    result = fail_operation(operation);
  }
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
