// The board's (PCBA) serial number: the record file, and the frame that reads and writes it. The record is also the
// board serial number of the second channel: each overwrites the other, on purpose.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

inline constexpr char AMT_PCBA_SN_FILE[] = "/amt/sn-2.txt";
inline constexpr std::uint32_t AMT_PCBA_SN_SIZE = 30;  // 29 characters and the terminator

// Replaces an identity record (the path is the caller's) by text, without a line end. 0; ERR_ARGUMENT for a missing or
// empty text; ERR_SYSTEM when the file cannot be opened or written.
std::int32_t amt_write_pcba_sn(const char* text, const char* path);

// Reads the first line of AMT_PCBA_SN_FILE, cut to 29 characters; a line end within these stays. 0 or ERR_SYSTEM; the
// buffer is then empty.
std::int32_t amt_read_pcba_sn(char (&buffer)[AMT_PCBA_SN_SIZE]);

// PC request 193: reads or writes the record. Nothing is sent on failure.
std::int32_t amt_handle_board_pcba_ctrl(std::uint8_t link, amt_message_st* request, amt_message_st* response);
