// The handshake of a start on USB insertion (-u), both halves. It succeeds when the PC sends anything within 5 seconds
// of the first modem output that was forwarded to it over an enumerated USB link; else a timer ends the service.
#pragma once

// The USB gadget's state, a word and a line feed: DISCONNECTED, CONNECTED or CONFIGURED.
inline constexpr char AMT_USB_STATE_FILE[] = "/sys/class/android_usb/android0/state";

// Forgets everything: the start of an admission.
void amt_handshake_reset();
// Arms the 20 seconds within which the USB link must be enumerated. False when that does not work: the start would wait
// for ever.
bool amt_handshake_start_usb_timer();

// The PC has sent something.
void amt_handshake_pc_spoke();
// A block of modem output is about to go to the PC, and has gone there. The PC's answer, however fast, is judged only
// after the latter.
void amt_handshake_modem_begins();
void amt_handshake_modem_spoke();
// The kernel reported the USB gadget configured, or disconnected.
void amt_handshake_usb_configured();
void amt_handshake_usb_disconnected();
