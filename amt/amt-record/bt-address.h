// The phone's Bluetooth address. AT commands use the first of two files that exists; frames use the phone's own. The
// address is the station's text; nothing here judges it.
#pragma once

#include <cstddef>

#include "pub/log.h"
#include "pub/util/io.h"

inline constexpr char AMT_BT_ADDRESS_FOLDER[] = "/amt/BT";
inline constexpr char AMT_BT_ADDRESS_FILE[] = "/amt/BT/BT_Address.txt";
inline constexpr char AMT_BT_ADDRESS_SECOND_FILE[] = "/mnt/opl/nvm/BT_Address.txt";

// The file that exists, the phone's own first; null, logged, when there is none, or when it cannot be found out whether
// the first exists: an address must not land in the second then.
const char* get_bt_addr_file();

// Reads and replaces the address in the file that exists. False, logged, when that does not work.
inline constexpr std::size_t AMT_BT_AT_ADDRESS_SIZE = 20;  // 19 characters and the terminator
bool bt_addr_read(char (&address)[AMT_BT_AT_ADDRESS_SIZE]);
bool bt_addr_write(const char (&address)[AMT_BT_AT_ADDRESS_SIZE]);

// The same in the phone's own file, for the request handler that site names.
inline constexpr std::size_t AMT_BT_ADDRESS_SIZE = 60;  // 59 characters and the terminator

// 0; ERR_ARGUMENT when the file cannot be opened; ERR_FAIL when it holds no word.
result_code_en amt_read_bt_address(const pub_log_site& site, char (&address)[AMT_BT_ADDRESS_SIZE]);

// The record, opened and emptied; null when it cannot be opened.
pub_file amt_open_bt_address(const pub_log_site& site);
// Fills and flushes the opened record, and takes everybody's right to write it. 0 or ERR_SYSTEM.
result_code_en amt_finish_bt_address(const pub_log_site& site, pub_file file,
                                     const char (&address)[AMT_BT_ADDRESS_SIZE]);
