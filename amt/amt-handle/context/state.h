// The process-wide values that several modules share, in one place. Plain flags are relaxed atomics.
#pragma once

#include <atomic>
#include <cstdint>

enum amt_mode_en : std::int32_t {
  AMT_MODE_AMT1 = 1,      // the PC sends frames
  AMT_MODE_PLATFORM = 3,  // requests come from the phone's test application
  AMT_MODE_AMT4 = 4,      // the PC speaks AT text
};

// "1": a service brings up the serial set-up even in normal mode.
inline constexpr char AMT_SWITCH_PROPERTY[] = "amt.normal.amt.switch_status";

// A flag or number that threads share and that publishes nothing but itself.
template <typename Value>
class relaxed {
 public:
  constexpr relaxed(Value value = {}) : m_value(value) {}
  operator Value() const { return m_value.load(std::memory_order_relaxed); }
  Value operator=(Value value) {
    m_value.store(value, std::memory_order_relaxed);
    return value;
  }
  // Sets the value and gives the old one.
  Value exchange(Value value) { return m_value.exchange(value); }

 private:
  std::atomic<Value> m_value;
};

extern relaxed<std::int32_t> g_usb_activate;  // 1: started with -u
extern relaxed<std::int32_t> g_amt_mode;      // amt_mode_en
// The identity write that awaits the modem: 0 none, 1 IMEI, 2 board serial number. It publishes the captured value: set
// with release, read with acquire.
extern std::atomic<std::uint8_t> g_cur_treat_cmd_type;
extern relaxed<std::int32_t> g_power_supply_is_ac;   // 1: a -u start found an AC charger
extern relaxed<std::int32_t> g_usb_enumerated;       // the USB gadget was seen configured, or the PC has spoken
extern relaxed<std::int32_t> g_handshake_done;       // set once, never cleared
extern relaxed<std::int32_t> g_modem_is_forwarding;  // modem output went to the PC, its handshake checks still run
extern relaxed<std::uint8_t> g_usb_state;            // amt_usb_state_en of usb-monitor.h
extern relaxed<std::int32_t> g_no_modem;             // 1: nothing answers on the AT link
extern relaxed<std::int32_t> g_run_mode;             // 1: normal mode

// The run mode of a successful start; the Bluetooth test asks for it.
std::int32_t amt_handle_get_run_mode();
