// The application's link in the platform set-up: bare frames, one answer for every block. The service asks the modem on
// its AT link for what it does not do itself, and waits for the answer.
#pragma once

#include "tests/soak/link.h"

namespace soak {

class app_link : public link {
 public:
  using link::link;

  std::vector<job> jobs() override;
  void ask_every_row() override;
  void switch_bluetooth_on() override;

 protected:
  handset::tty_end& tty() override { return m_phone.app(); }

 private:
  answer take();
  bool take_answer(std::uint8_t request_id, bool has_to_work);  // whether the request was done
  // Any block is taken for a request.
  void ask_block(const std::string& block, bool has_to_work);
  void send_in_vain(const std::string& block);
  std::size_t read_by_service();  // bytes, so far
  void ask_known();
  void ask(const frame_row& row, bool has_to_work);
  const frame_row& pick_damageable();
  void add_damaged(std::vector<job>& jobs);

  void damage_the_atoms();
  void damage_the_head();
  void ask_unknown();
  void make_noise();
  void cut();
  void join();
  void silence_modem();
  void hang_modem_up();
  void reopen();

  bool m_may_have_leftovers = false;
};

}  // namespace soak
