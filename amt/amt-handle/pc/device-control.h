// AT chain link of the radios: "AT^DDEVCONNCHK=", "AT^DBTCTRL=", "AT^DGPSCTRL=", "AT^DWLTSD=", "AT^DWLTRD=". Every
// command is one or two calls into the device-test library, which block the PC link while they run.
#pragma once

#include <cstdint>

std::int32_t handle_amt_device_at();
