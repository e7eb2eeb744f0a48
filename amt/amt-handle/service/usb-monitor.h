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

// One round on the event socket: receives what waits there, at most 32 events, and only then treats it, in order. When
// the kernel has reported that events were lost, has_lost_events keeps that until a round empties the socket; the state
// is then taken from the gadget's state file. True when the cable was pulled in a start without -u: what comes after
// that is not treated.
bool amt_usb_take_events(int fd, bool& has_lost_events);

// Thread entry. Without -u a pulled cable ends the service; with or without, so does a PC link that has hung up and
// whose reader cannot see it for a second.
void amt_handle_monitor_usb_loop();
