#include "amt/amt-handle/pc/capture.h"

#include <algorithm>
#include <tuple>

#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/modem/answer.h"
#include "amt/amt-handle/pc/at-parameter.h"
#include "amt/amt-handle/pc/handover.h"
#include "amt/amt-record/serial-number.h"

namespace {

constexpr std::uint8_t ANY_TEXT = 0;
constexpr std::uint8_t AT_TEXT = 255;
constexpr std::uint8_t EXAMINED[] = {ANY_TEXT, AMT_WRITEIMEI_CMD, AMT_WRITE_BOARD_CMD, AMT_CHANNEL_SWITCH_CMD, AT_TEXT};
constexpr std::uint8_t CONFIRMATIONS[] = {AMT_WRITEIMEI_RSPCMD, AMT_WRITE_BOARD_RSPCMD};

constexpr char IMEI_COMMAND[] = "AT^DCGSNW=";
constexpr char BOARD_COMMAND[] = "AT^DMSN=";
constexpr char CHANNEL_COMMAND[] = "AT^DMPCHN=";

struct identity_st {
  amt_parameter_text m_imei_a;
  amt_parameter_text m_sn_a;
};

// Used by the PC reader alone.
amt_parameter_text g_pending_imei_a;
amt_parameter_text g_pending_sn_a;

amt_handover<identity_st> g_to_be_saved;  // a copy for the modem reader
relaxed<std::uint8_t> g_amt_channel;      // 1 selects the second set of record files

// Hands what was captured, as one piece, to the modem reader, which waits for its confirmation.
void publish(amt_capture_en type) {
  identity_st identity;
  std::copy(std::begin(g_pending_imei_a), std::end(g_pending_imei_a), identity.m_imei_a);
  std::copy(std::begin(g_pending_sn_a), std::end(g_pending_sn_a), identity.m_sn_a);
  g_to_be_saved.publish(identity);
  g_cur_treat_cmd_type.store(type, std::memory_order_release);
}

bool is_in_text(std::string_view received, const char* command) {
  if (!handle_amt_text_after(received, command)) return false;
  const std::string_view text = handle_amt_text(received);
  LOG_LINE("received at command in amt4:%.*s", static_cast<int>(text.size()), text.data());
  return true;
}

// True when the text holds one of the three commands. A capture counts even when its value could not be taken.
bool capture_text(std::string_view received) {
  if (is_in_text(received, IMEI_COMMAND)) {
    std::ignore = handle_amt_take_at_para(received, IMEI_COMMAND, g_pending_imei_a);
    publish(AMT_CAPTURE_IMEI);
    return true;
  }
  if (is_in_text(received, BOARD_COMMAND)) {
    std::ignore = handle_amt_take_at_para(received, BOARD_COMMAND, g_pending_sn_a);
    publish(AMT_CAPTURE_BOARD);
    return true;
  }
  if (is_in_text(received, CHANNEL_COMMAND)) {
    amt_parameter_text channel;
    std::ignore = handle_amt_take_at_para(received, CHANNEL_COMMAND, channel);
    g_amt_channel = static_cast<std::uint8_t>(handle_amt_field_value(channel));
    return true;
  }
  return false;
}

void take_atom(const amt_frame_st& frame, std::uint8_t atom_id, amt_parameter_text& text) {
  std::fill(std::begin(text), std::end(text), '\0');  // a frame without the atom captures nothing
  amt_frame_get_string(&frame, atom_id, text, sizeof text);
  text[sizeof text - 1] = '\0';  // a value that fills the buffer comes without a terminator
}

void capture_frame(std::uint8_t request_id, const amt_frame_st& frame) {
  if (request_id == AMT_WRITE_BOARD_CMD) {
    take_atom(frame, AMT_ATOM_BOARD, g_pending_sn_a);
    LOG_LINE("getted write-board command in amt1: board:%s;", g_pending_sn_a);
    publish(AMT_CAPTURE_BOARD);
  } else if (request_id == AMT_CHANNEL_SWITCH_CMD) {
    const std::uint32_t value = amt_frame_get_int(&frame, AMT_ATOM_MODEM_CHANNEL);
    g_amt_channel = static_cast<std::uint8_t>(value);
    LOG_LINE("getted switch-channel command in amt1: channel:%d;", std::uint8_t{g_amt_channel});
  } else if (request_id == AMT_WRITEIMEI_CMD) {
    take_atom(frame, AMT_ATOM_IMEI, g_pending_imei_a);
    LOG_LINE("getted write-imei command in amt1: imei:%s;", g_pending_imei_a);
    publish(AMT_CAPTURE_IMEI);
  }
}

bool is_confirmed_by_text(const amt_message_st& block) {
  return amt_answer_is_ok(amt_message_text(block));
}

bool is_confirmed_by_frame(const amt_message_st& block) {
  amt_message_st frame = block;
  if (amt_convert_pc_2_app(&frame) != ERR_NONE) return false;
  const std::uint8_t id = amt_frame_command_id(&frame.m_buf_a);
  if (std::find(std::begin(CONFIRMATIONS), std::end(CONFIRMATIONS), id) == std::end(CONFIRMATIONS)) return false;
  const std::uint32_t code = amt_frame_get_int(&frame.m_buf_a, AMT_ATOM_RESULT);
  LOG_LINE("getted error-code from modem: err-code:%d;", static_cast<std::int32_t>(code));
  return code == 0;
}

result_code_en save_imei(const pub_log_site& site, const char* imei, std::uint8_t channel) {
  if (*imei == '\0') return ERR_NONE;
  const result_code_en result = amt_write_pcba_sn(imei, channel == 1 ? AMT_SECOND_IMEI_FILE : AMT_IMEI_FILE);
  LOG_LINE("save imei to file. channel:%d; content:%s;", channel, imei);
  if (result != ERR_NONE) return pub_fail(site, ERR_FAIL, "write imei error.");
  LOG_LINE("Writed imei to file success.");
  return ERR_NONE;
}

result_code_en save_sn(const pub_log_site& site, const char* sn, std::uint8_t channel) {
  if (*sn == '\0') return ERR_NONE;
  const result_code_en result = amt_write_pcba_sn(sn, channel == 1 ? AMT_PCBA_SN_FILE : AMT_SN_FILE);
  LOG_LINE("save sn to file. channel:%d; content:%s;", channel, sn);
  if (result != ERR_NONE) return pub_fail(site, ERR_FAIL, "write sn error.");
  LOG_LINE("Writed sn to file success.");
  return ERR_NONE;
}

}  // namespace

