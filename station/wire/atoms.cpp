#include "station/wire/atoms.h"

#include <algorithm>
#include <iterator>

#include "amt/amt-convert/ids.h"

namespace {

struct row_st {
  std::uint8_t m_id;
  const char* m_name;
};

constexpr row_st ROWS[] = {
    {AMT_ATOM_RESULT, "result"},
    {AMT_ATOM_DATA, "data"},
    {AMT_ATOM_VOLTAGE, "voltage"},
    {AMT_ATOM_RX_VALUE, "rx-value"},
    {AMT_ATOM_IQ_POWER, "iq-power"},
    {AMT_ATOM_SWITCH, "switch"},
    {AMT_ATOM_VERSION, "version"},
    {AMT_ATOM_MODULE, "module"},
    {AMT_ATOM_IMEI, "imei"},
    {AMT_ATOM_TEMPERATURE, "temperature"},
    {AMT_ATOM_RF_ADC, "rf-adc"},
    {AMT_ATOM_BRIGHTNESS, "brightness"},
    {AMT_ATOM_DATE, "date"},
    {AMT_ATOM_LOOP_TYPE, "loop-type"},
    {AMT_ATOM_IQ_SERIAL, "iq-serial"},
    {AMT_ATOM_STATION_RESULT, "station-result"},
    {AMT_ATOM_DESCRIPTION, "description"},
    {AMT_ATOM_BOARD, "board"},
    {AMT_ATOM_STATION, "station"},
    {AMT_ATOM_SIM, "sim"},
    {AMT_ATOM_GSM_CONTROL, "gsm-control"},
    {AMT_ATOM_TABLE_FLAG, "table-flag"},
    {AMT_ATOM_CAPACITY, "capacity"},
    {AMT_ATOM_DSP_CONTROL, "dsp-control"},
    {AMT_ATOM_BT_OPERATION, "bt-operation"},
    {AMT_ATOM_BT_ADDRESS, "bt-address"},
    {AMT_ATOM_CAMERA_CONTROL, "camera-control"},
    {AMT_ATOM_CAMERA_RESULT, "camera-result"},
    {AMT_ATOM_GPS_OPERATION, "gps-operation"},
    {AMT_ATOM_SATELLITE, "satellite"},
    {AMT_ATOM_CARRIER_TO_NOISE, "carrier-to-noise"},
    {AMT_ATOM_CALIBRATION_1, "calibration-1"},
    {AMT_ATOM_CALIBRATION_2, "calibration-2"},
    {AMT_ATOM_CALIBRATION_3, "calibration-3"},
    {AMT_ATOM_CALIBRATION_4, "calibration-4"},
    {AMT_ATOM_ADC, "adc"},
    {AMT_ATOM_WIFI_OPERATION, "wifi-operation"},
    {AMT_ATOM_WIFI_ADDRESS, "wifi-address"},
    {AMT_ATOM_RTX_OPERATION, "rtx-operation"},
    {AMT_ATOM_RTX_CHANNEL, "rtx-channel"},
    {AMT_ATOM_RTX_RATE, "rtx-rate"},
    {AMT_ATOM_RTX_POWER, "rtx-power"},
    {AMT_ATOM_RTX_COUNT, "rtx-count"},
    {AMT_ATOM_MODEM_CHANNEL, "modem-channel"},
    {AMT_ATOM_ADB_OPERATION, "adb-operation"},
    {AMT_ATOM_ADB_SERIAL, "adb-serial"},
    {AMT_ATOM_ADB_LENGTH, "adb-length"},
    {AMT_ATOM_SERIAL_NUMBER, "serial-number"},
    {AMT_ATOM_PCBA_OPERATION, "pcba-operation"},
    {AMT_ATOM_PCBA_SERIAL, "pcba-serial"},
    {AMT_ATOM_AMT1_FLAG, "amt1-flag"},
    {AMT_ATOM_DEV_INFO, "dev-info"},
    {AMT_ATOM_MODE, "mode"},
    {AMT_ATOM_RADIO_TECHNOLOGY, "radio-technology"},
    {AMT_ATOM_BOOT_FLAG, "boot-flag"},
};

}  // namespace

const char* station_atom_name(std::uint8_t id) {
  const auto* row = std::ranges::find(ROWS, id, &row_st::m_id);
  return row == std::end(ROWS) ? "" : row->m_name;
}
