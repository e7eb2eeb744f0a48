#include "amt/amt-handle/pc/address.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "amt/amt-record/record.h"
#include "amt/amt-record/wifi-address.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char BT_FILE[] = "/amt/BT/BT_Address.txt";
constexpr char SECOND_BT_FILE[] = "/mnt/opl/nvm/BT_Address.txt";

constexpr std::size_t ADDRESS_SIZE = 20;  // 19 characters and the terminator
using address_text = char[ADDRESS_SIZE];

// What stands behind the opening quote, up to the next quote. Whatever it is, it is taken: a command without a closing
// quote gives everything up to 19 characters, its carriage return too.
void take_address(std::string_view behind_quote, address_text& address) {
  const std::string_view text = behind_quote.substr(0, std::min(behind_quote.find('"'), ADDRESS_SIZE - 1));
  std::fill(std::begin(address), std::end(address), '\0');
  std::copy(text.begin(), text.end(), address);
}

bool bt_addr_read(address_text& address) {
  LOG_ENTRY();
  std::fill(std::begin(address), std::end(address), '\0');
  const char* path = get_bt_addr_file();
  if (path == nullptr) return false;
  const pub_file file = amt_open_record(__func__, path, "r");
  if (!file) return false;
  static_assert(ADDRESS_SIZE == 20);
  if (std::fscanf(file.get(), "%19s", address) != 1) {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("read not completed");
    return false;
  }
  LOG_LINE("read BT address: %s", address);
  return true;
}

bool bt_addr_write(const address_text& address) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(false, *address == '\0')) return false;
  const char* path = get_bt_addr_file();
  if (path == nullptr) return false;
  pub_file file = amt_open_record(__func__, path, "w+");
  if (!file) return false;
  const std::string line = std::string(address) + "\n";
  return amt_finish_record(std::move(file), line.c_str(), [&address](bool is_written) {
    if (is_written) {
      LOG_LINE("write BT address: %s", address);
      return;
    }
    LOG_SYS_CALL("fputs");
    LOG_FAILURE_OF("bt_addr_write", ERR_WRITE);
  });
}

std::int32_t reply_done(bool is_done) {
  return is_done ? handle_amt_reply_ok() : handle_amt_reply_cme_error();
}

bool is_nothing_received(const char* function) {
  if (g_handle_context.m_request.m_buf_len != 0) return false;
  LOG_FAILURE_OF(function, ERR_ARGUMENT);
  return true;
}

}  // namespace

const char* get_bt_addr_file() {
  LOG_ENTRY();
  for (const char* path : {BT_FILE, SECOND_BT_FILE}) {
    if (access(path, F_OK) == 0) return path;
  }
  LOG_FAILURE(ERR_SYSTEM);
  LOG_LINE("can not access file \"%s\" or \"%s\"", BT_FILE, SECOND_BT_FILE);
  return nullptr;
}

std::int32_t handle_amt_bt_at() {
  if (is_nothing_received("handle_amt_pc_req_at")) return ERR_ARGUMENT;
  address_text address;
  if (handle_amt_text_behind("AT^DBTADDR?\r")) {
    if (!bt_addr_read(address)) return handle_amt_reply_cme_error();
    return handle_amt_reply("\r\n^DBTADDR: \"%s\"\r\n\r\nOK\r\n", address);
  }
  if (handle_amt_text_behind("AT^DBTADDR=?\r")) return handle_amt_reply_ok();
  const auto quoted = handle_amt_text_behind("AT^DBTADDR=\"");
  if (!quoted) return ERR_NOT_HANDLED;
  take_address(*quoted, address);
  return reply_done(bt_addr_write(address));
}

std::int32_t handle_amt_wifi_at() {
  LOG_ENTRY();
  if (is_nothing_received(__func__)) return ERR_ARGUMENT;
  address_text address;
  if (handle_amt_text_behind("AT^DWIFIADDR?\r")) {
    if (amt_read_wifi_address(address, sizeof address) != ERR_NONE) return handle_amt_reply_cme_error();
    return handle_amt_reply("\r\n^DWIFIADDR: \"%s\"\r\n\r\nOK\r\n", address);
  }
  if (handle_amt_text_behind("AT^DWIFIADDR=?\r")) return handle_amt_reply_ok();
  const auto quoted = handle_amt_text_behind("AT^DWIFIADDR=\"");
  if (!quoted) return ERR_NOT_HANDLED;
  take_address(*quoted, address);
  return reply_done(amt_write_wifi_address(address) == ERR_NONE);
}
