#include "handset/phone/app-cable.h"

#include "handset/phone/phone.h"

namespace handset {

namespace {

constexpr std::chrono::milliseconds TERMINAL_CHECK{3};  // no event reports that the service has made one

}  // namespace

app_cable::app_cable(event_loop& loop, phone& the_phone, const std::filesystem::path& name)
    : m_loop(loop), m_phone(the_phone), m_cable(loop, name) {
  m_cable.on_station_left([this] { close(); });
  m_cable.on_phone_left([this] { close(); });
  wait_for_terminal();
}

// A station's first bytes wait for the terminal, and the terminal is opened only for a station: if it were opened and
// closed again at once, the service would see an application that came and went.
void app_cable::wait_for_terminal() {
  m_cable.hold_station();
  m_loop.after(TERMINAL_CHECK, [this] { open(); });
}

void app_cable::open() {
  m_open = m_cable.has_station() && m_phone.open_app(std::chrono::milliseconds{0});
  if (!m_open) return wait_for_terminal();
  m_cable.connect(m_phone.app());
}

// The service makes a new terminal as soon as it sees that this one is closed.
void app_cable::close() {
  if (!m_open) return;
  m_open = false;
  m_cable.disconnect();
  m_phone.close_app();
  wait_for_terminal();
}

}  // namespace handset
