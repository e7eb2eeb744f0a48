#include "handset/phone/cable.h"

#include <utility>

namespace handset {

cable::cable(event_loop& loop, std::filesystem::path name)
    : m_outside(loop, std::move(name),
                [this](auto bytes) {
                  m_capture.write(capture_direction_en::SENT, capture_bytes(bytes));
                  carry(m_outside.pump(), m_inside, bytes);
                }),
      m_inside(loop, [this](auto bytes) {
        m_capture.write(capture_direction_en::RECEIVED, capture_bytes(bytes));
        if (m_outside.has_station()) carry(m_inside, m_outside.pump(), bytes);
      }) {
  m_outside.pump().on_sent([this] { m_inside.hold_input(false); });
  m_inside.on_sent([this] { m_outside.pump().hold_input(false); });
}

void cable::carry(tty_pump& from, tty_pump& to, std::string_view bytes) {
  to.send(bytes);
  from.hold_input(to.unsent() >= tty_pump::MOST_UNSENT);
}

void cable::connect(const tty_end& phone_end) {
  m_inside.attach(phone_end.fd());
  m_outside.pump().hold_input(false);
}

void cable::disconnect() {
  m_inside.detach();
}

}  // namespace handset
