// Bluetooth: on and off, the hardware check, and the record of the phone's address. Both links.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Request 170, Bluetooth on. The process forks: the parent answers at once, while the child waits for the hardware and
// answers a second time. Both go on as services, two readers of the same links, on purpose: stations send this as a
// phone's last request. ERR_SYSTEM when the fork or the switching on failed.
result_code_en amt_device_bt(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// Request 172. Atom 110: 1 reads the address into atom 111, 2 writes it from there, 3 checks the hardware, 10 switches
// Bluetooth off, 11 on. A refused address empties the record, too, on purpose: a wrong address is worse than none.
result_code_en amt_device_bt_address(std::uint8_t link, amt_message_st* request, amt_message_st* response);
