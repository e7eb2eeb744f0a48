// The serial numbers that stand in files of their own: IMEI and board serial number of both channels, and the one that
// the phone shows over USB (adb).
#pragma once

#include <cstdint>

#include "pub/log.h"

inline constexpr char AMT_IMEI_FILE[] = "/amt/imei.txt";
inline constexpr char AMT_SECOND_IMEI_FILE[] = "/amt/imei-2.txt";
inline constexpr char AMT_SN_FILE[] = "/amt/sn.txt";
// The board's (PCBA) serial number is also the one of the second channel: each overwrites the other, on purpose.
inline constexpr char AMT_PCBA_SN_FILE[] = "/amt/sn-2.txt";
inline constexpr char AMT_ADB_SERIAL_FILE[] = "/amt/usb_serial";

inline constexpr std::uint32_t AMT_PCBA_SN_SIZE = 30;      // 29 characters and the terminator
inline constexpr std::uint32_t AMT_ADB_SERIAL_SIZE = 100;  // 99 characters and the terminator

// Replaces one of the first four by text, without a line end. 0; ERR_ARGUMENT for a missing or empty text; ERR_SYSTEM
// when the file cannot be opened or written.
result_code_en amt_write_pcba_sn(const char* text, const char* path);

// Reads the first line of AMT_PCBA_SN_FILE, cut to 29 characters; a line end within these stays. 0 or ERR_SYSTEM; the
// buffer is then empty.
result_code_en amt_read_pcba_sn(char (&buffer)[AMT_PCBA_SN_SIZE]);

// Replaces and reads AMT_ADB_SERIAL_FILE for the request handler that site names. 0 or ERR_FAIL.
result_code_en amt_write_adb_serial(const pub_log_site& site, const char* serial);
result_code_en amt_read_adb_serial(const pub_log_site& site, char (&serial)[AMT_ADB_SERIAL_SIZE]);
