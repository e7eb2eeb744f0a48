// The latest value of something that one thread replaces and another reads: three slots. Each thread owns one,
// and the third waits between them. Neither side ever waits, and no value is read while it is being written.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

template <typename Value>
class amt_handover {
 public:
  // The writer's side.
  void publish(const Value& value) {
    m_slots[m_writers] = value;
    m_writers = m_between.exchange(m_writers | IS_NEW, std::memory_order_acq_rel) & INDEX;
  }
  // The reader's side. The value stays as it is until the reader asks again.
  const Value& latest() {
    if ((m_between.load(std::memory_order_relaxed) & IS_NEW) != 0) {
      m_readers = m_between.exchange(m_readers, std::memory_order_acq_rel) & INDEX;
    }
    return m_slots[m_readers];
  }

 private:
  static constexpr std::uint8_t INDEX = 3;
  static constexpr std::uint8_t IS_NEW = 4;

  std::array<Value, 3> m_slots{};
  std::uint8_t m_writers = 0;
  std::uint8_t m_readers = 1;
  std::atomic<std::uint8_t> m_between{2};
};
