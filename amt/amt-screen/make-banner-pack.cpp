#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "amt/amt-screen/banner-data.h"
#include "amt/amt-screen/make-banner.h"

namespace {

using bytes = std::vector<std::uint8_t>;

const bytes HEADER = {0x1F, 0x8B, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03};  // no name, no time
constexpr std::size_t TRAILER_SIZE = 8;

// Deflate blocks that hold nothing and end on a byte: any larger number of bytes can be filled with the two.
const bytes EMPTY_STORED = {0x00, 0x00, 0x00, 0xFF, 0xFF};
const bytes EMPTY_FIXED_AND_STORED = {0x02, 0x00, 0x00, 0x00, 0xFF, 0xFF};

// A window of a row and a half: most rows repeat the one above, and distances from one row alone code shortest.
bytes deflated(const bytes& pixels) {
  constexpr int LEVEL = 8;
  constexpr int RAW_WINDOW_BITS = -10;
  constexpr int MEMORY_LEVEL = 8;
  z_stream stream = {};
  if (deflateInit2(&stream, LEVEL, Z_DEFLATED, RAW_WINDOW_BITS, MEMORY_LEVEL, Z_DEFAULT_STRATEGY) != Z_OK) return {};
  bytes input = pixels;
  bytes output(deflateBound(&stream, input.size()));
  stream.next_in = input.data();
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = output.data();
  stream.avail_out = static_cast<uInt>(output.size());
  const int result = deflate(&stream, Z_FINISH);
  output.resize(result == Z_STREAM_END ? stream.total_out : 0);
  deflateEnd(&stream);
  return output;
}

void append(bytes& to, const bytes& more) {
  to.insert(to.end(), more.begin(), more.end());
}

// False when the number is one of the few small ones that the two blocks do not sum up to.
bool append_filling(bytes& to, std::size_t count) {
  const std::size_t sixes = count % EMPTY_STORED.size();
  if (count < sixes * EMPTY_FIXED_AND_STORED.size()) return false;
  const std::size_t fives = count / EMPTY_STORED.size() - sixes;
  for (std::size_t block = 0; block < fives; ++block) append(to, EMPTY_STORED);
  for (std::size_t block = 0; block < sixes; ++block) append(to, EMPTY_FIXED_AND_STORED);
  return true;
}

void append_u32(bytes& to, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) to.push_back(static_cast<std::uint8_t>(value >> shift));
}

}  // namespace

std::vector<std::uint8_t> pack_banner(const std::vector<std::uint8_t>& pixels) {
  const bytes data = deflated(pixels);
  const std::size_t least = HEADER.size() + data.size() + TRAILER_SIZE;
  bytes member = HEADER;
  if (data.empty() || least > BANNER_MEMBER_SIZE || !append_filling(member, BANNER_MEMBER_SIZE - least)) return {};
  append(member, data);
  append_u32(member, static_cast<std::uint32_t>(crc32(0, pixels.data(), static_cast<uInt>(pixels.size()))));
  append_u32(member, static_cast<std::uint32_t>(pixels.size()));
  return member;
}

std::string banner_source(const std::vector<std::uint8_t>& member) {
  constexpr std::size_t BYTES_A_LINE = 16;
  static constexpr char DIGITS[] = "0123456789abcdef";
  std::string text =
      "// Made by make-banner; change the drawing there, not the bytes here.\n"
      "#include \"amt/amt-screen/banner-data.h\"\n"
      "\n"
      "// clang-format off\n"
      "const std::array<std::uint8_t, BANNER_MEMBER_SIZE> BANNER_MEMBER = {\n";
  for (std::size_t at = 0; at < member.size(); ++at) {
    text += at % BYTES_A_LINE == 0 ? "    0x" : " 0x";
    text += DIGITS[member[at] >> 4];
    text += DIGITS[member[at] & 15];
    text += (at + 1) % BYTES_A_LINE == 0 || at + 1 == member.size() ? ",\n" : ",";
  }
  return text + "};\n// clang-format on\n";
}
