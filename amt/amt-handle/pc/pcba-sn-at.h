// The board's (PCBA) serial number as AT text.
#pragma once

#include <cstdint>

// AT chain link of "AT^DPCBACTRL=": type 1 reads the record, type 2 writes the serial number behind the comma.
std::int32_t handle_amt_pcba_sn_at();
