#include "handset/modem/radio.h"

#include <algorithm>
#include <array>
#include <optional>

#include "amt/amt-convert/frame.h"
#include "amt/amt-convert/ids.h"

namespace handset {

namespace {

constexpr std::uint32_t REFUSED = 1;
constexpr std::size_t IMEI_SIZE = 15;
constexpr std::size_t VERSION_SIZE = 64;
constexpr std::size_t LARGEST_TABLE = 1024;  // its text still fits the answer that the service has room for
constexpr std::size_t ERASED_SIZE = 16;      // bytes of a table that was never written
constexpr std::uint32_t RX_COUNT = 8;
constexpr std::uint32_t ADC_IDLE = 0x80;
constexpr std::uint32_t ADC_TRANSMITTING = 0x100;
constexpr std::uint32_t HLS_MODULE = 18;

// What follows the result; none: the request is refused.
using fields = std::optional<std::string>;
const std::string NOTHING;

std::uint8_t byte_of(std::uint32_t number, int place) {
  return static_cast<std::uint8_t>(number >> (8 * place));
}

std::string big(std::uint32_t number) {
  std::string bytes;
  for (int place = 3; place >= 0; --place) bytes += static_cast<char>(byte_of(number, place));
  return bytes;
}

std::string little(std::uint32_t number, int size) {
  std::string bytes;
  for (int place = 0; place < size; ++place) bytes += static_cast<char>(byte_of(number, place));
  return bytes;
}

std::string counted(std::string_view bytes) {
  return little(static_cast<std::uint32_t>(bytes.size()), 4).append(bytes);
}

std::string padded(std::string text, std::size_t size, char filling) {
  text.resize(size, filling);
  return text;
}

// Takes an integer off the values.
std::optional<std::uint32_t> take_int(std::string_view& values) {
  std::array<std::uint8_t, 4> bytes{};
  if (values.size() < bytes.size()) return std::nullopt;
  std::copy_n(values.begin(), bytes.size(), bytes.begin());
  values.remove_prefix(bytes.size());
  return amt_read_u32(bytes.data());
}

// The only value of a request: an integer, put where it belongs.
fields keep_int(std::string_view values, std::uint32_t& place) {
  const auto number = take_int(values);
  if (!number || !values.empty()) return std::nullopt;
  place = *number;
  return NOTHING;
}

fields write_imei(modem_state& state, std::string_view values) {
  state.imei = values;
  return NOTHING;
}
fields read_imei(modem_state& state, std::string_view) {
  return padded(state.imei, IMEI_SIZE, '\0');
}
fields write_board(modem_state& state, std::string_view values) {
  state.board_number = values;
  return NOTHING;
}
fields read_version(modem_state& state, std::string_view values) {
  const auto module = take_int(values);
  if (!module) return std::nullopt;
  const auto& text = *module == HLS_MODULE ? state.hls_version : state.l1_version;
  return big(*module) + padded("\r" + text, VERSION_SIZE, '\n');
}
fields is_sim_there(modem_state& state, std::string_view) {
  return std::string(1, state.sim_type == "1" || state.sim_type == "2" ? '\1' : '\0');
}

fields start_tx(modem_state& state, std::string_view values) {
  auto& radio = state.radio;
  if (values.size() % 4 != 0 || values.size() > 8) return std::nullopt;
  radio.tx_frequency = take_int(values).value_or(radio.tx_frequency);
  radio.tx_power = take_int(values).value_or(radio.tx_power);
  radio.transmitting = true;
  return NOTHING;
}
fields stop_tx(modem_state& state, std::string_view) {
  state.radio.transmitting = false;
  return NOTHING;
}
fields set_tx_power(modem_state& state, std::string_view values) {
  return keep_int(values, state.radio.tx_power);
}
fields set_tx_frequency(modem_state& state, std::string_view values) {
  return keep_int(values, state.radio.tx_frequency);
}
fields start_rx(modem_state& state, std::string_view values) {
  if (!values.empty() && !keep_int(values, state.radio.rx_frequency)) return std::nullopt;
  state.radio.receiving = true;
  return NOTHING;
}
fields stop_rx(modem_state& state, std::string_view) {
  state.radio.receiving = false;
  return NOTHING;
}
fields set_rx_frequency(modem_state& state, std::string_view values) {
  return keep_int(values, state.radio.rx_frequency);
}
// Counts up from the frequency's last byte, so that the data shows on which frequency it was received.
fields read_rx_data(modem_state& state, std::string_view) {
  if (!state.radio.receiving) return std::nullopt;
  std::string data;
  for (std::uint32_t at = 0; at < RX_COUNT; ++at) data += static_cast<char>(byte_of(state.radio.rx_frequency + at, 0));
  return big(RX_COUNT) + counted(data);
}
fields read_iq_power(modem_state& state, std::string_view) {
  return big(state.radio.transmitting ? state.radio.tx_power : 0);
}
fields read_rf_adc(modem_state& state, std::string_view) {
  return big(state.radio.transmitting ? ADC_TRANSMITTING + state.radio.tx_power : ADC_IDLE);
}
fields read_serial(modem_state& state, std::string_view) {
  return counted("IQ-" + state.board_number);
}

using tables = std::map<std::uint32_t, std::string>;

fields read_table(const tables& from, std::string_view values) {
  const auto number = take_int(values);
  if (!number || !values.empty()) return std::nullopt;
  const auto found = from.find(*number);
  return counted(found == from.end() ? std::string(ERASED_SIZE, '\xFF') : found->second);
}
fields write_table(tables& to, std::string_view values) {
  const auto number = take_int(values);
  if (!number || values.empty() || values.size() > LARGEST_TABLE) return std::nullopt;
  to[*number] = values;
  return NOTHING;
}
fields copy_tables(const tables& from, tables& to, std::string_view values) {
  if (values.empty()) {
    for (const auto& [number, content] : from) to[number] = content;
    return NOTHING;
  }
  const auto number = take_int(values);
  if (!number || !values.empty() || !from.contains(*number)) return std::nullopt;
  to[*number] = from.at(*number);
  return NOTHING;
}
fields read_memory(modem_state& state, std::string_view values) {
  return read_table(state.radio.memory_tables, values);
}
fields write_memory(modem_state& state, std::string_view values) {
  return write_table(state.radio.memory_tables, values);
}
fields read_flash(modem_state& state, std::string_view values) {
  return read_table(state.radio.flash_tables, values);
}
fields write_flash(modem_state& state, std::string_view values) {
  return write_table(state.radio.flash_tables, values);
}
fields is_in_flash(modem_state& state, std::string_view values) {
  const auto number = take_int(values);
  if (!number || !values.empty()) return std::nullopt;
  return std::string(1, state.radio.flash_tables.contains(*number) ? '\1' : '\0');
}
fields to_memory(modem_state& state, std::string_view values) {
  return copy_tables(state.radio.flash_tables, state.radio.memory_tables, values);
}
fields to_flash(modem_state& state, std::string_view values) {
  return copy_tables(state.radio.memory_tables, state.radio.flash_tables, values);
}

fields give_back(modem_state&, std::string_view values) {
  return counted(values);
}
// The values come with their lengths, and go back with them.
fields give_back_from_dsp(modem_state&, std::string_view values) {
  if (values.size() < 2 || little(static_cast<std::uint32_t>(values.size() - 2), 2) != values.substr(0, 2)) {
    return std::nullopt;
  }
  return std::string(values);
}
fields indicate(modem_state&, std::string_view values) {
  return little(static_cast<std::uint32_t>(values.size()), 2).append(values);
}

struct radio_request {
  std::uint8_t id;
  fields (*run)(modem_state& state, std::string_view values);
};
constexpr radio_request REQUESTS[] = {
    {5, write_imei},
    {7, read_imei},
    {AMT_STARTTX_CMD, start_tx},
    {AMT_STOPTX_CMD, stop_tx},
    {AMT_CHANGETXPOWER_CMD, set_tx_power},
    {AMT_CHANGETXFREQ_CMD, set_tx_frequency},
    {AMT_STARTRX_CMD, start_rx},
    {AMT_STOPRX_CMD, stop_rx},
    {AMT_RXDATA_CMD, read_rx_data},
    {AMT_IQPOWER_CMD, read_iq_power},
    {AMT_CHANGERXFREQ_CMD, set_rx_frequency},
    {AMT_VERSION_CMD, read_version},
    {AMT_READTABLE_MEMORY_CMD, read_memory},
    {AMT_WRITETABLE_MEMORY_CMD, write_memory},
    {AMT_READ_RFADC_CMD, read_rf_adc},
    {AMT_READTABLE_FLASH_CMD, read_flash},
    {AMT_WRITETABLE_FLASH_CMD, write_flash},
    {AMT_IQSERIAL_CMD, read_serial},
    {AMT_WRITE_BOARD_CMD, write_board},
    {AMT_USIMCHECK_CMD, is_sim_there},
    {AMT_REFRESHTABLE_FLASH_CMD, to_flash},
    {AMT_GSM_TRANSPARENT_CONTROL_CMD, give_back},
    {AMT_GSM_READTABLE_FLASH_TO_MEMORY_CMD, to_memory},
    {AMT_GSM_READTABLE_FLAG_FLASH_CMD, is_in_flash},
    {AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH_CMD, to_flash},
    {AMT_GSM_READTABLE_MEMORY_CMD, read_memory},
    {AMT_GSM_WRITETABLE_MEMORY_CMD, write_memory},
    {AMT_DSP_TRANSPARENT_CONTROL_CMD, give_back_from_dsp},
    {AMT_EDGE_READTABLE_FLASH_TO_MEMORY_CMD, to_memory},
    {AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH_CMD, to_flash},
    {AMT_DSP_TRANSPARENT_CONTROL_INDCMD, indicate},
};

fields run(modem_state& state, std::uint8_t id, std::string_view values) {
  for (const auto& request : REQUESTS) {
    if (request.id == id) return request.run(state, values);
  }
  state.radio.settings[id] = values;
  return NOTHING;
}

}  // namespace

std::string answer_radio(modem_state& state, const modem_switches& switches, std::string_view request) {
  const auto id = static_cast<std::uint8_t>(request.at(0));
  const auto answer_id = static_cast<char>(id == AMT_DSP_TRANSPARENT_CONTROL_INDCMD ? id : id + 1);
  if (switches.radio_result != 0) return answer_id + big(switches.radio_result);
  const fields told = run(state, id, request.substr(1));
  return answer_id + big(told ? 0 : REFUSED) + told.value_or(NOTHING);
}

}  // namespace handset
