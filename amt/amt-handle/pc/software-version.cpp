#include "amt/amt-handle/pc/software-version.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "platform/power.h"
#include "platform/property.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint32_t POWER_OFF_PAUSE_MS = 2000;

bool property_equals(const char* name, const char* wanted) {
  char value[PROPERTY_VALUE_MAX];
  property_get(name, value, "null");
  return strcasecmp(value, wanted) == 0;
}

bool is_customer_brand() {
  return property_equals("ro.build.customer", "ORVITO") || property_equals("ro.product.manufacturer", "Orvito");
}

// Reads a property that must give something; ERR_FAIL, logged, when it gives nothing.
result_code_en read_property(const char* name, char (&value)[PROPERTY_VALUE_MAX]) {
  if (property_get(name, value, " ") > 0) return ERR_NONE;
  return pub_fail({k_log, "get_ap_sw_version"}, ERR_FAIL, "read %s error", name);
}

// A text that never grows past its buffer: what does not fit is cut.
class version_text {
 public:
  void append(std::string_view piece) {
    const std::size_t count = std::min(piece.size(), sizeof m_text - 1 - m_length);
    std::copy_n(piece.begin(), count, m_text + m_length);
    m_length += count;
  }
  const char* text() const { return m_text; }
  std::size_t length() const { return m_length; }

 private:
  char m_text[AMT_VERSION_TEXT_SIZE] = {};
  std::size_t m_length = 0;
};

result_code_en compose_plain(version_text& text) {
  char value[PROPERTY_VALUE_MAX];
  const result_code_en result = read_property("ro.build.display.id", value);
  if (result == ERR_NONE) text.append(value);
  return result;
}

result_code_en compose_brand(version_text& text) {
  text.append("TELU ");
  char value[PROPERTY_VALUE_MAX];
  const result_code_en result = read_property("ro.build.version.incremental", value);
  if (result != ERR_NONE) return result;
  text.append(value);

  if (property_get("ro.build.display.vx.id", value, " ") <= 0) return ERR_NONE;
  text.append("(");
  text.append(value);
  text.append(")");
  return ERR_NONE;
}

void switch_phone_off() {
  pub_util_sleep_ms(POWER_OFF_PAUSE_MS);  // the PC has the reply before the power goes
  if (platform_power_off() != 0) pub_log_sys_call(k_log, "reboot");
}

}  // namespace

result_code_en get_ap_sw_version(char* buffer, std::uint32_t* length) {
  pub_log_entry(k_log);
  if (buffer == nullptr || length == nullptr) {
    return pub_fail(k_log, ERR_ARGUMENT, " %d, %d", buffer == nullptr ? 1 : 0, length == nullptr ? 1 : 0);
  }
  *length = 0;
  version_text text;
  const result_code_en result = is_customer_brand() ? compose_brand(text) : compose_plain(text);
  if (result != ERR_NONE) return result;
  LOG_LINE("getted sw-module: %s", text.text());

  // Never true, kept on purpose: the text has no room for more, and a longer one would have to be cut and logged here.
  std::size_t count = text.length();
  if (count > AMT_VERSION_TEXT_SIZE) {
    LOG_LINE("buf's len(%d) is smaller than sw's len(%d). data will be discard", AMT_VERSION_TEXT_SIZE,
             static_cast<int>(count));
    count = AMT_VERSION_TEXT_SIZE;
  }
  std::copy_n(text.text(), count, buffer);
  *length = static_cast<std::uint32_t>(count);
  return ERR_NONE;
}

result_code_en handle_amt_sw_version_at(std::string_view received, amt_message_st* response) {
  pub_log_entry(k_log);
  if (!handle_amt_text_after(received, "AT^DSVER\r")) return ERR_NOT_HANDLED;
  char version[AMT_VERSION_TEXT_SIZE + 1] = {};
  std::uint32_t length = 0;
  if (get_ap_sw_version(version, &length) != ERR_NONE) return handle_amt_reply_cme_error(response);
  return handle_amt_reply(response, "\r\n^DSVER: %s\r\n\r\nOK\r\n", version);
}

result_code_en handle_amt_power_off_at(std::string_view received, amt_message_st* response) {
  pub_log_entry(k_log);
  if (!handle_amt_text_after(received, "AT^DAMTOFF\r")) return ERR_NOT_HANDLED;
  const result_code_en result = handle_amt_reply_ok(response);
  switch_phone_off();
  return result;
}

result_code_en amt_handle_power_off(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const result_code_en result = amt_handle_send_rsp_ok(link, response, AMT_POWER_OFF_RSPCMD);
  switch_phone_off();
  return result;
}
