#include "amt/amt-handle/modem/version.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-query.h"
#include "pub/result.h"

namespace {

struct module_st {
  std::uint32_t m_code;
  const char* m_name;
  amt_version_source_en m_source;
};

constexpr module_st MODULES[] = {
    {AMT_PRODUCT_MODULE, "AMT_PRODUCT_MODULE", amt_version_source_en::FIXED_BLOCK},
    {AMT_SOFTWARE_MODULE, "AMT_SOFTWARE_MODULE", amt_version_source_en::FIXED_BLOCK},
    {AMT_L1_MODULE, "AMT_L1_MODULE", amt_version_source_en::MODEM},
    {AMT_HLS_MODULE, "AMT_HLS_MODULE", amt_version_source_en::MODEM},
    {AMT_PLATFORM_MODULE, "AMT_PLATFORM_MODULE", amt_version_source_en::FIXED_BLOCK},
    {AMT_APP_MODULE, "AMT_APP_MODULE", amt_version_source_en::FIXED_BLOCK},
    {AMT_HARDWARE_MODULE, "AMT_HARDWARE_MODULE", amt_version_source_en::FIXED_BLOCK},
    {AMT_WHOLE_MODULE, "AMT_WHOLE_MODULE", amt_version_source_en::FIXED_BLOCK},
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

constexpr std::size_t MODEM_VALUE_LIMIT = 408;
constexpr std::size_t KEPT_OF_VALUE = 2;  // characters that precede a line end that is taken off the value

struct modem_version_st {
  std::array<std::uint8_t, MODEM_VALUE_LIMIT / 2 + 1> m_text{};  // zero-terminated
  std::size_t m_length = 0;
};

// A value in the form "17,0D56312E300A0A".
std::optional<modem_version_st> get_l1_hls_version(std::string_view value) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {false, value.empty(), false, false})) return std::nullopt;
  modem_version_st version;
  const auto length = amt_answer_version(value, std::span(version.m_text).first(MODEM_VALUE_LIMIT / 2));
  if (!length) {
    pub_log_failure(k_log, ERR_FAIL, "DCMR-query's result[%.*s] is invalid", static_cast<int>(value.size()),
                    value.data());
    return std::nullopt;
  }
  version.m_length = *length;
  return version;
}

std::optional<modem_version_st> amt_modem_handle_l1_hls_version(std::uint32_t module) {
  pub_log_entry(k_log);
  amt_modem_prepare("AT^DCMR=%d\r", static_cast<int>(module));
  LOG_LINE("will send at command:%s", g_handle_context.m_at_command.m_buf_a.data());
  if (amt_modem_exchange(amt_log_no_answer) != ERR_NONE) return std::nullopt;
  const auto behind = amt_answer_after(amt_modem_answer(), "\r\n^DCMR:");
  const auto value = behind ? amt_answer_value(*behind, KEPT_OF_VALUE) : std::nullopt;
  if (!value || value->size() > MODEM_VALUE_LIMIT) return std::nullopt;
  return get_l1_hls_version(*value);
}

}  // namespace

const char* amt_get_module_name(std::uint32_t module) {
  pub_log_entry(k_log);
  const module_st* found = find_module(module);
  return found == nullptr ? "(undefined)" : found->m_name;
}

std::optional<amt_version_source_en> amt_get_version_source(std::uint32_t module) {
  const module_st* found = find_module(module);
  return found == nullptr ? std::nullopt : std::optional(found->m_source);
}

void amt_add_version_block(amt_message_st* response) {
  amt_frame_add_bytes(&response->m_buf_a, AMT_ATOM_VERSION, VERSION_BLOCK.data(), VERSION_BLOCK.size());
}

result_code_en handle_amt_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const std::uint32_t code = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_MODULE);
  LOG_LINE("version type: 0x%02x - %s", code, amt_get_module_name(code));
  const auto source = amt_get_version_source(code);
  if (!source) return pub_fail(k_log, ERR_FAIL, "unknown version type: 0x%02x", code);
  if (*source == amt_version_source_en::MODEM) return handle_amt_req_l1_hls_version(link, code, request, response);

  amt_handle_start_rsp(response, AMT_VERSION_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_MODULE, code);
  amt_add_version_block(response);
  return amt_handle_finish_rsp(link, response);
}

result_code_en handle_amt_req_l1_hls_version(std::uint8_t link, std::uint32_t module, amt_message_st* request,
                                             amt_message_st* response) {
  pub_log_entry(k_log);
  const bool is_other_module = module != AMT_L1_MODULE && module != AMT_HLS_MODULE;
  const bool is_empty = request != nullptr && request->m_buf_len == 0;
  if (link == 255 || request == nullptr || is_empty || response == nullptr || is_other_module) {
    return pub_fail(k_log, ERR_ARGUMENT, "%d, module_en:%d, %d, %d, %d", link == 255 ? 1 : 0, static_cast<int>(module),
                    request == nullptr ? 1 : 0, is_empty ? 1 : 0, response == nullptr ? 1 : 0);
  }
  const auto version = amt_modem_handle_l1_hls_version(module);
  if (!version) return pub_fail(k_log, ERR_FAIL, "get version failure for type: 0x%02x", module);
  LOG_LINE("get version success.type:%d, version:[len:%d content:%.*s]", static_cast<int>(module),
           static_cast<int>(version->m_length), static_cast<int>(version->m_length),
           reinterpret_cast<const char*>(version->m_text.data()));
  amt_handle_start_rsp(response, AMT_VERSION_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_MODULE, module);
  amt_frame_add_bytes(&response->m_buf_a, AMT_ATOM_VERSION, version->m_text.data(), version->m_length);
  return amt_handle_finish_rsp(link, response);
}
