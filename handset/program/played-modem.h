// The modem of a phone whose service runs, played from a capture: its data link and its AT link.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "capture/writer.h"
#include "handset/program/link-player.h"
#include "handset/wire/tty-pump.h"

namespace handset {

class phone;
struct run_command;

class played_modem {
 public:
  // The phone has no simulated modem. What is different is shown once.
  played_modem(event_loop& loop, phone& the_phone, const run_command& command);

  void set_capture(capture_writer_st* writer, const std::string& phone);
  bool has_differences() const { return m_has_differences; }

 private:
  struct line {
    std::unique_ptr<tty_pump> pump;
    std::unique_ptr<link_player> player;
  };
  line make(event_loop& loop, capture_link_en link, int master, const std::vector<capture_numbered_st>& entries,
            const run_command& command);

  bool m_has_differences = false;
  line m_data;
  line m_at;
};

}  // namespace handset
