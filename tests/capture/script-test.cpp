// A capture as a part to play: its order, its pauses, and what a station sends instead.
#include "capture/script.h"

#include "tests/capture/lines.h"

namespace {

using testing::HasSubstr;

// The item of a request as a station sends it.
class request_st {
 public:
  explicit request_st(byte_string bytes) : m_bytes(std::move(bytes)) {
    stream_splitter_st splitter;
    const stream_sink sink = [this](const stream_item_st& item) { m_item = item; };
    splitter.feed(m_bytes, sink);
    splitter.flush(sink);
    m_item.m_bytes = m_bytes;
  }
  const stream_item_st& item() const { return m_item; }

 private:
  byte_string m_bytes;
  stream_item_st m_item{};
};

std::string take(capture_script_st* script, const byte_string& bytes) {
  return script->take(request_st(bytes).item());
}

std::string take(capture_script_st* script, const std::string& text) {
  return take(script, bytes_from_text(text));
}

std::string answer_of(const capture_script_st& script) {
  const auto answer = script.answer();
  return answer ? std::string(answer->m_bytes.begin(), answer->m_bytes.end()) : "none";
}

capture_script_st script_of(const std::string& text) {
  return {entries_of(text), capture_link_en::PC};
}

std::string line(int ms, const std::string& direction, const std::string& text) {
  return capture_text(ms, direction, "pc", plain_hex(text));
}

// Two words: an address written, a version read.
std::string two_words() {
  return line(0, "sent", "AT^DBTADDR=1\r") + line(7, "received", "OK\r\n") + line(9, "sent", "AT^DSVER\r") +
         line(10, "received", "^DSVER: 7\r\n") + line(110, "received", "OK\r\n");
}

TEST(CaptureScript, RequestsAndAnswers_FollowEachOther) {
  auto script = script_of(two_words());
  EXPECT_EQ(script.steps(), 5u);
  EXPECT_EQ(answer_of(script), "none");
  EXPECT_EQ(take(&script, "AT^DBTADDR=1\r"), "");
  EXPECT_EQ(answer_of(script), "OK\r\n");
  EXPECT_EQ(script.answer()->m_pause_ns, 7'000'000);
  script.said();
  EXPECT_EQ(take(&script, "AT^DSVER\r"), "");
  script.said();
  EXPECT_EQ(answer_of(script), "OK\r\n");
  EXPECT_EQ(script.answer()->m_pause_ns, 100'000'000);
  script.said();
  EXPECT_TRUE(script.is_over());
}

TEST(CaptureScript, RequestInPieces_IsWaitedForAsAWhole) {
  const std::string hex = plain_hex(VERSION_REQUEST);
  auto script =
      script_of(capture_text(0, "sent", "pc", hex.substr(0, 20)) + capture_text(1, "sent", "pc", hex.substr(20)) +
                capture_text(2, "received", "pc", plain_hex(VERSION_OK)));
  EXPECT_EQ(script.steps(), 2u);
  EXPECT_EQ(take(&script, VERSION_REQUEST), "");
  EXPECT_EQ(answer_of(script), std::string(VERSION_OK.begin(), VERSION_OK.end()));
}

TEST(CaptureScript, OtherValue_IsADifferenceAndTheAnswerStaysTheSame) {
  auto script = script_of(two_words());
  const std::string difference = take(&script, "AT^DBTADDR=2\r");
  EXPECT_EQ(difference,
            "line 1 of the capture\n"
            "  has  text \"AT^DBTADDR=1\" 41545E444254414444523D310D\n"
            "  came text \"AT^DBTADDR=2\" 41545E444254414444523D320D\n"
            "  (the first byte that differs is number 12)");
  EXPECT_EQ(answer_of(script), "OK\r\n");
}

TEST(CaptureScript, OtherAtomOfAFrame_IsADifferenceWithItsPlace) {
  auto script = script_of(capture_text(0, "sent", "pc", plain_hex(VERSION_REQUEST)));
  byte_string other = VERSION_REQUEST;
  other[23] ^= 1;
  EXPECT_THAT(take(&script, other), HasSubstr("(the first byte that differs is number 24)"));
  EXPECT_TRUE(script.is_over());
}

TEST(CaptureScript, RequestThatWasLeftOut_IsADifferenceAndTheNextIsFound) {
  auto script = script_of(two_words());
  EXPECT_THAT(take(&script, "AT^DSVER\r"), HasSubstr("(line 3 is taken for it)"));
  EXPECT_EQ(answer_of(script), "^DSVER: 7\r\n");
}

TEST(CaptureScript, RequestThatIsLikeNone_GetsNoAnswer) {
  auto script = script_of(two_words());
  EXPECT_THAT(take(&script, "AT^DTOC\r"), HasSubstr("(it is like no request that follows, and gets no answer)"));
  EXPECT_EQ(answer_of(script), "none");
  EXPECT_EQ(take(&script, "AT^DBTADDR=1\r"), "");
}

TEST(CaptureScript, RequestAfterTheEnd_IsADifference) {
  auto script = script_of(line(0, "sent", "AT\r"));
  EXPECT_EQ(take(&script, "AT\r"), "");
  EXPECT_EQ(take(&script, "AT\r"), "after the end of the capture came text \"AT\" 41540D");
}

TEST(CaptureScript, ClockThatWentBack_IsNoPause) {
  auto script = script_of(line(500, "sent", "AT\r") + line(3, "received", "OK\r\n"));
  EXPECT_EQ(take(&script, "AT\r"), "");
  EXPECT_EQ(script.answer()->m_pause_ns, 0);
}

TEST(CapturePhones, OneOfSeveral_HasToBeChosen) {
  auto entries = entries_of(capture_text(0, "sent", "pc", "41", "A") + capture_text(0, "sent", "pc", "42", "B"));
  auto all = entries;
  EXPECT_EQ(capture_choose_phone("", &all), "the capture has the phones A, B: choose one");
  EXPECT_EQ(capture_choose_phone("C", &all), "the capture has the phones A, B: choose one");
  EXPECT_EQ(capture_choose_phone("B", &all), "");
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].m_entry.m_bytes, bytes_from_text("B"));
  entries.pop_back();
  EXPECT_EQ(capture_choose_phone("", &entries), "");
}

}  // namespace
