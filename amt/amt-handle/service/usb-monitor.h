// Watches the kernel's device events for changes of the USB gadget's state.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

enum amt_usb_state_en : std::uint8_t {
  AMT_USB_DISCONNECTED = 0,
  AMT_USB_CONFIGURED = 1,
  AMT_USB_OTHER = 2,
  AMT_USB_UNKNOWN = 255,  // no event yet
};

// Takes the next string off a kernel event, a sequence of NUL-terminated strings; the last one may lack its end.
std::string_view amt_uevent_next_string(std::span<const char>& rest);

// Thread entry. Without -u a pulled cable ends the service.
void amt_handle_monitor_usb_loop();
