#include "amt/amt-handle/pc/adb-serial.h"

#include <cstdio>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/record.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint8_t RESPONSE_ID = 192;
constexpr std::uint8_t ATOM_OPERATION = 160;
constexpr std::uint8_t ATOM_SERIAL = 161;
constexpr std::uint8_t ATOM_LENGTH = 162;
constexpr std::uint32_t OPERATION_WRITE = 1;
constexpr std::uint32_t LENGTH_LIMIT = 99;
constexpr std::size_t SERIAL_SIZE = LENGTH_LIMIT + 1;

std::int32_t fail(const char* why) {
  LOG_FAILURE_OF("amt_handle_adb_serial_no", ERR_FAIL);
  LOG_LINE("%s", why);
  return ERR_FAIL;
}

std::int32_t write_serial(const amt_message_st* request) {
  const std::uint32_t length = amt_frame_get_int(&request->m_buf_a, ATOM_LENGTH);
  if (length == 0 || length > LENGTH_LIMIT) return fail("Invalid adb serial number length!");
  char serial[SERIAL_SIZE] = {};
  amt_frame_get_string(&request->m_buf_a, ATOM_SERIAL, serial, length + 1);
  serial[length] = '\0';  // a value one longer than stated fills the room

  pub_file file = pub_util_fopen(AMT_ADB_SERIAL_FILE, "w+");
  if (!file) return fail("fopen error");
  LOG_LINE("open file \"%s\" ok", AMT_ADB_SERIAL_FILE);
  const bool is_written = amt_finish_record(std::move(file), serial, [&serial](bool is_done) {
    if (is_done) {
      LOG_LINE("write adb serial no.[%s] ok", serial);
    } else {
      fail("fprintf error");
    }
  });
  return is_written ? ERR_NONE : ERR_FAIL;
}

std::int32_t read_serial(amt_message_st* response) {
  const pub_file file = pub_util_fopen(AMT_ADB_SERIAL_FILE, "r");
  if (!file) return fail("fopen error");
  char serial[SERIAL_SIZE] = {};
  if (std::fscanf(file.get(), "%99s", serial) != 1) return fail("fscanf error");
  LOG_LINE("read adb serial no. ok, it is : %s", serial);
  amt_frame_add_string(&response->m_buf_a, ATOM_SERIAL, serial);
  return ERR_NONE;
}

}  // namespace

std::int32_t amt_handle_adb_serial_no(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, RESPONSE_ID);
  const std::uint32_t operation = amt_frame_get_int(&request->m_buf_a, ATOM_OPERATION);
  if (operation > OPERATION_WRITE) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("unknown operation: %d", static_cast<int>(operation));
    return ERR_ARGUMENT;
  }
  const std::int32_t result = operation == OPERATION_WRITE ? write_serial(request) : read_serial(response);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
