// The picture itself: what is built in is what the generator makes, any gzip reader takes it, and it reads AMT MODE.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "amt/amt-screen/banner-data.h"
#include "amt/amt-screen/make-banner.h"

namespace {

using bytes = std::vector<std::uint8_t>;

struct unpacked {
  int m_result;
  bytes m_pixels;
};

unpacked unpack(std::size_t length) {
  bytes member(BANNER_MEMBER.begin(), BANNER_MEMBER.begin() + static_cast<std::ptrdiff_t>(length));
  unpacked result{Z_ERRNO, bytes(300000)};
  z_stream stream = {};
  stream.next_in = member.data();
  stream.avail_in = static_cast<uInt>(member.size());
  stream.next_out = result.m_pixels.data();
  stream.avail_out = static_cast<uInt>(result.m_pixels.size());
  if (inflateInit2(&stream, 31) != Z_OK) return result;
  result.m_result = inflate(&stream, Z_PARTIAL_FLUSH);
  result.m_pixels.resize(stream.total_out);
  inflateEnd(&stream);
  return result;
}

// '#' white, '.' black, '?' anything else.
char colour(const bytes& pixels, std::size_t x, std::size_t y) {
  const std::size_t at = (y * 346 + x) * 2;
  if (pixels[at] == 0xFF && pixels[at + 1] == 0xFF) return '#';
  return pixels[at] == 0 && pixels[at + 1] == 0 ? '.' : '?';
}

std::string row(const bytes& pixels, std::size_t y) {
  std::string result;
  for (std::size_t x = 0; x < 346; ++x) {
    const char here = colour(pixels, x, y);
    if (result.empty() || result.back() != here) result.push_back(here);
  }
  return result;
}

TEST(BannerGenerator, Member_IsWhatIsBuiltIn) {
  EXPECT_EQ(pack_banner(draw_banner()), bytes(BANNER_MEMBER.begin(), BANNER_MEMBER.end()));
}

TEST(BannerGenerator, Source_IsTheCheckedInFile) {
  std::ifstream stream(BANNER_SOURCE, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  EXPECT_EQ(banner_source(pack_banner(draw_banner())), text);
}

TEST(BannerGenerator, PictureTooRich_GivesNothing) {
  bytes pixels(269880);
  std::uint32_t noise = 1;
  for (auto& byte : pixels) byte = static_cast<std::uint8_t>((noise = noise * 1664525 + 1013904223) >> 24);
  EXPECT_EQ(pack_banner(pixels), bytes());
}

TEST(BannerGenerator, EmptyPicture_IsFilledUpToTheSize) {
  const bytes member = pack_banner(bytes(269880));
  ASSERT_EQ(member.size(), 1969u);
  EXPECT_EQ(bytes(member.begin() + 1965, member.end()), (bytes{0x38, 0x1E, 0x04, 0x00}));
}

TEST(BannerMember, Frame_IsGzipWithoutName) {
  EXPECT_EQ(bytes(BANNER_MEMBER.begin(), BANNER_MEMBER.begin() + 4), (bytes{0x1F, 0x8B, 0x08, 0x00}));
  EXPECT_EQ(BANNER_MEMBER.size(), 1969u);
  // The length trailer: 269880 = 0x00041E38.
  EXPECT_EQ(bytes(BANNER_MEMBER.end() - 4, BANNER_MEMBER.end()), (bytes{0x38, 0x1E, 0x04, 0x00}));
}

TEST(BannerMember, WholeMember_EndsTheStream) {
  const auto result = unpack(1969);
  EXPECT_EQ(result.m_result, Z_STREAM_END);
  EXPECT_EQ(result.m_pixels, draw_banner());
}

TEST(BannerMember, WithoutLastByte_GivesAllPixelsAndNoEnd) {
  const auto result = unpack(1968);
  EXPECT_EQ(result.m_result, Z_OK);
  EXPECT_EQ(result.m_pixels, draw_banner());
}

TEST(BannerPicture, Size_IsOneOfBlackAndWhite) {
  const bytes pixels = draw_banner();
  ASSERT_EQ(pixels.size(), 269880u);
  for (std::size_t y = 0; y < 390; ++y) {
    for (std::size_t x = 0; x < 346; ++x) ASSERT_NE(colour(pixels, x, y), '?') << x << "," << y;
  }
}

// Strokes met from left to right, through each line of letters; black around and between the lines.
TEST(BannerPicture, Rows_CutTheLettersAsOneReadsThem) {
  const bytes pixels = draw_banner();
  EXPECT_EQ(row(pixels, 10), ".");
  EXPECT_EQ(row(pixels, 25), ".#.#.#.#.");     // A's top, M's two shoulders, T's bar
  EXPECT_EQ(row(pixels, 90), ".#.#.#.#.#.");   // two legs of A, M's uprights with the slants in them, T
  EXPECT_EQ(row(pixels, 130), ".#.#.#.#.#.");  // A's bar, two uprights and the valley of M, T
  EXPECT_EQ(row(pixels, 175), ".#.#.#.#.#.");  // two legs, two uprights, T
  EXPECT_EQ(row(pixels, 195), ".");
  EXPECT_EQ(row(pixels, 260), ".#.#.#.#.#.#.#.");  // M, two sides of O, two of D, E
  EXPECT_EQ(row(pixels, 290), ".#.#.#.#.#.#.#.#.");
  EXPECT_EQ(row(pixels, 340), ".#.#.#.#.#.#.#.");
  EXPECT_EQ(row(pixels, 380), ".");
}

}  // namespace
