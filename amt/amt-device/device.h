// What the device tests share. A handler checks its request, reads its atoms, works and answers: with the OK reply
// (amt_handle_send_rsp_ok) or with a data reply, which is begun with amt_handle_start_rsp, filled, and sent with
// amt_handle_finish_rsp. A handler that fails sends nothing: its caller answers with the error frame.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/log.h"

// As amt_handle_finish_rsp, for the handlers that answer with a bare frame on every link.
result_code_en amt_device_finish_bare_rsp(std::uint8_t link, amt_message_st* response);

// One decimal number in a file, as the kernel's device files hold it. 0 or ERR_SYSTEM, logged as a failure of
// site; *value is then as it was.
result_code_en amt_device_read_number(const pub_log_site& site, const char* path, std::int32_t* value);
result_code_en amt_device_write_number(const pub_log_site& site, const char* path, std::int32_t value);

// Logs "sys call: %s() failed! errno = %d" and the error-trace line for site; gives ERR_FAIL.
result_code_en amt_device_fail_sys_call(const pub_log_site& site, const char* call);
