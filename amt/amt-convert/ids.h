// The numbers of the protocol, each under one name: command ids, beside the names that logs print for them, and atom
// ids.
#pragma once

#include <cstdint>

// Every command id in use. The answer to request n has the id n + 1. NAMED ids are printed under the name that stands
// here, UNNAMED ones as "(undefined)": field tools look for these texts, so "RECIEVE" stays as it is spelled, and 43
// and 204 have no answer id.
#define AMT_COMMAND_IDS(NAMED, UNNAMED)                    \
  NAMED(0, AMT_NONE_CMD)                                   \
  NAMED(1, AMT_READFLASH_CMD)                              \
  NAMED(2, AMT_READFLASH_RSPCMD)                           \
  NAMED(3, AMT_WRITEFLASH_CMD)                             \
  NAMED(4, AMT_WRITEFLASH_RSPCMD)                          \
  NAMED(5, AMT_WRITEIMEI_CMD)                              \
  NAMED(6, AMT_WRITEIMEI_RSPCMD)                           \
  NAMED(7, AMT_READIMEI_CMD)                               \
  NAMED(8, AMT_READIMEI_RSPCMD)                            \
  NAMED(9, AMT_READ_BATTERY_CMD)                           \
  NAMED(10, AMT_READ_BATTERY_RSPCMD)                       \
  NAMED(11, AMT_STARTTX_CMD)                               \
  NAMED(12, AMT_STARTTX_RSPCMD)                            \
  NAMED(13, AMT_STOPTX_CMD)                                \
  NAMED(14, AMT_STOPTX_RSPCMD)                             \
  NAMED(15, AMT_CHANGETXPOWER_CMD)                         \
  NAMED(16, AMT_CHANGETXPOWER_RSPCMD)                      \
  NAMED(17, AMT_CHANGETXFREQ_CMD)                          \
  NAMED(18, AMT_CHANGETXFREQ_RSPCMD)                       \
  NAMED(19, AMT_STARTRX_CMD)                               \
  NAMED(20, AMT_STARTRX_RSPCMD)                            \
  NAMED(21, AMT_STOPRX_CMD)                                \
  NAMED(22, AMT_STOPRX_RSPCMD)                             \
  NAMED(23, AMT_RXDATA_CMD)                                \
  NAMED(24, AMT_RXDATA_RSPCMD)                             \
  NAMED(25, AMT_IQPOWER_CMD)                               \
  NAMED(26, AMT_IQPOWER_RSPCMD)                            \
  NAMED(27, AMT_CHANGERXFREQ_CMD)                          \
  NAMED(28, AMT_CHANGERXFREQ_RSPCMD)                       \
  NAMED(29, AMT_SHOWLCD_CMD)                               \
  NAMED(30, AMT_SHOWLCD_RSPCMD)                            \
  NAMED(31, AMT_AUDIOLOOP_CMD)                             \
  NAMED(32, AMT_AUDIOLOOP_RSPCMD)                          \
  NAMED(33, AMT_BELL_CMD)                                  \
  NAMED(34, AMT_BELL_RSPCMD)                               \
  NAMED(35, AMT_VIBRATION_CMD)                             \
  NAMED(36, AMT_VIBRATION_RSPCMD)                          \
  NAMED(37, AMT_BACKLIGHT_CMD)                             \
  NAMED(38, AMT_BACKLIGHT_RSPCMD)                          \
  NAMED(39, AMT_CHANGEMODE_CMD)                            \
  NAMED(40, AMT_CHANGEMODE_RSPCMD)                         \
  NAMED(41, AMT_KEYBOARD_CMD)                              \
  NAMED(42, AMT_KEYBOARD_RSPCMD)                           \
  NAMED(43, AMT_KEYVALUE_CMD)                              \
  NAMED(45, AMT_VERSION_CMD)                               \
  NAMED(46, AMT_VERSION_RSPCMD)                            \
  NAMED(47, AMT_READTABLE_MEMORY_CMD)                      \
  NAMED(48, AMT_READTABLE_MEMORY_RSPCMD)                   \
  NAMED(49, AMT_WRITETABLE_MEMORY_CMD)                     \
  NAMED(50, AMT_WRITETABLE_MEMORY_RSPCMD)                  \
  NAMED(51, AMT_READ_BATTERYADC_CMD)                       \
  NAMED(52, AMT_READ_BATTERYADC_RSPCMD)                    \
  NAMED(53, AMT_WRITE_BATTERYADC_CMD)                      \
  NAMED(54, AMT_WRITE_BATTERYADC_RSPCMD)                   \
  NAMED(55, AMT_TEMPERATURE_CMD)                           \
  NAMED(56, AMT_TEMPERATURE_RSPCMD)                        \
  NAMED(57, AMT_LCDLIGHT_CMD)                              \
  NAMED(58, AMT_LCDLIGHT_RSPCMD)                           \
  NAMED(59, AMT_READ_RFADC_CMD)                            \
  NAMED(60, AMT_READ_RFADC_RSPCMD)                         \
  NAMED(61, AMT_READTABLE_FLASH_CMD)                       \
  NAMED(62, AMT_READTABLE_FLASH_RSPCMD)                    \
  NAMED(63, AMT_WRITETABLE_FLASH_CMD)                      \
  NAMED(64, AMT_WRITETABLE_FLASH_RSPCMD)                   \
  NAMED(65, AMT_READ_OUTDATE_CMD)                          \
  NAMED(66, AMT_READ_OUTDATE_RSPCMD)                       \
  NAMED(67, AMT_WRITE_OUTDATE_CMD)                         \
  NAMED(68, AMT_WRITE_OUTDATE_RSPCMD)                      \
  NAMED(69, AMT_READ_FLUSHDATE_CMD)                        \
  NAMED(70, AMT_READ_FLUSHDATE_RSPCMD)                     \
  NAMED(71, AMT_EXIT_CMD)                                  \
  NAMED(72, AMT_EXIT_RSPCMD)                               \
  NAMED(73, AMT_WRITE_CONTROL_CMD)                         \
  NAMED(74, AMT_WRITE_CONTROL_RSPCMD)                      \
  NAMED(75, AMT_READ_CONTROL_CMD)                          \
  NAMED(76, AMT_READ_CONTROL_RSPCMD)                       \
  NAMED(77, AMT_IQSERIAL_CMD)                              \
  NAMED(78, AMT_IQSERIAL_RSPCMD)                           \
  NAMED(79, AMT_IQCHECK_CMD)                               \
  NAMED(80, AMT_IQCHECK_RSPCMD)                            \
  NAMED(81, AMT_WRITE_GAININ_CMD)                          \
  NAMED(82, AMT_WRITE_GAININ_RSPCMD)                       \
  NAMED(83, AMT_READ_GAININ_CMD)                           \
  NAMED(84, AMT_READ_GAININ_RSPCMD)                        \
  NAMED(85, AMT_READ_BOARD_CMD)                            \
  NAMED(86, AMT_READ_BOARD_RSPCMD)                         \
  NAMED(87, AMT_WRITE_BOARD_CMD)                           \
  NAMED(88, AMT_WRITE_BOARD_RSPCMD)                        \
  NAMED(89, AMT_READ_TEST_RESULT_CMD)                      \
  NAMED(90, AMT_READ_TEST_RESULT_RSPCMD)                   \
  NAMED(91, AMT_WRITE_TEST_RESULT_CMD)                     \
  NAMED(92, AMT_WRITE_TEST_RESULT_RSPCMD)                  \
  NAMED(93, AMT_WRITE_VERSION_CMD)                         \
  NAMED(94, AMT_WRITE_VERSION_RSPCMD)                      \
  NAMED(95, AMT_WRITE_MIC_PREAMP_CMD)                      \
  NAMED(96, AMT_WRITE_MIC_PREAMP_RSPCMD)                   \
  NAMED(97, AMT_READ_MIC_PREAMP_CMD)                       \
  NAMED(98, AMT_READ_MIC_PREAMP_RSPCMD)                    \
  NAMED(99, AMT_USIMCHECK_CMD)                             \
  NAMED(100, AMT_USIMCHECK_RSPCMD)                         \
  NAMED(101, AMT_REFRESHTABLE_FLASH_CMD)                   \
  NAMED(102, AMT_REFRESHTABLE_FLASH_RSPCMD)                \
  NAMED(103, AMT_GPIO_CMD)                                 \
  NAMED(104, AMT_GPIO_RSPCMD)                              \
  NAMED(105, AMT_GSM_TRANSPARENT_CONTROL_CMD)              \
  NAMED(106, AMT_GSM_TRANSPARENT_CONTROL_RSPCMD)           \
  NAMED(107, AMT_GSM_READTABLE_FLASH_TO_MEMORY_CMD)        \
  NAMED(108, AMT_GSM_READTABLE_FLASH_TO_MEMORY_RSPCMD)     \
  NAMED(109, AMT_GSM_READTABLE_FLAG_FLASH_CMD)             \
  NAMED(110, AMT_GSM_READTABLE_FLAG_FLASH_RSPCMD)          \
  NAMED(111, AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH_CMD)     \
  NAMED(112, AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH_RSPCMD)  \
  NAMED(113, AMT_GSM_READTABLE_MEMORY_CMD)                 \
  NAMED(114, AMT_GSM_READTABLE_MEMORY_RSPCMD)              \
  NAMED(115, AMT_GSM_WRITETABLE_MEMORY_CMD)                \
  NAMED(116, AMT_GSM_WRITETABLE_MEMORY_RSPCMD)             \
  NAMED(117, AMT_DIAL_CMD)                                 \
  NAMED(118, AMT_DIAL_RSPCMD)                              \
  NAMED(119, AMT_HUNGUP_CMD)                               \
  NAMED(120, AMT_HUNGUP_RSPCMD)                            \
  NAMED(121, AMT_SWITCH_MODE_CMD)                          \
  NAMED(122, AMT_SWITCH_MODE_RSPCMD)                       \
  NAMED(123, AMT_WRITE_GAINOUT_CMD)                        \
  NAMED(124, AMT_WRITE_GAINOUT_RSPCMD)                     \
  NAMED(125, AMT_READ_GAINOUT_CMD)                         \
  NAMED(126, AMT_READ_GAINOUT_RSPCMD)                      \
  NAMED(127, AMT_WRITE_MIC_GAININ_CMD)                     \
  NAMED(128, AMT_WRITE_MIC_GAININ_RSPCMD)                  \
  NAMED(129, AMT_READ_MIC_GAININ_CMD)                      \
  NAMED(130, AMT_READ_MIC_GAININ_RSPCMD)                   \
  NAMED(131, AMT_SET_DEFAULT_ACCESS_TECH_CMD)              \
  NAMED(132, AMT_SET_DEFAULT_ACCESS_TECH_RSPCMD)           \
  NAMED(133, AMT_WRITECARD_CMD)                            \
  NAMED(134, AMT_WRITECARD_RSPCMD)                         \
  NAMED(135, AMT_READCARD_CMD)                             \
  NAMED(136, AMT_READCARD_RSPCMD)                          \
  NAMED(137, AMT_READCAPABILITY_CARD_CMD)                  \
  NAMED(138, AMT_READCAPABILITY_CARD_RSPCMD)               \
  NAMED(139, AMT_CAMERA_PREVIEW_CMD)                       \
  NAMED(140, AMT_CAMERA_PREVIEW_RSPCMD)                    \
  NAMED(141, AMT_CAMERA_SNAPSHOT_CMD)                      \
  NAMED(142, AMT_CAMERA_SNAPSHOT_RSPCMD)                   \
  NAMED(143, AMT_CAMERA_SAVE_CMD)                          \
  NAMED(144, AMT_CAMERA_SAVE_RSPCMD)                       \
  NAMED(145, AMT_CAMERA_DEL_CMD)                           \
  NAMED(146, AMT_CAMERA_DEL_RSPCMD)                        \
  NAMED(147, AMT_SECOND_CAMERA_PREVIEW_CMD)                \
  NAMED(148, AMT_SECOND_CAMERA_PREVIEW_RSPCMD)             \
  NAMED(149, AMT_NVRESUME_CMD)                             \
  NAMED(150, AMT_NVRESUME_RSPCMD)                          \
  NAMED(151, AMT_DSP_TRANSPARENT_CONTROL_CMD)              \
  NAMED(152, AMT_DSP_TRANSPARENT_CONTROL_RSPCMD)           \
  NAMED(153, AMT_EDGE_READTABLE_FLASH_TO_MEMORY_CMD)       \
  NAMED(154, AMT_EDGE_READTABLE_FLASH_TO_MEMORY_RSPCMD)    \
  NAMED(155, AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH_CMD)    \
  NAMED(156, AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH_RSPCMD) \
  NAMED(170, AMT_BLUETOOTH_CMD)                            \
  NAMED(171, AMT_BLUETOOTH_RSPCMD)                         \
  NAMED(172, AMT_BLUETOOTH_ADDRESS_CMD)                    \
  NAMED(173, AMT_BLUETOOTH_ADDRESS_RSPCMD)                 \
  NAMED(174, AMT_GPS_CONTROL_CMD)                          \
  NAMED(175, AMT_GPS_CONTROL_RSPCMD)                       \
  NAMED(176, AMT_GPS_TEST_CMD)                             \
  NAMED(177, AMT_GPS_TEST_RSPCMD)                          \
  NAMED(178, AMT_GPS_READ_RESULT_CMD)                      \
  NAMED(179, AMT_GPS_READ_RESULT_RSPCMD)                   \
  NAMED(180, AMT_CAMERA_CONTROL_CMD)                       \
  NAMED(181, AMT_CAMERA_CONTROL_RSPCMD)                    \
  NAMED(185, AMT_WIFI_TEST_CMD)                            \
  NAMED(186, AMT_WIFI_TEST_RSPCMD)                         \
  NAMED(187, AMT_WIFI_RTX_TEST_CMD)                        \
  NAMED(188, AMT_WIFI_RTX_TEST_RSPCMD)                     \
  UNNAMED(191, AMT_ADB_SERIAL_CMD)                         \
  UNNAMED(192, AMT_ADB_SERIAL_RSPCMD)                      \
  NAMED(193, AMT_BOARD_PCBA_CTRL_CMD)                      \
  NAMED(194, AMT_BOARD_PCBA_CTRL_RSPCMD)                   \
  NAMED(195, AMT_NORMAL_TO_AMT_CMD)                        \
  NAMED(196, AMT_NORMAL_TO_AMT_RSPCMD)                     \
  NAMED(197, AMT_NORMAL_TO_AMT_SUPPORT_CMD)                \
  NAMED(198, AMT_NORMAL_TO_AMT_SUPPORT_RSPCMD)             \
  NAMED(201, CELL_SWITCH_MODE_CMD)                         \
  NAMED(202, CELL_SWITCH_MODE_RSPCMD)                      \
  NAMED(204, CELL_RECIEVE_RSPDATA)                         \
  NAMED(205, CELL_READ_VERSION_CMD)                        \
  NAMED(206, CELL_READ_VERSION_RSPCMD)                     \
  NAMED(207, CELL_READ_IDEN_CMD)                           \
  NAMED(208, CELL_READ_IDEN_RSPCMD)                        \
  NAMED(209, CELL_SET_EXCEPTIONAL_RESET_CMD)               \
  NAMED(210, CELL_SET_EXCEPTIONAL_RESET_RSPCMD)            \
  NAMED(211, CELL_QUERY_EXCEPTIONAL_RESET_CMD)             \
  NAMED(212, CELL_QUERY_EXCEPTIONAL_RESET_RSPCMD)          \
  NAMED(213, CELL_CAMP_ON_CELL_CONTROL_CMD)                \
  NAMED(214, CELL_CAMP_ON_CELL_CONTROL_RSPCMD)             \
  NAMED(219, AMT_DAMT1_CMD)                                \
  NAMED(220, AMT_DAMT1_RSPCMD)                             \
  NAMED(221, AMT_DSP_TRANSPARENT_CONTROL_INDCMD)           \
  UNNAMED(224, AMT_READ_VBATT_ADC_CMD)                     \
  UNNAMED(225, AMT_READ_VBATT_ADC_RSPCMD)                  \
  UNNAMED(226, AMT_WRITE_VBATT_ADC_CMD)                    \
  UNNAMED(227, AMT_WRITE_VBATT_ADC_RSPCMD)                 \
  UNNAMED(228, AMT_READ_ITEM_CMD)                          \
  UNNAMED(229, AMT_READ_ITEM_RSPCMD)                       \
  UNNAMED(230, AMT_WRITE_ITEM_CMD)                         \
  UNNAMED(231, AMT_WRITE_ITEM_RSPCMD)                      \
  UNNAMED(232, AMT_CHANNEL_SWITCH_CMD)                     \
  UNNAMED(233, AMT_CHANNEL_SWITCH_RSPCMD)                  \
  UNNAMED(234, AMT_READ_SERIAL_NUMBER_CMD)                 \
  UNNAMED(235, AMT_READ_SERIAL_NUMBER_RSPCMD)              \
  UNNAMED(236, AMT_POWER_OFF_CMD)                          \
  UNNAMED(237, AMT_POWER_OFF_RSPCMD)                       \
  NAMED(238, AMT_READ_DEV_INFO_CMD)                        \
  NAMED(239, AMT_READ_DEV_INFO_RSPCMD)                     \
  NAMED(240, AMT_ENTER_IDLE_CMD)                           \
  NAMED(241, AMT_ENTER_IDLE_RSPCMD)                        \
  UNNAMED(244, AMT_BOOT_DL_FIN_CMD)                        \
  UNNAMED(245, AMT_BOOT_DL_FIN_RSPCMD)

