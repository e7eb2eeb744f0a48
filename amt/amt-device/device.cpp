#include "amt/amt-device/device.h"

#include <cerrno>
#include <cstring>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

pub_file open_file(const pub_log_site& site, const char* path, const char* mode) {
  pub_file file = pub_util_fopen(path, mode);
  if (!file) {
    pub_log_failure(site, ERR_SYSTEM, "Open file \"%s\" fail: %d - %s", path, errno, std::strerror(errno));
  }
  return file;
}

// call: "fscanf" or "fprintf".
result_code_en fail_transfer(const pub_log_site& site, const char* call, int result) {
  return pub_fail(site, ERR_SYSTEM, "%s() return: %d; %d - %s", call, result, errno, std::strerror(errno));
}

}  // namespace

result_code_en amt_device_finish_bare_rsp(std::uint8_t link, amt_message_st* response) {
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_RESULT, 0);
  return amt_handle_send_rsp(link, response);
}

result_code_en amt_device_read_number(const pub_log_site& site, const char* path, std::int32_t* value) {
  const pub_file file = open_file(site, path, "r");
  if (!file) return ERR_SYSTEM;
  const int count = pub_util_scan_number(file.get(), value);
  return count == 1 ? ERR_NONE : fail_transfer(site, "fscanf", count);
}

result_code_en amt_device_write_number(const pub_log_site& site, const char* path, std::int32_t value) {
  const pub_file file = open_file(site, path, "w");
  if (!file) return ERR_SYSTEM;
  int count = std::fprintf(file.get(), "%d", value);
  if (std::fflush(file.get()) != 0) count = -1;  // here the driver takes the number, or refuses it
  return count >= 1 ? ERR_NONE : fail_transfer(site, "fprintf", count);
}

result_code_en amt_device_fail_sys_call(const pub_log_site& site, const char* call) {
  pub_log_sys_call(k_log, call);
  pub_log_failure(site, ERR_WRITE);
  return ERR_FAIL;
}
