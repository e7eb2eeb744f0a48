// Parts of the service, measured inside one process: the banner, the chain of AT commands, the conversions of radio
// requests. The platform log is filtered.
#include <android/log.h>
#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <tuple>
#include <vector>

#include "amt/amt-convert/at-data.h"
#include "amt/amt-convert/wrap.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/pc/at-chain.h"
#include "amt/amt-screen/banner-data.h"
#include "amt/amt-screen/screen.h"
#include "pub/result.h"
#include "tests/bench/fail.h"
#include "tests/bench/series.h"

namespace {

using steady = std::chrono::steady_clock;

constexpr int ROUNDS = 31;
constexpr int CHAIN_COMMANDS = 17;  // the texts that the chain looks for

// Median of the microseconds that one call takes.
double time_call(int calls, const std::function<void()>& call) {
  std::vector<double> times;
  for (int round = 0; round < ROUNDS; ++round) {
    const auto start = steady::now();
    for (int i = 0; i < calls; ++i) call();
    times.push_back(std::chrono::duration<double, std::micro>(steady::now() - start).count() / calls);
  }
  return median(times);
}

void keep(const void* memory) {
  asm volatile("" : : "g"(memory) : "memory");
}

// The least work that any drawing of the banner needs, into memory of the same size.
void draw_barely(std::vector<std::uint8_t>& screen, std::size_t screen_row) {
  constexpr std::size_t ROW = std::size_t{BANNER_WIDTH} * 2;
  static std::vector<std::uint8_t> pixels(ROW * BANNER_HEIGHT);
  z_stream stream = {};
  stream.next_in = const_cast<Bytef*>(BANNER_MEMBER.data());
  stream.avail_in = BANNER_LENGTH;
  stream.next_out = pixels.data();
  stream.avail_out = static_cast<uInt>(pixels.size());
  if (inflateInit2(&stream, 31) != Z_OK || inflate(&stream, Z_PARTIAL_FLUSH) != Z_OK) bench_fail("inflate");
  inflateEnd(&stream);
  std::fill(screen.begin(), screen.end(), std::uint8_t{0});
  for (std::size_t row = 0; row < BANNER_HEIGHT; ++row) {
    std::memcpy(screen.data() + row * screen_row, pixels.data() + row * ROW, ROW);
  }
  keep(screen.data());
}

void measure_banner() {
  constexpr std::uint32_t WIDTH = 480;
  constexpr std::uint32_t HEIGHT = 800;
  std::vector<std::uint8_t> screen(std::size_t{WIDTH} * HEIGHT * 2);
  g_screen.m_base = screen.data();
  g_screen.m_fixed.smem_len = static_cast<std::uint32_t>(screen.size());
  const double bare = time_call(5, [&] { draw_barely(screen, WIDTH * 2); });
  const double service = time_call(5, [&] {
    if (screen_load_image(WIDTH, HEIGHT) != 0) bench_fail("the banner does not load");
    screen_draw_image(0);
    keep(screen.data());
  });
  fmt::print("\nBanner on a screen of {} x {}\n", WIDTH, HEIGHT);
  fmt::print("  one inflate, one clearing and {} row copies {:.0f} us, the service {:.0f} us: {:.2f}\n", BANNER_HEIGHT,
             bare, service, service / bare);
  g_screen.m_base = nullptr;
}

void measure_chain() {
  auto& request = g_handle_context.m_request;
  fmt::print("\nSearch of the whole AT chain, nothing found\n");
  request.m_buf_a.fill('a');
  const double bare = time_call(1000, [&] {
    for (int i = 0; i < CHAIN_COMMANDS; ++i) keep(std::memchr(request.m_buf_a.data(), '^', 4000));
  });
  fmt::print("  {:<44} {:.2f} us\n", "4000 bytes, bare: memchr for each command", bare);
  for (const auto& [what, bytes] : {std::pair{"4000 bytes of binary noise without NUL", "\x80\xE7\x99\xC3"},
                                    std::pair{"4000 bytes of text", "abc 0189,=?"},
                                    std::pair{"4000 bytes of other commands (AT+CSQ..)", "AT+CSQ\r\n"},
                                    std::pair{"4000 bytes full of beginnings (AT^DAT^D...)", "AT^D"}}) {
    const std::size_t size = std::strlen(bytes);
    request.m_buf_len = 4000;
    for (std::size_t i = 0; i < request.m_buf_len; ++i) request.m_buf_a[i] = static_cast<std::uint8_t>(bytes[i % size]);
    const double time = time_call(1000, [] {
      if (handle_amt_pc_req_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response) !=
          ERR_NOT_HANDLED)
        bench_fail("something was found");
    });
    fmt::print("  {:<44} {:.2f} us\n", what, time);
  }
}

// A request of 2000 bytes: an address and a byte string.
amt_frame_st radio_request() {
  amt_frame_st frame{};
  const std::vector<std::uint8_t> table(1980, 0x5A);
  amt_frame_init(&frame, 49);
  amt_frame_add_int(&frame, 3, 9);
  amt_frame_add_bytes(&frame, 4, table.data(), table.size());
  return frame;
}

void show_rate(const char* what, std::size_t bytes, double microseconds) {
  fmt::print("  {:<44} {:>8.0f} MB/s\n", what, static_cast<double>(bytes) / microseconds);
}

void measure_conversions() {
  const amt_frame_st frame = radio_request();
  const std::size_t size = amt_frame_total_length(&frame);
  std::vector<std::uint8_t> data(AMT_FRAME_SIZE);
  std::vector<char> text(2 * AMT_FRAME_SIZE);
  std::size_t length = 0;
  fmt::print("\nConversions of a frame of {} bytes, in bytes of the frame\n", size);
  show_rate("request frame to AT data to hexadecimal", size, time_call(1000, [&] {
              if (amt_at_data_from_frame(frame, data, &length).m_fault != amt_at_fault_en::NONE) bench_fail("request");
              amt_hex_encode(std::span(data).first(length), std::span(text).first(2 * length));
              keep(text.data());
            }));
  // The answer of a table's read: id, result, length of the string, the string.
  constexpr std::uint8_t HEAD[] = {48, 0, 0, 0, 0, 0xBC, 0x07, 0, 0};
  std::vector<std::uint8_t> answer(std::size(HEAD) + 1980, 0x5A);
  std::copy(std::begin(HEAD), std::end(HEAD), answer.begin());
  amt_hex_encode(answer, std::span(text).first(2 * answer.size()));
  amt_frame_st back{};
  const double time = time_call(1000, [&] {
    amt_hex_decode({text.data(), 2 * answer.size()}, std::span(data).first(answer.size()));
    if (amt_frame_from_at_data(std::span(data).first(answer.size()), back).m_fault != amt_at_fault_en::NONE) {
      bench_fail("response");
    }
    keep(back.data());
  });
  show_rate("hexadecimal to AT data to response frame", amt_frame_total_length(&back), time);
  amt_message_st message{};
  const double wrapping = time_call(1000, [&] {
    message.m_buf_a = frame;
    message.m_buf_len = 0;
    std::ignore = amt_wrap(&message);
    keep(&message);
  });
  show_rate("frame to its wrapped form, with its checksum", size, wrapping);
}

}  // namespace

int main() {
  __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
  measure_banner();
  measure_chain();
  measure_conversions();
  return 0;
}
