#include "amt/amt-device/device.h"

#include <cerrno>
#include <cstring>

#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

pub_file open_file(const char* function, const char* path, const char* mode) {
  pub_file file = pub_util_fopen(path, mode);
  if (!file) {
    const int error = errno;
    LOG_FAILURE_OF(function, ERR_SYSTEM);
    LOG_LINE("Open file \"%s\" fail: %d - %s", path, error, std::strerror(error));
  }
  return file;
}

// call: "fscanf" or "fprintf".
std::int32_t fail_transfer(const char* function, const char* call, int result) {
  const int error = errno;
  LOG_FAILURE_OF(function, ERR_SYSTEM);
  LOG_LINE("%s() return: %d; %d - %s", call, result, error, std::strerror(error));
  return ERR_SYSTEM;
}

}  // namespace

std::int32_t amt_device_finish_bare_rsp(std::uint8_t link, amt_message_st* response) {
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_RESULT, 0);
  return amt_handle_send_rsp(link, response);
}

std::int32_t amt_device_read_number(const char* function, const char* path, std::int32_t* value) {
  const pub_file file = open_file(function, path, "r");
  if (!file) return ERR_SYSTEM;
  const int count = std::fscanf(file.get(), "%d", value);
  return count == 1 ? ERR_NONE : fail_transfer(function, "fscanf", count);
}

std::int32_t amt_device_write_number(const char* function, const char* path, std::int32_t value) {
  const pub_file file = open_file(function, path, "w");
  if (!file) return ERR_SYSTEM;
  int count = std::fprintf(file.get(), "%d", value);
  if (std::fflush(file.get()) != 0) count = -1;  // here the driver takes the number, or refuses it
  return count >= 1 ? ERR_NONE : fail_transfer(function, "fprintf", count);
}

std::int32_t amt_device_fail_sys_call(const char* function, const char* call) {
  LOG_SYS_CALL(call);
  LOG_FAILURE_OF(function, ERR_WRITE);
  return ERR_FAIL;
}
