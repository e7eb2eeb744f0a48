#include "handset/program/usb-steps.h"

namespace handset {

namespace {

struct step {
  std::string_view log;
  std::string_view text;
};
// The first that fits counts.
constexpr step STEPS[] = {
    {"will treat handshake.", "the service asks what feeds the phone"},
    {"power-supply is ac", "fed by a charger: refused"},
    {"do not get valid mode", "nobody knows what feeds it: refused"},
    {"do not permit to enter amt by handshake", "/amt/power_usb_amt.txt forbids it: refused"},
    {"permit to enter amt by handshake.", "fed by a USB host and permitted"},
    {"timeMSec:20000.", "waits 20 s for the USB link, e.g. handset ctl uevent USB_STATE=CONFIGURED"},
    {"get usb CONFIGURED event", "the USB link is up; waits for the modem to speak, e.g. handset ctl modem say HELLO"},
    {"timeMSec:5000.", "the modem has spoken; waits 5 s for the station to send something"},
    {"handshake success.", "the station has answered: the phone is in test mode"},
    {"screen_draw_image()", "AMT MODE is on the screen, e.g. handset ctl screenshot FILE.png"},
    {"usb enum timeout.", "no USB link in 20 s: the service ends"},
    {"timeout. time:5 seconds.", "the station stayed silent for 5 s: the service ends"},
    {"no timer, the handshake is refused", "no timer to be had: the service ends"},
    {"get usb disconnect event", "the cable was pulled"},
    {"set property(sys.vx.amt.failure.handshake) to 1", "the next insertion may not enter"},
    {"set property(sys.vx.amt.failure.handshake) to 2", "the next insertion may enter"},
};

std::string_view step_of(std::string_view line, bool& is_ending) {
  for (const auto& [log, text] : STEPS) {
    if (line.find(log) == line.npos) continue;
    // At its end the service looks at the permission once more, to report it.
    const bool is_report = text.starts_with("fed by a USB host") || text.starts_with("/amt/power");
    return is_report && is_ending ? std::string_view() : text;
  }
  if (line.find("amt_set_handshake_permission()") != line.npos) is_ending = true;
  return {};
}

}  // namespace

std::string usb_steps::take(std::string_view piece) {
  std::string steps;
  for (const char c : piece) {
    if (c != '\n') {
      m_line += c;
      continue;
    }
    const auto text = step_of(m_line, m_is_ending);
    if (!text.empty()) steps.append("USB start: ").append(text).append("\n");
    m_line.clear();
  }
  return steps;
}

}  // namespace handset
