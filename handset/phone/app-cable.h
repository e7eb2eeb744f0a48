// The APP link of `handset run`: a pseudo-terminal on the host for whoever plays the phone's test application. The
// cable opens the service's terminal. When the player has left, or the service has closed its side, the cable closes
// that terminal and opens the next one.
#pragma once

#include <filesystem>

#include "handset/phone/cable.h"
#include "handset/wire/event-loop.h"

namespace handset {

class phone;

class app_cable {
 public:
  // name: as for cable.
  app_cable(event_loop& loop, phone& the_phone, const std::filesystem::path& name);

  void set_capture(capture_place_st place) { m_cable.set_capture(std::move(place)); }

 private:
  void wait_for_terminal();
  void open();
  void close();

  event_loop& m_loop;
  phone& m_phone;
  cable m_cable;
  bool m_open = false;
};

}  // namespace handset
