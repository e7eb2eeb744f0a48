#include "handset/program/played-modem.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "handset/phone/phone.h"
#include "handset/program/commands.h"
#include "handset/program/control.h"

namespace handset {

played_modem::played_modem(event_loop& loop, phone& the_phone, const run_command& command) {
  const auto entries = load_capture(command.replay_modem, command.replay_phone);
  m_data = make(loop, capture_link_en::MODEM, the_phone.modem_end().fd(), entries, command);
  m_at = make(loop, capture_link_en::AT, the_phone.at_end().fd(), entries, command);
  if (m_data.player->script().is_empty() && m_at.player->script().is_empty())
    throw usage_error(command.replay_modem + " has neither the link modem nor at");
}

played_modem::line played_modem::make(event_loop& loop, capture_link_en link, int master,
                                      const std::vector<capture_numbered_st>& entries, const run_command& command) {
  line made;
  link_player::options how;
  how.is_fast = command.is_fast;
  how.differ = [this, is_loose = command.is_loose](const std::string& text) {
    if (is_loose || std::exchange(m_has_differences, true)) return;
    fmt::print("replay: the first difference is on the {}\n", text);
    std::fflush(stdout);
  };
  made.player = std::make_unique<link_player>(loop, link, capture_script_st(entries, link), link_player::options{});
  made.pump = std::make_unique<tty_pump>(loop, [player = made.player.get()](auto bytes) { player->take(bytes); });
  how.say = [pump = made.pump.get()](std::string_view bytes) { pump->send(bytes); };
  how.is_heard = [pump = made.pump.get()] { return !pump->hung_up(); };
  made.player->set_options(std::move(how));
  made.pump->attach(master);
  made.player->start();
  return made;
}

void played_modem::set_capture(capture_writer_st* writer, const std::string& phone) {
  m_data.player->set_capture({writer, capture_link_en::MODEM, phone});
  m_at.player->set_capture({writer, capture_link_en::AT, phone});
}

}  // namespace handset
