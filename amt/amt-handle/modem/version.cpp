#include "amt/amt-handle/modem/version.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "amt/amt-handle/channel/log-module.h"
#include "amt/amt-handle/channel/registry.h"
#include "amt/amt-handle/channel/response.h"
#include "amt/amt-handle/pc/software-version.h"
#include "pub/result.h"

namespace {

constexpr std::uint8_t RESPONSE_ID = 46;
constexpr std::uint8_t ATOM_VERSION = 18;
constexpr std::uint8_t ATOM_MODULE = 19;
constexpr std::uint32_t SOFTWARE_MODULE = 16;

enum class answered_by { FIXED_BLOCK, MODEM };

struct module_st {
  std::uint32_t m_code;
  const char* m_name;
  answered_by m_answered_by;
};

constexpr module_st MODULES[] = {
    {1, "AMT_PRODUCT_MODULE", answered_by::FIXED_BLOCK},
    {SOFTWARE_MODULE, "AMT_SOFTWARE_MODULE", answered_by::FIXED_BLOCK},
    {17, "AMT_L1_MODULE", answered_by::MODEM},
    {18, "AMT_HLS_MODULE", answered_by::MODEM},
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
  amt_message_clear(*response);
  amt_frame_init(&response->m_buf_a, RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_MODULE, code);
  if (code == SOFTWARE_MODULE) {
    const std::int32_t result = set_ap_sw_version_rsp(response);
    if (result != ERR_NONE) return result;
  } else {
    add_version_block(response);
  }
  return amt_handle_finish_rsp(link, response);
}