void handle_amt_clear_capture() {
  std::fill(std::begin(g_pending_imei_a), std::end(g_pending_imei_a), '\0');
  std::fill(std::begin(g_pending_sn_a), std::end(g_pending_sn_a), '\0');
  g_amt_channel = 0;
  publish(AMT_CAPTURE_NONE);
}

void handle_amt_imei_and_sn(std::uint8_t request_id, std::string_view received, const amt_frame_st& frame) {
  LOG_LINE("handle_amt_imei_and_sn--->req_id_en:%d.", request_id);
  if (std::find(std::begin(EXAMINED), std::end(EXAMINED), request_id) == std::end(EXAMINED)) return;
  if (!capture_text(received)) capture_frame(request_id, frame);
}

void handle_amt_imei_and_sn_rsp(const amt_message_st& block) {
  if (block.m_buf_len == 0) {
    pub_log_failure({k_log, 9355, "handle_amt_imei_and_sn_rsp"}, ERR_ARGUMENT, " %d, %d", 0, 1);
    return;
  }
  const std::uint8_t type = g_cur_treat_cmd_type.load(std::memory_order_acquire);
  LOG_LINE("g_cur_treat_cmd_type:%d;", type);
  if (type != AMT_CAPTURE_IMEI && type != AMT_CAPTURE_BOARD) return;
  if (!is_confirmed_by_text(block) && !is_confirmed_by_frame(block)) return;
  // Cleared before the save, and only if it is still this one: a capture made meanwhile stays pending.
  std::uint8_t expected = type;
  g_cur_treat_cmd_type.compare_exchange_strong(expected, AMT_CAPTURE_NONE, std::memory_order_acq_rel);
  std::ignore = handle_amt_imei_and_sn_save_file(type);  // logged; the modem has the identity
}

result_code_en handle_amt_imei_and_sn_save_file(std::uint8_t type) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {type != AMT_CAPTURE_IMEI && type != AMT_CAPTURE_BOARD})) return ERR_ARGUMENT;
  const identity_st& identity = g_to_be_saved.latest();
  const std::uint8_t channel = g_amt_channel;
  return type == AMT_CAPTURE_IMEI ? save_imei(k_log, identity.m_imei_a, channel)
                                  : save_sn(k_log, identity.m_sn_a, channel);
}
