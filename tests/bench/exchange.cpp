#include "tests/bench/exchange.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "tests/bench/fail.h"
#include "tests/bench/series.h"

namespace {

using steady = std::chrono::steady_clock;

constexpr std::size_t STREAM_BLOCK = 4000;
constexpr int QUIET_MS = 100;
constexpr int START_TRIES = 100;

double microseconds_since(steady::time_point start) {
  return std::chrono::duration<double, std::micro>(steady::now() - start).count();
}

void expect_same(std::span<const std::uint8_t> wanted, std::span<const std::uint8_t> found) {
  if (!std::equal(wanted.begin(), wanted.end(), found.begin(), found.end())) bench_fail("bytes came back changed");
}

// No text, no frame, no NUL; no two blocks are alike.
std::uint8_t stream_byte(std::size_t position) {
  return static_cast<std::uint8_t>(0x80 | ((position * 31 + position / STREAM_BLOCK) & 0x7F));
}

void send_stream(const terminal& to, int blocks) {
  std::vector<std::uint8_t> block(STREAM_BLOCK);
  for (std::size_t number = 0; number < static_cast<std::size_t>(blocks); ++number) {
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = stream_byte(number * STREAM_BLOCK + i);
    to.write(block);
  }
}

}  // namespace

double time_round_trips(const terminal& pc, const terminal& modem, std::span<const std::uint8_t> block, int count) {
  std::vector<double> times;
  std::vector<std::uint8_t> buffer(block.size());
  for (int i = 0; i < count; ++i) {
    const auto start = steady::now();
    pc.write(block);
    modem.read(buffer);
    modem.write(buffer);
    pc.read(buffer);
    times.push_back(microseconds_since(start));
    expect_same(block, buffer);
  }
  return median(times);
}

double time_answers(const terminal& pc, std::span<const std::uint8_t> request, std::span<const std::uint8_t> answer,
                    int count) {
  std::vector<double> times;
  std::vector<std::uint8_t> buffer(answer.size());
  for (int i = 0; i < count; ++i) {
    const auto start = steady::now();
    pc.write(request);
    pc.read(buffer);
    times.push_back(microseconds_since(start));
    expect_same(answer, buffer);
  }
  return median(times);
}

double measure_stream(const terminal& from, const terminal& to, int blocks) {
  std::vector<std::uint8_t> buffer(STREAM_BLOCK);
  const auto start = steady::now();
  std::thread sender([&] { send_stream(from, blocks); });
  for (std::size_t number = 0; number < static_cast<std::size_t>(blocks); ++number) {
    to.read(buffer);
    for (std::size_t i = 0; i < buffer.size(); ++i) {
      if (buffer[i] != stream_byte(number * STREAM_BLOCK + i)) bench_fail("a stream's bytes came through changed");
    }
  }
  sender.join();
  return static_cast<double>(blocks) * STREAM_BLOCK / (microseconds_since(start) / 1e6);
}

bool wait_until_relaying(const terminal& pc, const terminal& modem, std::span<const std::uint8_t> block) {
  for (int tries = 0; tries < START_TRIES; ++tries) {
    pc.write(block);
    if (modem.read_until_quiet(QUIET_MS).empty()) continue;
    pc.read_until_quiet(QUIET_MS);
    modem.write(block);
    return !pc.read_until_quiet(QUIET_MS).empty();
  }
  return false;
}

std::vector<std::uint8_t> learn_answer(const terminal& pc, std::span<const std::uint8_t> request) {
  for (int tries = 0; tries < START_TRIES; ++tries) {
    pc.write(request);
    if (pc.read_until_quiet(QUIET_MS).empty()) continue;
    pc.write(request);
    return pc.read_until_quiet(QUIET_MS);
  }
  bench_fail("a contender does not answer");
}
