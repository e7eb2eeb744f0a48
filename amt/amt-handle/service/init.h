// Bringing the service up after its configuration was read.
#pragma once

#include <cstdint>

#include "pub/result.h"

// Admits or refuses a -u start, prepares the record folders, fills the registry and brings up the link set-up that the
// mode asks for. 0; ERR_FAIL for a -u start that may not enter factory test; else the code of the link set-up.
result_code_en amt_handle_init(std::int32_t normal_mode);

// Makes a folder unless it exists. 0, or ERR_SYSTEM.
result_code_en amt_make_folder(const char* path);
