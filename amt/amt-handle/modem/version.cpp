#include "amt/amt-handle/modem/version.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-query.h"
#include "amt/amt-handle/pc/software-version.h"
#include "pub/result.h"

namespace {

constexpr std::uint8_t RESPONSE_ID = 46;
constexpr std::uint8_t ATOM_VERSION = 18;
constexpr std::uint8_t ATOM_MODULE = 19;
constexpr std::uint32_t SOFTWARE_MODULE = 16;
constexpr std::uint32_t L1_MODULE = 17;
constexpr std::uint32_t HLS_MODULE = 18;

enum class answered_by { FIXED_BLOCK, MODEM };

struct module_st {
  std::uint32_t m_code;
  const char* m_name;
  answered_by m_answered_by;
};

constexpr module_st MODULES[] = {
    {1, "AMT_PRODUCT_MODULE", answered_by::FIXED_BLOCK},
    {SOFTWARE_MODULE, "AMT_SOFTWARE_MODULE", answered_by::FIXED_BLOCK},
    {L1_MODULE, "AMT_L1_MODULE", answered_by::MODEM},
    {HLS_MODULE, "AMT_HLS_MODULE", answered_by::MODEM},
    {19, "AMT_PLATFORM_MODULE", answered_by::FIXED_BLOCK},
    {20, "AMT_APP_MODULE", answered_by::FIXED_BLOCK},
    {32, "AMT_HARDWARE_MODULE", answered_by::FIXED_BLOCK},
    {64, "AMT_WHOLE_MODULE", answered_by::FIXED_BLOCK},
};

const module_st* find_module(std::uint32_t code) {
  const auto* module =
      std::find_if(std::begin(MODULES), std::end(MODULES), [code](const module_st& row) { return row.m_code == code; });
  return module == std::end(MODULES) ? nullptr : module;
}

constexpr std::size_t VERSION_BLOCK_SIZE = 64;

// A carriage return, the text, line feeds up to 64 bytes: the shape in which the modem reports versions, too.
constexpr std::array<std::uint8_t, VERSION_BLOCK_SIZE> make_version_block(std::string_view text) {
  std::array<std::uint8_t, VERSION_BLOCK_SIZE> block{};
  block.fill('\n');
  block[0] = '\r';
  std::copy(text.begin(), text.end(), block.begin() + 1);
  return block;
}

constexpr auto VERSION_BLOCK = make_version_block("Android4.2,2013-01-21");

void add_version_block(amt_message_st* response) {
  amt_frame_add_bytes(&response->m_buf_a, ATOM_VERSION, VERSION_BLOCK.data(), VERSION_BLOCK.size());
}

// On the PC link the software module's version is the phone's own.
std::int32_t set_ap_sw_version_rsp(amt_message_st* response) {
  LOG_ENTRY();
  char text[AMT_VERSION_TEXT_SIZE + 1] = {};
  std::uint32_t length = 0;
  const std::int32_t result = get_ap_sw_version(text, &length);
  if (result != ERR_NONE) {
    LOG_FAILURE(result);
    LOG_LINE("failed to get ap's sw version");
    return result;
  }
  amt_frame_add_bytes(&response->m_buf_a, ATOM_VERSION, reinterpret_cast<const std::uint8_t*>(text), length);
  return ERR_NONE;
}

constexpr std::size_t MODEM_VALUE_LIMIT = 408;
constexpr std::size_t KEPT_OF_VALUE = 2;  // characters of the value in front of a line end that is taken off

struct modem_version_st {
  std::array<std::uint8_t, MODEM_VALUE_LIMIT / 2 + 1> m_text{};  // zero-terminated
  std::size_t m_length = 0;
};

// A value in the form "17,0D56312E300A0A".
std::optional<modem_version_st> get_l1_hls_version(std::string_view value) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(false, value.empty(), false, false)) return std::nullopt;
  modem_version_st version;
  const auto length = amt_answer_version(value, std::span(version.m_text).first(MODEM_VALUE_LIMIT / 2));
  if (!length) {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("DCMR-query's result[%.*s] is invalid", static_cast<int>(value.size()), value.data());
    return std::nullopt;
  }
  version.m_length = *length;
  return version;
}

