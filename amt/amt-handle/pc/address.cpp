#include "amt/amt-handle/pc/address.h"

#include <algorithm>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "amt/amt-record/bt-address.h"
#include "amt/amt-record/wifi-address.h"

namespace {

using address_text = char[AMT_BT_AT_ADDRESS_SIZE];

// What follows the opening quote, up to the next quote. Nothing about it is checked: a command without a closing quote
// gives everything up to 19 characters, its carriage return too.
void take_address(std::string_view quoted, address_text& address) {
  const std::string_view text = quoted.substr(0, std::min(quoted.find('"'), sizeof address - 1));
  std::fill(std::begin(address), std::end(address), '\0');
  std::copy(text.begin(), text.end(), address);
}

result_code_en reply_done(amt_message_st* response, bool is_done) {
  return is_done ? handle_amt_reply_ok(response) : handle_amt_reply_cme_error(response);
}

}  // namespace

result_code_en handle_amt_bt_at(std::string_view received, amt_message_st* response) {
  if (received.empty()) return pub_fail({k_log, "handle_amt_pc_req_at"}, ERR_ARGUMENT);
  address_text address;
  if (handle_amt_text_after(received, "AT^DBTADDR?\r")) {
    if (!bt_addr_read(address)) return handle_amt_reply_cme_error(response);
    return handle_amt_reply(response, "\r\n^DBTADDR: \"%s\"\r\n\r\nOK\r\n", address);
  }
  if (handle_amt_text_after(received, "AT^DBTADDR=?\r")) return handle_amt_reply_ok(response);
  const auto quoted = handle_amt_text_after(received, "AT^DBTADDR=\"");
  if (!quoted) return ERR_NOT_HANDLED;
  take_address(*quoted, address);
  return reply_done(response, bt_addr_write(address));
}

result_code_en handle_amt_wifi_at(std::string_view received, amt_message_st* response) {
  pub_log_entry(k_log);
  if (received.empty()) return pub_fail(k_log, ERR_ARGUMENT);
  address_text address;
  if (handle_amt_text_after(received, "AT^DWIFIADDR?\r")) {
    if (amt_read_wifi_address(address, sizeof address) != ERR_NONE) return handle_amt_reply_cme_error(response);
    return handle_amt_reply(response, "\r\n^DWIFIADDR: \"%s\"\r\n\r\nOK\r\n", address);
  }
  if (handle_amt_text_after(received, "AT^DWIFIADDR=?\r")) return handle_amt_reply_ok(response);
  const auto quoted = handle_amt_text_after(received, "AT^DWIFIADDR=\"");
  if (!quoted) return ERR_NOT_HANDLED;
  take_address(*quoted, address);
  return reply_done(response, amt_write_wifi_address(address) == ERR_NONE);
}
