#include "tests/soak/link.h"

namespace soak {

void link::send(const std::string& block) {
  m_last_block = block;
  if (!tty().write_all(block, ANSWER_WAIT)) throw failure("a block cannot be written");
}

std::string link::read(std::size_t count) {
  std::string bytes = tty().read_exactly(count, ANSWER_WAIT);
  if (bytes.size() != count) throw failure("no answer, or only " + (bytes.empty() ? "nothing" : show(bytes)));
  return bytes;
}

std::size_t link::seen_by_modem(handset::modem_link side) const {
  return m_phone.simulated_modem().received(side).size();
}

void link::wait_seen_by_modem(handset::modem_link side, std::size_t bytes) const {
  if (!m_phone.simulated_modem().received(side).wait_size(bytes, ANSWER_WAIT)) {
    throw failure("the modem does not get what was sent");
  }
}

void link::set_patience(std::chrono::milliseconds patience) {
  m_phone.simulated_modem().change_switches([=](handset::modem_switches& modem) { modem.patience = patience; });
}

void link::judge_result(const answer& found, bool has_to_work) const {
  constexpr std::uint32_t FAILED = 1;
  constexpr std::uint32_t MODEM_FAILED = 10;
  const auto result = found.result();
  if (!result) throw failure("an answer without a result");
  if (*result == 0) return;
  if (has_to_work) throw failure("result " + std::to_string(*result) + " in a healthy phone");
  if (*result != FAILED && *result != MODEM_FAILED) throw failure("unknown result " + std::to_string(*result));
}

const frame_row& link::pick_fast(std::span<const frame_row> rows) {
  for (;;) {
    const frame_row& row = m_random.pick(rows);
    if (row.cost == pace::FAST) return row;
  }
}

std::size_t share_of(pace cost) {
  switch (cost) {
    case pace::SHELL:
      return 30;
    case pace::RECORD:
      return 12;
    case pace::FAST:
      break;
  }
  return 0;
}

}  // namespace soak
