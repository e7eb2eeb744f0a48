#include "capture/stream.h"

#include <gtest/gtest.h>

#include <ostream>

#include "tests/wire.h"

namespace {

struct got_st {
  stream_kind_en m_kind;
  stream_fault_en m_fault;
  byte_string m_bytes;
  bool operator==(const got_st&) const = default;
};

void PrintTo(const got_st& got, std::ostream* out) {
  *out << "kind " << static_cast<int>(got.m_kind) << " fault " << static_cast<int>(got.m_fault) << " "
       << testing::PrintToString(got.m_bytes);
}

using got_items = std::vector<got_st>;

got_st frame(const byte_string& bytes, stream_fault_en fault = stream_fault_en::NONE) {
  return {stream_kind_en::FRAME, fault, bytes};
}
got_st text(std::string_view line) {
  return {stream_kind_en::TEXT, stream_fault_en::NONE, bytes_from_text(line)};
}
got_st noise(const byte_string& bytes) {
  return {stream_kind_en::NOISE, stream_fault_en::NONE, bytes};
}
got_st pre_response() {
  return {stream_kind_en::PRE_RESPONSE, stream_fault_en::NONE, PRE_RESPONSE};
}

stream_sink keep(got_items* items) {
  return [items](const stream_item_st& item) {
    items->push_back({item.m_kind, item.m_fault, {item.m_bytes.begin(), item.m_bytes.end()}});
  };
}

// The items of the bytes, fed `step` at a time; flushed at the end when asked.
got_items split(const byte_string& bytes, std::size_t step, bool is_flushed = false,
                stream_form_en form = stream_form_en::WRAPPED) {
  stream_splitter_st splitter(form);
  got_items items;
  for (std::size_t at = 0; at < bytes.size(); at += step) {
    splitter.feed(std::span(bytes).subspan(at, std::min(step, bytes.size() - at)), keep(&items));
  }
  if (is_flushed) splitter.flush(keep(&items));
  return items;
}

got_items split(const byte_string& bytes) {
  return split(bytes, bytes.size());
}
got_items split_all(const byte_string& bytes) {
  return split(bytes, bytes.size(), true);
}

byte_string changed(byte_string bytes, std::size_t at, std::uint8_t value) {
  bytes[at] = value;
  return bytes;
}

TEST(StreamFrame, Whole_IsOneItem) {
  EXPECT_EQ(split(VERSION_OK), got_items{frame(VERSION_OK)});
}

TEST(StreamFrame, FixedEnvelope_IsPreResponse) {
  EXPECT_EQ(split(PRE_RESPONSE), got_items{pre_response()});
}

TEST(StreamFrame, NoAtoms_IsOneItem) {
  EXPECT_EQ(split(NO_ATOMS), got_items{frame(NO_ATOMS)});
}

TEST(StreamFrame, LastByteMissing_IsHeldBack) {
  byte_string part = VERSION_OK;
  part.pop_back();
  EXPECT_EQ(split(part), got_items{});
}

TEST(StreamMixed, EveryWayToSplit_GivesTheSameItems) {
  const byte_string all = bytes_from_text("\r\n^DSVER: 7\r\n\r\nOK\r\n") + PRE_RESPONSE + VERSION_OK +
                          bytes_from_text("AT\r") + VERSION_ERROR + bytes_from_text("half") + NO_ATOMS +
                          bytes_from_text("\nERROR\r\n");
  const got_items expected = {
      text("\r\n^DSVER: 7\r\n"), text("\r\nOK\r\n"), pre_response(),  frame(VERSION_OK),  text("AT\r"),
      frame(VERSION_ERROR),      text("half"),       frame(NO_ATOMS), text("\nERROR\r\n")};
  for (std::size_t step = 1; step <= all.size(); ++step) EXPECT_EQ(split(all, step), expected) << "step " << step;
}

TEST(StreamMixed, EveryCutInTwo_GivesTheSameItems) {
  const byte_string all = bytes_from_text("\r\nOK\r\n") + VERSION_OK + PRE_RESPONSE + bytes_from_text("x\r\ny\r\n");
  const got_items expected = {text("\r\nOK\r\n"), frame(VERSION_OK), pre_response(), text("x\r\n"), text("y\r\n")};
  for (std::size_t cut = 0; cut <= all.size(); ++cut) {
    stream_splitter_st splitter;
    got_items items;
    splitter.feed(std::span(all).first(cut), keep(&items));
    splitter.feed(std::span(all).subspan(cut), keep(&items));
    EXPECT_EQ(items, expected) << "cut " << cut;
  }
}

TEST(StreamChecksum, EveryCorruptedPayloadByte_IsReported) {
  for (std::size_t at = 12; at < VERSION_OK.size(); ++at) {
    const byte_string bad = changed(VERSION_OK, at, static_cast<std::uint8_t>(VERSION_OK[at] ^ 0x10));
    EXPECT_EQ(split(bad), got_items{frame(bad, stream_fault_en::CHECKSUM)}) << "byte " << at;
  }
}

TEST(StreamChecksum, BadFrameBeforeGoodOne_GoodOneIsFound) {
  const byte_string bad = changed(VERSION_OK, 20, 0x41);
  EXPECT_EQ(split(bad + VERSION_OK), (got_items{frame(bad, stream_fault_en::CHECKSUM), frame(VERSION_OK)}));
}

TEST(StreamLength, OfZero_IsReportedAndTheNextFrameIsFound) {
  const byte_string bad = changed(NO_ATOMS, 4, 0x00);
  const got_items items = split(bad + VERSION_OK);
  ASSERT_GE(items.size(), 2U);
  EXPECT_EQ(items.front(), frame(bytes_from_hex("AABBCCDD 00000000"), stream_fault_en::LENGTH));
  EXPECT_EQ(items.back(), frame(VERSION_OK));
}

// length field | may be right: the largest wrapped frame is 4096 bytes, 8 more than the field
TEST(StreamLength, AtTheBounds_OnlyWhatFitsIsWaitedFor) {
  struct {
    const char* m_length;
    bool m_is_waited_for;
  } const rows[] = {{"07000000", false}, {"08000000", true},  {"F80F0000", true}, {"F90F0000", false},
                    {"FFFF0000", false}, {"FFFFFFFF", false}, {"F8FFFFFF", false}};
  for (const auto& row : rows) {
    const byte_string start = bytes_from_hex("AABBCCDD") + bytes_from_hex(row.m_length);
    const got_items expected = row.m_is_waited_for ? got_items{} : got_items{frame(start, stream_fault_en::LENGTH)};
    EXPECT_EQ(split(start), expected) << row.m_length;
  }
}

TEST(StreamLength, TooLargeByTwo_TheSwallowedFrameIsStillFound) {
  const byte_string bad = changed(VERSION_OK, 4, 0x22);
  for (const std::size_t step : {std::size_t{1}, std::size_t{7}, std::size_t{500}}) {
    EXPECT_EQ(split(bad + VERSION_OK, step), (got_items{frame(bad, stream_fault_en::CHECKSUM), frame(VERSION_OK)}));
  }
}

TEST(StreamLength, TooLargeByFar_TheSwallowedFrameIsFoundAtTheFlush) {
  const byte_string bad = changed(VERSION_OK, 5, 0x0F);
  EXPECT_EQ(split(bad + VERSION_OK), got_items{});
  EXPECT_EQ(split_all(bad + VERSION_OK), (got_items{frame(bad, stream_fault_en::INCOMPLETE), frame(VERSION_OK)}));
}

TEST(StreamLength, TooSmall_IsABadChecksumAndTheNextFrameIsFound) {
  const byte_string bad = changed(VERSION_OK, 4, 0x1E);
  const got_items items = split(bad + VERSION_OK);
  ASSERT_EQ(items.size(), 3U);
  EXPECT_EQ(items[0], frame({bad.begin(), bad.end() - 2}, stream_fault_en::CHECKSUM));
  EXPECT_EQ(items[1].m_bytes, bytes_from_hex("203C"));
  EXPECT_EQ(items[2], frame(VERSION_OK));
}

TEST(StreamHead, RightChecksumOverAWrongHead_IsReported) {
  const byte_string wrong_command_head = bytes_from_hex("AABBCCDD 0E000000 02000000 0600BC2E0000 EAF2659D");
  const byte_string five_byte_frame = bytes_from_hex("AABBCCDD 0D000000 02000000 0500BB2E00 B39C08FB");
  const byte_string empty_but_no_pre_response = bytes_from_hex("AABBCCDD 08000000 02000000 42CC0DC1");
  for (const auto& bytes : {wrong_command_head, five_byte_frame, empty_but_no_pre_response}) {
    EXPECT_EQ(split(bytes), got_items{frame(bytes, stream_fault_en::HEAD)});
  }
}

TEST(StreamText, LineForms_AreCutAtTheirEnds) {
  EXPECT_EQ(split(bytes_from_text("\r\nOK\r\n")), got_items{text("\r\nOK\r\n")});
  EXPECT_EQ(split(bytes_from_text("OK\n")), got_items{text("OK\n")});
  EXPECT_EQ(split(bytes_from_text("AT\rOK\r\n")), (got_items{text("AT\r"), text("OK\r\n")}));
  EXPECT_EQ(split(bytes_from_text("\r\n\r\n\r\nOK\r\n")), got_items{text("\r\n\r\n\r\nOK\r\n")});
  EXPECT_EQ(split(bytes_from_text("a\tb\r\n")), got_items{text("a\tb\r\n")});
  const byte_string longer_characters = bytes_from_hex("E0A080 EFBFBD F09F9880 F48FBFBF 0A");
  EXPECT_EQ(split(longer_characters)[0].m_kind, stream_kind_en::TEXT);
  EXPECT_EQ(split(bytes_from_text("gr\xC3\xBC\xC3\x9F\r\n")), got_items{text("gr\xC3\xBC\xC3\x9F\r\n")});
}

TEST(StreamText, LoneCarriageReturn_WaitsForItsLineFeed) {
  stream_splitter_st splitter;
  got_items items;
  splitter.feed(bytes_from_text("OK\r"), keep(&items));
  EXPECT_EQ(items, got_items{});
  EXPECT_EQ(splitter.pending(), stream_pending_en::LINE_FEED);
  splitter.flush(keep(&items));
  EXPECT_EQ(items, got_items{text("OK\r")});
  EXPECT_EQ(splitter.pending(), stream_pending_en::NOTHING);
}

TEST(StreamText, WithoutEnd_IsPartOfALineUntilTheFlush) {
  stream_splitter_st splitter;
  got_items items;
  splitter.feed(bytes_from_text("> "), keep(&items));
  EXPECT_EQ(splitter.pending(), stream_pending_en::LINE);
  splitter.flush(keep(&items));
  EXPECT_EQ(items, got_items{text("> ")});
}

TEST(StreamText, OnlyLineEnds_ArePendingNothing) {
  stream_splitter_st splitter;
  got_items items;
  splitter.feed(bytes_from_text("OK\r\n\r\n"), keep(&items));
  EXPECT_EQ(splitter.pending(), stream_pending_en::NOTHING);
}

TEST(StreamNoise, ControlBytesAndBrokenUtf8_AreNoText) {
  for (const char* hex : {"000102 0A", "1B5B41 0A", "FF 0A", "C3 0A", "E282 0A", "C080 0A", "80 0A", "7F 0A"}) {
    EXPECT_EQ(split(bytes_from_hex(hex)), got_items{noise(bytes_from_hex(hex))}) << hex;
  }
}

TEST(StreamNoise, BeforeAFrame_TheFrameIsFound) {
  const byte_string garbage = bytes_from_hex("00 FF AA BB AA BB CC 55 AA");
  EXPECT_EQ(split(garbage + VERSION_OK), (got_items{noise(garbage), frame(VERSION_OK)}));
  EXPECT_EQ(split(garbage + VERSION_OK, 1), (got_items{noise(garbage), frame(VERSION_OK)}));
}

TEST(StreamNoise, PartOfAMagicAtTheFlush_IsNoise) {
  EXPECT_EQ(split_all(bytes_from_hex("AABBCC")), got_items{noise(bytes_from_hex("AABBCC"))});
  EXPECT_EQ(split_all(bytes_from_hex("41AABB")), (got_items{text("A"), noise(bytes_from_hex("AABB"))}));
}

TEST(StreamBuffer, EndlessLine_IsCutAtTheBuffersSize) {
  const byte_string line(10000, 'x');
  for (const std::size_t step : {std::size_t{1}, std::size_t{4095}, std::size_t{10000}}) {
    const got_items items = split(line, step, true);
    ASSERT_EQ(items.size(), 3U) << "step " << step;
    EXPECT_EQ(items[0].m_bytes.size(), 4096U);
    EXPECT_EQ(items[1].m_bytes.size(), 4096U);
    EXPECT_EQ(items[2].m_bytes.size(), 1808U);
  }
}

TEST(StreamBuffer, LargestFrame_Fits) {
  byte_string start = bytes_from_hex("AABBCCDD F80F0000");
  start.resize(4095);
  EXPECT_EQ(split(start), got_items{});
  start.push_back(0);
  EXPECT_EQ(split(start), got_items{frame(start, stream_fault_en::CHECKSUM)});
}

TEST(StreamAny, Bytes_ComeOutOnceWhateverTheSplit) {
  byte_string bytes;
  std::uint32_t seed = 1;
  for (int n = 0; n < 20000; ++n) {
    seed = seed * 1664525 + 1013904223;
    static constexpr std::uint8_t ALPHABET[] = {0xAA, 0xBB, 0xCC, 0xDD, 0x10, 0x00, '\r', '\n', 'A', 0xEE};
    bytes.push_back(ALPHABET[(seed >> 16) % sizeof ALPHABET]);
    if (n % 97 == 0) bytes = bytes + bytes_from_hex("AABBCCDD 40000000");
  }
  const got_items at_once = split_all(bytes);
  EXPECT_EQ(split(bytes, 1, true), at_once);
  EXPECT_EQ(split(bytes, 13, true), at_once);
  byte_string joined;
  for (const auto& item : at_once) joined = joined + item.m_bytes;
  EXPECT_EQ(joined, bytes);
}

TEST(StreamPayload, OfAWholeFrame_IsWithoutTheChecksum) {
  const stream_item_st item{stream_kind_en::FRAME, stream_fault_en::NONE, NO_ATOMS};
  const auto payload = stream_payload(item);
  EXPECT_EQ(byte_string(payload.begin(), payload.end()), bytes_from_hex("0600BB2E0000"));
}

TEST(StreamPayload, OfACutFrame_IsWhatCame) {
  const stream_item_st item{stream_kind_en::FRAME, stream_fault_en::INCOMPLETE, std::span(VERSION_OK).first(20)};
  const auto payload = stream_payload(item);
  EXPECT_EQ(byte_string(payload.begin(), payload.end()), bytes_from_hex("1800BB2E1200EE13"));
}

TEST(StreamPayload, WithoutAHead_IsEmpty) {
  for (const std::size_t size : {std::size_t{8}, std::size_t{12}, std::size_t{17}}) {
    const stream_item_st item{stream_kind_en::FRAME, stream_fault_en::INCOMPLETE, std::span(VERSION_OK).first(size)};
    EXPECT_TRUE(stream_payload(item).empty()) << size;
  }
}

// The items of an application link's bytes; the same for every way of cutting them.
got_items split_bare(const byte_string& bytes) {
  const got_items items = split(bytes, bytes.size(), true, stream_form_en::BARE);
  for (std::size_t step = 1; step < std::min<std::size_t>(bytes.size(), 16); ++step) {
    EXPECT_EQ(split(bytes, step, true, stream_form_en::BARE), items) << "cut every " << step;
  }
  return items;
}

const byte_string BARE_EMPTY = bytes_from_hex("0600BB080000");  // answer 8 without an atom

TEST(StreamBare, FramesBackToBack_AreTakenApart) {
  const got_items expected = {frame(BARE_OK), frame(BARE_EMPTY), frame(BARE_OK)};
  EXPECT_EQ(split_bare(BARE_OK + BARE_EMPTY + BARE_OK), expected);
}

TEST(StreamBare, WholeFrame_NeedsNoMoreBytes) {
  EXPECT_EQ(split(BARE_OK, 1, false, stream_form_en::BARE), got_items{frame(BARE_OK)});
}

TEST(StreamBare, LargestFrame_IsOne) {
  byte_string largest = bytes_from_hex("0010BB08FA0F");
  largest.resize(4096, 0xBB);
  EXPECT_EQ(split_bare(largest + BARE_OK), (got_items{frame(largest), frame(BARE_OK)}));
}

TEST(StreamBare, BytesThatAreNoFrame_AreNoiseUpToTheNext) {
  const byte_string stray = bytes_from_text("\r\nOK\r\n");
  EXPECT_EQ(split_bare(stray + BARE_OK + stray), (got_items{noise(stray), frame(BARE_OK), noise(stray)}));
}

TEST(StreamBare, HeadThatContradictsItself_IsNoise) {
  for (const char* head : {
           "0F00BA2D0900",  // another mark
           "0F00BB2D0A00",  // the lengths disagree
           "0500BB2DFFFF",  // shorter than a head
           "0110BB2DFB0F",  // one more than the largest
       }) {
    EXPECT_EQ(split_bare(bytes_from_hex(head) + BARE_OK), (got_items{noise(bytes_from_hex(head)), frame(BARE_OK)}))
        << head;
  }
}

TEST(StreamBare, NoiseThatLooksLikeAHeadForAWhile_IsOneItem) {
  const byte_string stray = bytes_from_hex("FFFF 0F00BB2D FFFF");
  EXPECT_EQ(split_bare(stray + BARE_OK), (got_items{noise(stray), frame(BARE_OK)}));
}

TEST(StreamBare, CutFrame_IsIncompleteAtTheEnd) {
  for (const std::size_t size : {3U, 6U, 23U}) {
    const byte_string part(BARE_OK.begin(), BARE_OK.begin() + size);
    EXPECT_EQ(split_bare(part), got_items{frame(part, stream_fault_en::INCOMPLETE)}) << size;
  }
}

TEST(StreamBare, FrameAfterACutOne_IsFoundAtTheEnd) {
  const byte_string part = bytes_from_hex("FF00BB2EF900 EE13");
  EXPECT_EQ(split_bare(part + BARE_OK), (got_items{frame(part, stream_fault_en::INCOMPLETE), frame(BARE_OK)}));
}

TEST(StreamBare, NoiseThatFillsTheBuffer_KeepsTheFrameAcrossItsEnd) {
  const byte_string much(4094, 0xFF);
  EXPECT_EQ(split_bare(much + BARE_OK), (got_items{noise(much), frame(BARE_OK)}));
}

TEST(StreamBare, WrappedFrame_IsNoiseAroundTheFrameInIt) {
  const byte_string head(VERSION_OK.begin(), VERSION_OK.begin() + 12);
  const byte_string checksum(VERSION_OK.end() - 4, VERSION_OK.end());
  EXPECT_EQ(split_bare(VERSION_OK), (got_items{noise(head), frame(BARE_OK), noise(checksum)}));
}

TEST(StreamBare, Pending_IsAPartUntilAFrameIsWhole) {
  stream_splitter_st splitter(stream_form_en::BARE);
  got_items items;
  EXPECT_EQ(splitter.pending(), stream_pending_en::NOTHING);
  splitter.feed(bytes_from_hex("0D"), keep(&items));  // a line end on a PC link, a length here
  EXPECT_EQ(splitter.pending(), stream_pending_en::PART);
  splitter.feed(bytes_from_hex("00BB080700 EE010404000001 00"), keep(&items));
  EXPECT_EQ(splitter.pending(), stream_pending_en::PART);
}

TEST(StreamBare, Payload_IsTheWholeFrame) {
  const stream_item_st whole{stream_kind_en::FRAME, stream_fault_en::NONE, BARE_OK, stream_form_en::BARE};
  EXPECT_TRUE(std::ranges::equal(stream_payload(whole), BARE_OK));
  const auto part = std::span(BARE_OK).first(5);
  EXPECT_TRUE(stream_payload({stream_kind_en::FRAME, stream_fault_en::INCOMPLETE, part, stream_form_en::BARE}).empty());
}

}  // namespace
