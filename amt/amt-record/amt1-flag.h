// The AMT1 flag: whether the phone may enter factory test by the USB handshake at its next start. The PC keeps it in a
// file; the service publishes it as a property when a -u start ends.
#pragma once

#include <cstdint>

#include "amt/amt-record/record.h"
#include "pub/result.h"

inline constexpr char AMT_FLAG_FILE[] = "/amt/power_usb_amt.txt";

// Operations of handle_amt_damt1_operation.
inline constexpr std::int32_t AMT_FLAG_FORBID = 0;
inline constexpr std::int32_t AMT_FLAG_PERMIT = 1;
inline constexpr std::int32_t AMT_FLAG_READ = 2;

// The first line of a file (its line end included, at most 98 characters). 0 or ERR_SYSTEM; the buffer is then empty.
result_code_en amt_read_data_from_file(char (&content)[AMT_CONTENT_SIZE], const char* path);

// Whether the flag file permits the handshake: true unless it can be read and its decimal value is 0.
bool amt_is_handshake_permitted_by_file();

// Operation 0 or 1 writes the flag, 2 reads it into *value (a missing or unreadable file is 1). 0; ERR_FAIL when the
// file cannot be written; ERR_ARGUMENT for any other operation.
result_code_en handle_amt_damt1_operation(std::int32_t operation, std::int32_t* value);

// Publishes whether the next USB insertion may enter factory test: "1" not permitted, "2" permitted. A start
// that found the phone on an AC charger publishes "1".
void amt_set_handshake_permission();
