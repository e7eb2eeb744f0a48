// A link that is soaked: what can be asked on it, as jobs of which a deck is made.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "handset/phone/phone.h"
#include "tests/soak/blocks.h"
#include "tests/soak/faults.h"
#include "tests/soak/random-source.h"
#include "tests/soak/rows.h"

namespace soak {

// How long an answer may take on a machine that is busy with other phones. Reached only when something is wrong.
inline constexpr std::chrono::seconds ANSWER_WAIT{60};

struct job {
  std::string name;
  std::size_t of_50000;  // how often it comes among so many; 0: it shares what the others leave, by weight
  std::size_t weight;
  std::function<void()> run;  // throws failure
};

class link {
 public:
  link(handset::phone& phone, random_source& random, faults& broken)
      : m_phone(phone), m_random(random), m_faults(broken) {}
  virtual ~link() = default;
  link(const link&) = delete;
  link& operator=(const link&) = delete;

  virtual std::vector<job> jobs() = 0;
  // Asks each row once, in order, and wants it to work: nothing is broken.
  virtual void ask_every_row() = 0;
  // The request that doubles the service: the phone's last one.
  virtual void switch_bluetooth_on() = 0;

  const std::string& last_block() const { return m_last_block; }

 protected:
  virtual handset::tty_end& tty() = 0;
  void send(const std::string& block);
  std::string read(std::size_t count);
  // The modem has seen so many bytes more than before.
  std::size_t seen_by_modem(handset::modem_link side) const;
  void wait_seen_by_modem(handset::modem_link side, std::size_t bytes) const;
  void set_patience(std::chrono::milliseconds patience);
  // Result codes: 0, or an error where something may be wrong.
  void judge_result(const answer& found, bool has_to_work) const;
  bool has_to_work(bool is_steady) const { return is_steady && !m_faults.any(); }
  const frame_row& pick_fast(std::span<const frame_row> rows);

  handset::phone& m_phone;
  random_source& m_random;
  faults& m_faults;
  std::string m_last_block;
};

// A share for what is too dear to come often.
std::size_t share_of(pace cost);
inline constexpr std::chrono::milliseconds USUAL_PATIENCE{100};

}  // namespace soak
