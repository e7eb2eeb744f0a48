// The one source of chance of a soak: a run is repeated by its seed.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace soak {

class random_source {
 public:
  explicit random_source(std::uint64_t seed) : m_engine(seed) {}

  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(m_engine() % limit); }
  std::size_t between(std::size_t least, std::size_t most) { return least + below(most - least + 1); }
  bool once_in(std::size_t times) { return below(times) == 0; }
  std::uint8_t byte() { return static_cast<std::uint8_t>(below(256)); }
  template <typename Rows>
  auto& pick(Rows& rows) {
    return rows[below(std::size(rows))];
  }
  template <typename Rows>
  void shuffle(Rows& rows) {
    for (std::size_t left = rows.size(); left > 1; --left) std::swap(rows[left - 1], rows[below(left)]);
  }
  std::string bytes(std::size_t count) {
    std::string text;
    while (text.size() < count) text += static_cast<char>(byte());
    return text;
  }
  // Bytes that no reader takes for the beginning of a command, of a frame or of an atom.
  std::string noise(std::size_t count) {
    static constexpr std::string_view TELLING = "Aa\xAA\xEE";
    std::string text;
    while (text.size() < count) {
      const char next = static_cast<char>(byte());
      if (TELLING.find(next) == std::string_view::npos) text += next;
    }
    return text;
  }

 private:
  std::mt19937_64 m_engine;
};

}  // namespace soak