std::optional<modem_version_st> amt_modem_handle_l1_hls_version(std::uint32_t module) {
  LOG_ENTRY();
  amt_modem_prepare("AT^DCMR=%d\r", static_cast<int>(module));
  LOG_LINE("will send at command:%s", g_handle_context.m_at_command.m_buf_a.data());
  if (amt_modem_exchange(amt_log_no_answer) != ERR_NONE) return std::nullopt;
  const auto behind = amt_answer_behind(amt_modem_answer(), "\r\n^DCMR:");
  const auto value = behind ? amt_answer_value(*behind, KEPT_OF_VALUE) : std::nullopt;
  if (!value || value->size() > MODEM_VALUE_LIMIT) return std::nullopt;
  return get_l1_hls_version(*value);
}

std::int32_t fail_unknown(const char* function, std::uint32_t code) {
  LOG_FAILURE_OF(function, ERR_FAIL);
  LOG_LINE("unknown version type: 0x%02x", code);
  return ERR_FAIL;
}

}  // namespace

const char* amt_get_module_name(std::uint32_t module) {
  const module_st* found = find_module(module);
  return found == nullptr ? "(undefined)" : found->m_name;
}

std::int32_t handle_amt_pc_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t code = amt_frame_get_int(&request->m_buf_a, ATOM_MODULE);
  LOG_LINE("version type: 0x%02x - %s", code, amt_get_module_name(code));
  const module_st* module = find_module(code);
  if (module == nullptr) return fail_unknown(__func__, code);
  if (module->m_answered_by == answered_by::MODEM) return ERR_NOT_HANDLED;

  amt_handle_send_pre_rsp_for_pc(link, response);
  amt_handle_start_rsp(response, RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_MODULE, code);
  if (code == SOFTWARE_MODULE) {
    const std::int32_t result = set_ap_sw_version_rsp(response);
    if (result != ERR_NONE) return result;
  } else {
    add_version_block(response);
  }
  return amt_handle_finish_rsp(link, response);
}

std::int32_t handle_amt_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  const std::int32_t refusal = AMT_CHECK_MODEM_REQUEST(link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const std::uint32_t code = amt_frame_get_int(&request->m_buf_a, ATOM_MODULE);
  LOG_LINE("version type: 0x%02x - %s", code, amt_get_module_name(code));
  const module_st* module = find_module(code);
  if (module == nullptr) return fail_unknown(__func__, code);
  if (module->m_answered_by == answered_by::MODEM) return handle_amt_req_l1_hls_version(link, code, request, response);

  amt_handle_start_rsp(response, RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_MODULE, code);
  add_version_block(response);
  return amt_handle_finish_rsp(link, response);
}

std::int32_t handle_amt_req_l1_hls_version(std::uint8_t link, std::uint32_t module, amt_message_st* request,
                                           amt_message_st* response) {
  LOG_ENTRY();
  const bool is_other_module = module != L1_MODULE && module != HLS_MODULE;
  const bool is_empty = request != nullptr && request->m_buf_len == 0;
  if (link == 255 || request == nullptr || is_empty || response == nullptr || is_other_module) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("%d, module_en:%d, %d, %d, %d", link == 255 ? 1 : 0, static_cast<int>(module), request == nullptr ? 1 : 0,
             is_empty ? 1 : 0, response == nullptr ? 1 : 0);
    return ERR_ARGUMENT;
  }
  const auto version = amt_modem_handle_l1_hls_version(module);
  if (!version) {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("get version failure for type: 0x%02x", module);
    return ERR_FAIL;
  }
  LOG_LINE("get version success.type:%d, version:[len:%d content:%.*s]", static_cast<int>(module),
           static_cast<int>(version->m_length), static_cast<int>(version->m_length),
           reinterpret_cast<const char*>(version->m_text.data()));
  amt_handle_start_rsp(response, RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_MODULE, module);
  amt_frame_add_bytes(&response->m_buf_a, ATOM_VERSION, version->m_text.data(), version->m_length);
  return amt_handle_finish_rsp(link, response);
}