enum amt_command_en : std::uint8_t {
#define AMT_COMMAND_ID(number, name) name = (number),
  AMT_COMMAND_IDS(AMT_COMMAND_ID, AMT_COMMAND_ID)
#undef AMT_COMMAND_ID
};

// Atom ids. Some requests use an id of their own for a thing that has another id elsewhere.
enum amt_atom_id_en : std::uint8_t {
  AMT_ATOM_RESULT = 1,   // the result code, in every response
  AMT_ATOM_DATA = 4,     // of a table or a measurement
  AMT_ATOM_VOLTAGE = 5,  // of the battery
  AMT_ATOM_RX_VALUE = 12,
  AMT_ATOM_IQ_POWER = 13,
  AMT_ATOM_SWITCH = 15,  // a flag: on or off
  AMT_ATOM_VERSION = 18,
  AMT_ATOM_MODULE = 19,  // whose version
  AMT_ATOM_IMEI = 21,
  AMT_ATOM_TEMPERATURE = 22,  // of the battery
  AMT_ATOM_RF_ADC = 24,
  AMT_ATOM_BRIGHTNESS = 26,
  AMT_ATOM_DATE = 27,       // on which the phone left the factory
  AMT_ATOM_LOOP_TYPE = 30,  // of the audio loop-back
  AMT_ATOM_IQ_SERIAL = 34,
  AMT_ATOM_STATION_RESULT = 36,
  AMT_ATOM_DESCRIPTION = 37,  // of a station's result
  AMT_ATOM_BOARD = 38,        // board serial number
  AMT_ATOM_STATION = 39,
  AMT_ATOM_SIM = 41,  // a flag
  AMT_ATOM_GSM_CONTROL = 43,
  AMT_ATOM_TABLE_FLAG = 44,
  AMT_ATOM_CAPACITY = 55,  // of the memory card
  AMT_ATOM_DSP_CONTROL = 62,
  AMT_ATOM_BT_OPERATION = 110,
  AMT_ATOM_BT_ADDRESS = 111,
  AMT_ATOM_CAMERA_CONTROL = 112,
  AMT_ATOM_CAMERA_RESULT = 113,
  AMT_ATOM_GPS_OPERATION = 140,
  AMT_ATOM_SATELLITE = 141,  // in the request its slot, in the answer its id
  AMT_ATOM_CARRIER_TO_NOISE = 144,
  AMT_ATOM_CALIBRATION_1 = 146,  // of the battery's ADC
  AMT_ATOM_CALIBRATION_2 = 147,
  AMT_ATOM_CALIBRATION_3 = 148,
  AMT_ATOM_CALIBRATION_4 = 149,
  AMT_ATOM_ADC = 151,  // of the battery
  AMT_ATOM_WIFI_OPERATION = 152,
  AMT_ATOM_WIFI_ADDRESS = 153,
  AMT_ATOM_RTX_OPERATION = 154,  // of the WiFi transmit and receive test
  AMT_ATOM_RTX_CHANNEL = 155,
  AMT_ATOM_RTX_RATE = 156,
  AMT_ATOM_RTX_POWER = 157,
  AMT_ATOM_RTX_COUNT = 158,  // of packets received
  AMT_ATOM_MODEM_CHANNEL = 159,
  AMT_ATOM_ADB_OPERATION = 160,
  AMT_ATOM_ADB_SERIAL = 161,
  AMT_ATOM_ADB_LENGTH = 162,
  AMT_ATOM_SERIAL_NUMBER = 163,  // the board serial number, as bytes
  AMT_ATOM_PCBA_OPERATION = 190,
  AMT_ATOM_PCBA_SERIAL = 191,
  AMT_ATOM_AMT1_FLAG = 192,
  AMT_ATOM_DEV_INFO = 200,
  AMT_ATOM_MODE = 201,
  AMT_ATOM_RADIO_TECHNOLOGY = 202,
  AMT_ATOM_BOOT_FLAG = 204,
};

// The name of a command id; "(undefined)" for an id that has none.
const char* amt_command_name(std::uint8_t command_id);
