// The PC link in the serial set-up: wrapped frames and AT text, some for the service and some for the modem.
#pragma once

#include "tests/soak/link.h"

namespace soak {

class pc_link : public link {
 public:
  using link::link;

  std::vector<job> jobs() override;
  void ask_every_row() override;
  void switch_bluetooth_on() override;

 protected:
  handset::tty_end& tty() override { return m_phone.pc(); }

 private:
  enum class item_kind { PRE_RESPONSE, FRAME, TEXT };
  struct item {
    item_kind kind;
    std::string bytes;  // of a frame without its envelope
  };

  item take();
  item take_frame();
  item take_text();
  item take(item_kind wanted);
  void take_answer(std::uint8_t id, bool has_to_work);
  void take_answer_of(std::uint8_t request_id, bool has_to_work);
  void take_text_answer(const text_row& row, bool has_to_work);
  // The next answer must be the one to this.
  void ask_known();

  void ask(const frame_row& row, bool has_to_work);
  void ask(const text_row& row, bool has_to_work);
  std::string foreign_frame(std::uint8_t id);
  std::uint8_t foreign_id();
  const frame_row& pick_service_row();
  void add_rows(std::vector<job>& jobs);
  void add_modem_jobs(std::vector<job>& jobs);
  void add_damaged(std::vector<job>& jobs);

  void send_to_modem(const std::string& block);
  void ask_modem();
  void write_identity();
  void damage_the_atoms();
  void damage_the_checksum();
  void damage_the_envelope();
  void damage_the_head();
  void lie_to_the_modem();
  void make_noise();
  void send_unknown_text();
  void cut_for_service();
  void cut_for_modem();
  void join_for_service();
  void join_for_modem();
  void join_texts();
  void let_modem_speak();
  void silence_modem();
  void hang_modem_up();
};

}  // namespace soak
