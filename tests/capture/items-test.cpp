// Frames and lines in the pieces of a capture.
#include "capture/items.h"

#include "tests/capture/lines.h"

namespace {

using testing::ElementsAre;

// "line direction kind: bytes" of each item.
std::vector<std::string> items_of(const std::string& text) {
  static constexpr const char* KINDS[] = {"frame", "pre", "text", "noise"};
  std::vector<std::string> shown;
  capture_items_st items([&](const capture_item_st& item) {
    const std::string fault = item.m_item.m_fault == stream_fault_en::NONE ? "" : "!";
    shown.push_back(std::to_string(item.m_line) + " " + capture_direction_name(item.m_direction) + " " +
                    KINDS[static_cast<int>(item.m_item.m_kind)] + fault + ": " +
                    plain_hex(byte_string(item.m_item.m_bytes.begin(), item.m_item.m_bytes.end())));
  });
  for (const auto& [entry, line] : entries_of(text)) items.take(entry, line);
  items.flush();
  return shown;
}

std::string hex_of(const byte_string& bytes, std::size_t begin, std::size_t end) {
  return plain_hex(byte_string(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                               bytes.begin() + static_cast<std::ptrdiff_t>(end)));
}

}  // namespace

TEST(CaptureItems, FrameInSeveralPieces_IsOneItemOfTheLastPiece) {
  const std::string text = capture_text(1, "received", "pc", hex_of(VERSION_OK, 0, 3)) +
                           capture_text(2, "received", "pc", hex_of(VERSION_OK, 3, 20)) +
                           capture_text(3, "received", "pc", hex_of(VERSION_OK, 20, VERSION_OK.size()));
  EXPECT_THAT(items_of(text), ElementsAre("3 received frame: " + plain_hex(VERSION_OK)));
}

TEST(CaptureItems, SeveralInOnePiece_AreSeveralItems) {
  const byte_string all = PRE_RESPONSE + VERSION_OK + bytes_from_text("\r\nOK\r\n");
  EXPECT_THAT(items_of(capture_text(1, "received", "pc", plain_hex(all))),
              ElementsAre("1 received pre: " + plain_hex(PRE_RESPONSE), "1 received frame: " + plain_hex(VERSION_OK),
                          "1 received text: 0D0A4F4B0D0A"));
}

TEST(CaptureItems, DamagedFrameBetweenNoise_IsShownAsWhatItIs) {
  byte_string bad = VERSION_OK;
  bad.back() ^= 1;
  const byte_string all = bytes_from_hex("0102FF0D0A") + bad + VERSION_OK;
  EXPECT_THAT(items_of(capture_text(1, "received", "pc", plain_hex(all))),
              ElementsAre("1 received noise: 0102FF0D0A", "1 received frame!: " + plain_hex(bad),
                          "1 received frame: " + plain_hex(VERSION_OK)));
}

TEST(CaptureItems, DirectionsLinksAndPhones_DoNotMix) {
  const std::string text = capture_text(1, "sent", "pc", hex_of(VERSION_REQUEST, 0, 10)) +
                           capture_text(2, "received", "pc", plain_hex(PRE_RESPONSE)) +
                           capture_text(3, "sent", "pc", "41540D", "B") + capture_text(4, "sent", "at", "41540D") +
                           capture_text(5, "sent", "pc", hex_of(VERSION_REQUEST, 10, VERSION_REQUEST.size()));
  EXPECT_THAT(items_of(text), ElementsAre("2 received pre: " + plain_hex(PRE_RESPONSE), "3 sent text: 41540D",
                                          "4 sent text: 41540D", "5 sent frame: " + plain_hex(VERSION_REQUEST)));
}

TEST(CaptureItems, ApplicationsLink_HasBareFrames) {
  EXPECT_THAT(items_of(capture_text(1, "sent", "app", plain_hex(BARE_REQUEST))),
              ElementsAre("1 sent frame: " + plain_hex(BARE_REQUEST)));
}

TEST(CaptureItems, RequestWithoutLineEnd_StandsBeforeItsAnswer) {
  const std::string text = capture_text(1, "sent", "pc", "4154") + capture_text(2, "received", "pc", "4F4B0D0A") +
                           capture_text(3, "sent", "pc", "41540D") + capture_text(4, "received", "pc", "4F4B0D0A");
  EXPECT_THAT(items_of(text), ElementsAre("1 sent text: 4154", "2 received text: 4F4B0D0A", "3 sent text: 41540D",
                                          "4 received text: 4F4B0D0A"));
}

TEST(CaptureItems, LineFeedInThePieceAfter_IsNoItem) {
  const std::string text = capture_text(1, "received", "pc", "0D0A4F4B0D") + capture_text(2, "received", "pc", "0A") +
                           capture_text(3, "received", "pc", "4F4B0D0A");
  EXPECT_THAT(items_of(text), ElementsAre("1 received text: 0D0A4F4B0D", "3 received text: 0A4F4B0D0A"));
}

TEST(CaptureItems, PartThatGetsNoLonger_IsShownAfterASecond) {
  const std::string part = hex_of(VERSION_OK, 0, 20);
  const std::string rest = hex_of(VERSION_OK, 20, VERSION_OK.size());
  const auto late = items_of(capture_text(1, "received", "pc", part) + capture_text(1002, "received", "pc", rest));
  ASSERT_EQ(late.size(), 2u);
  EXPECT_EQ(late[0], "1 received frame!: " + part);
  EXPECT_EQ(items_of(capture_text(1, "received", "pc", part) + capture_text(1001, "received", "pc", rest)).size(), 1u);
  // The machine was started anew in between.
  EXPECT_EQ(items_of(capture_text(9, "received", "pc", part) + capture_text(1, "received", "pc", rest)).size(), 2u);
}
