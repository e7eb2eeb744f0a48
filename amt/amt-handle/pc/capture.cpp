#include "amt/amt-handle/pc/capture.h"

#include <algorithm>
#include <string_view>

#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/pc/handover.h"
#include "amt/amt-handle/pc/pcba-sn.h"
#include "pub/result.h"

namespace {

constexpr std::uint8_t ANY_TEXT = 0;
constexpr std::uint8_t WRITE_IMEI = 5;
constexpr std::uint8_t WRITE_BOARD = 87;
constexpr std::uint8_t SWITCH_CHANNEL = 232;
constexpr std::uint8_t AT_TEXT = 255;
constexpr std::uint8_t EXAMINED[] = {ANY_TEXT, WRITE_IMEI, WRITE_BOARD, SWITCH_CHANNEL, AT_TEXT};
constexpr std::uint8_t CONFIRMATIONS[] = {WRITE_IMEI + 1, WRITE_BOARD + 1};

constexpr std::uint8_t ATOM_IMEI = 21;
constexpr std::uint8_t ATOM_BOARD = 38;
constexpr std::uint8_t ATOM_CHANNEL = 159;

constexpr char IMEI_COMMAND[] = "AT^DCGSNW=";
constexpr char BOARD_COMMAND[] = "AT^DMSN=";
constexpr char CHANNEL_COMMAND[] = "AT^DMPCHN=";

struct identity_st {
  amt_parameter_text m_imei_a;
  amt_parameter_text m_sn_a;
};

// Of the PC reader alone.
amt_parameter_text g_pending_imei_a;
amt_parameter_text g_pending_sn_a;

amt_handover<identity_st> g_to_be_saved;  // the same for the modem reader
relaxed<std::uint8_t> g_amt_channel;      // 1 selects the second set of record files

// Lets the modem reader see what was captured, whole, and wait for its confirmation.
void publish(amt_capture_en type) {
  identity_st identity;
  std::copy(std::begin(g_pending_imei_a), std::end(g_pending_imei_a), identity.m_imei_a);
  std::copy(std::begin(g_pending_sn_a), std::end(g_pending_sn_a), identity.m_sn_a);
  g_to_be_saved.publish(identity);
  g_cur_treat_cmd_type.store(type, std::memory_order_release);
}

bool is_in_text(const char* command) {
  if (!handle_amt_text_behind(command)) return false;
  const std::string_view text = handle_amt_request_text();
  LOG_LINE("received at command in amt4:%.*s", static_cast<int>(text.size()), text.data());
  return true;
}

// True when the text holds one of the three commands. A capture counts even when its value could not be taken.
bool capture_text() {
  if (is_in_text(IMEI_COMMAND)) {
    handle_amt_take_at_para(IMEI_COMMAND, g_pending_imei_a);
    publish(AMT_CAPTURE_IMEI);
    return true;
  }
  if (is_in_text(BOARD_COMMAND)) {
    handle_amt_take_at_para(BOARD_COMMAND, g_pending_sn_a);
    publish(AMT_CAPTURE_BOARD);
    return true;
  }
  if (is_in_text(CHANNEL_COMMAND)) {
    amt_parameter_text channel;
    handle_amt_take_at_para(CHANNEL_COMMAND, channel);
    g_amt_channel = static_cast<std::uint8_t>(handle_amt_field_value(channel));
    return true;
  }
  return false;
}

void take_atom(std::uint8_t atom_id, amt_parameter_text& text) {
  std::fill(std::begin(text), std::end(text), '\0');  // a frame without the atom captures nothing
  amt_frame_get_string(&g_handle_context.m_request_copy.m_buf_a, atom_id, text, sizeof text);
  text[sizeof text - 1] = '\0';  // a value that fills the buffer comes without a terminator
}

void capture_frame(std::uint8_t request_id) {
  if (request_id == WRITE_BOARD) {
    take_atom(ATOM_BOARD, g_pending_sn_a);
    LOG_LINE("getted write-board command in amt1: board:%s;", g_pending_sn_a);
    publish(AMT_CAPTURE_BOARD);
  } else if (request_id == SWITCH_CHANNEL) {
    const std::uint32_t value = amt_frame_get_int(&g_handle_context.m_request_copy.m_buf_a, ATOM_CHANNEL);
    g_amt_channel = static_cast<std::uint8_t>(value);
    LOG_LINE("getted switch-channel command in amt1: channel:%d;", std::uint8_t{g_amt_channel});
  } else if (request_id == WRITE_IMEI) {
    take_atom(ATOM_IMEI, g_pending_imei_a);
    LOG_LINE("getted write-imei command in amt1: imei:%s;", g_pending_imei_a);
    publish(AMT_CAPTURE_IMEI);
  }
}

bool is_confirmed_by_text(const amt_message_st& block) {
  constexpr std::string_view OK = "\r\nOK\r\n";
  const auto end = block.m_buf_a.begin() + std::min<std::size_t>(block.m_buf_len, block.m_buf_a.size());
  return std::search(block.m_buf_a.begin(), end, OK.begin(), OK.end()) != end;
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

std::int32_t fail_save(const char* text) {
  LOG_FAILURE_OF("handle_amt_imei_and_sn_save_file", ERR_FAIL);
  LOG_LINE("%s", text);
  return ERR_FAIL;
}

std::int32_t save_imei(const char* imei, std::uint8_t channel) {
  if (*imei == '\0') return ERR_NONE;
  const std::int32_t result = amt_write_pcba_sn(imei, channel == 1 ? "/amt/imei-2.txt" : "/amt/imei.txt");
  LOG_LINE("save imei to file. channel:%d; content:%s;", channel, imei);
  if (result != ERR_NONE) return fail_save("write imei error.");
  LOG_LINE("Writed imei to file success.");
  return ERR_NONE;
}

std::int32_t save_sn(const char* sn, std::uint8_t channel) {
  if (*sn == '\0') return ERR_NONE;
  const std::int32_t result = amt_write_pcba_sn(sn, channel == 1 ? AMT_PCBA_SN_FILE : "/amt/sn.txt");
  LOG_LINE("save sn to file. channel:%d; content:%s;", channel, sn);
  if (result != ERR_NONE) return fail_save("write sn error.");
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

void handle_amt_imei_and_sn(std::uint8_t request_id) {
  LOG_LINE("handle_amt_imei_and_sn--->req_id_en:%d.", request_id);
  if (std::find(std::begin(EXAMINED), std::end(EXAMINED), request_id) == std::end(EXAMINED)) return;
  if (!capture_text()) capture_frame(request_id);
}

void handle_amt_imei_and_sn_rsp(const amt_message_st& block) {
  if (block.m_buf_len == 0) {
    pub_log_failure(k_log, 9355, "handle_amt_imei_and_sn_rsp", ERR_ARGUMENT);
    LOG_LINE(" %d, %d", 0, 1);
    return;
  }
  const std::uint8_t type = g_cur_treat_cmd_type.load(std::memory_order_acquire);
  LOG_LINE("g_cur_treat_cmd_type:%d;", type);
  if (type != AMT_CAPTURE_IMEI && type != AMT_CAPTURE_BOARD) return;
  if (!is_confirmed_by_text(block) && !is_confirmed_by_frame(block)) return;
  // Cleared before the save, and only if it is still this one: what is captured meanwhile stays pending.
  std::uint8_t expected = type;
  g_cur_treat_cmd_type.compare_exchange_strong(expected, AMT_CAPTURE_NONE, std::memory_order_acq_rel);
  handle_amt_imei_and_sn_save_file(type);
}

std::int32_t handle_amt_imei_and_sn_save_file(std::uint8_t type) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(type != AMT_CAPTURE_IMEI && type != AMT_CAPTURE_BOARD)) return ERR_ARGUMENT;
  const identity_st& identity = g_to_be_saved.latest();
  const std::uint8_t channel = g_amt_channel;
  return type == AMT_CAPTURE_IMEI ? save_imei(identity.m_imei_a, channel) : save_sn(identity.m_sn_a, channel);
}
