#include "station/wire/session.h"

#include <gtest/gtest.h>

#include "tests/station/phone-line.h"

namespace {

using std::chrono::milliseconds;

constexpr station_rule_st VERSION_RULE{station_wait_en::FRAME, {46, 46}, 0};
constexpr station_rule_st AT_RULE{station_wait_en::AT_FINAL, {}, 0};
constexpr int LONG = 10000;  // for what must come
constexpr int SHORT = 50;    // for what must not

class Session : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(m_link.open(m_phone.path()), STATION_OK); }

  static station_time in(int count) { return std::chrono::steady_clock::now() + milliseconds(count); }

  void send(const byte_string& bytes) {
    ASSERT_EQ(m_session.send(bytes, true, in(LONG)), STATION_OK);
    ASSERT_EQ(m_phone.receive(bytes.size()), bytes);
  }

  station_exit_en receive(const station_rule_st& rule, int timeout_ms, milliseconds part_wait = milliseconds::max()) {
    station_judge_st judge(rule);
    return m_session.receive(&judge, in(timeout_ms), part_wait);
  }

  struct shown_st {
    bool m_is_sent;
    stream_kind_en m_kind;
    stream_fault_en m_fault;
    byte_string m_bytes;
  };

  phone_line_st m_phone;
  station_link_st m_link;
  std::vector<shown_st> m_shown;
  station_session_st m_session{
      &m_link, [this](const station_entry_st& entry) {
        const auto& item = entry.m_item;
        m_shown.push_back({entry.m_is_sent, item.m_kind, item.m_fault, {item.m_bytes.begin(), item.m_bytes.end()}});
      }};
};

TEST_F(Session, PreResponseAndAnswer_AreShownInOrder) {
  send(VERSION_REQUEST);
  m_phone.send(PRE_RESPONSE + VERSION_OK);
  EXPECT_EQ(receive(VERSION_RULE, LONG), STATION_OK);
  ASSERT_EQ(m_shown.size(), 3U);
  EXPECT_TRUE(m_shown[0].m_is_sent);
  EXPECT_EQ(m_shown[0].m_bytes, VERSION_REQUEST);
  EXPECT_EQ(m_shown[1].m_kind, stream_kind_en::PRE_RESPONSE);
  EXPECT_EQ(m_shown[2].m_bytes, VERSION_OK);
  EXPECT_FALSE(m_shown[2].m_is_sent);
}

TEST_F(Session, AnswerFromBefore_IsShownButNotTaken) {
  m_phone.send(VERSION_ERROR);
  send(VERSION_REQUEST);
  m_phone.send(VERSION_OK);
  EXPECT_EQ(receive(VERSION_RULE, LONG), STATION_OK);
  ASSERT_EQ(m_shown.size(), 3U);
  EXPECT_EQ(m_shown[0].m_bytes, VERSION_ERROR);
  EXPECT_TRUE(m_shown[1].m_is_sent);
}

TEST_F(Session, SilentPhone_IsNoAnswer) {
  send(VERSION_REQUEST);
  EXPECT_EQ(receive(VERSION_RULE, SHORT), STATION_NO_ANSWER);
}

TEST_F(Session, OnlyPreResponse_IsNoAnswer) {
  send(VERSION_REQUEST);
  m_phone.send(PRE_RESPONSE);
  EXPECT_EQ(receive(VERSION_RULE, SHORT), STATION_NO_ANSWER);
}

TEST_F(Session, HalfAnAnswer_IsDamagedAndShown) {
  send(VERSION_REQUEST);
  m_phone.send({VERSION_OK.begin(), VERSION_OK.begin() + 20});
  EXPECT_EQ(receive(VERSION_RULE, SHORT), STATION_DAMAGED);
  ASSERT_EQ(m_shown.size(), 2U);
  EXPECT_EQ(m_shown[1].m_fault, stream_fault_en::INCOMPLETE);
}

TEST_F(Session, AnswerAfterALyingLength_IsFoundAtTheDeadline) {
  send(VERSION_REQUEST);
  byte_string lying = PRE_RESPONSE;
  lying[5] = 0x0C;
  m_phone.send(lying + VERSION_OK);
  EXPECT_EQ(receive(VERSION_RULE, SHORT), STATION_OK);
}

TEST_F(Session, FinalResultWithoutLineFeed_DoesNotWaitForTheDeadline) {
  send(bytes_from_text("AT\r"));
  m_phone.send(bytes_from_text("AT\r"));
  m_phone.send(bytes_from_text("\r\nOK\r"));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(receive(AT_RULE, LONG), STATION_OK);
  EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(LONG));
  ASSERT_EQ(m_shown.size(), 3U);
}

TEST_F(Session, FinalResultWithoutAnyEnd_IsTakenAtTheDeadline) {
  send(bytes_from_text("AT\r"));
  m_phone.send(bytes_from_text("ERROR"));
  EXPECT_EQ(receive(AT_RULE, SHORT), STATION_ERROR_ANSWER);
}

TEST_F(Session, BlankLines_AreNotShown) {
  send(bytes_from_text("AT\r"));
  m_phone.send(bytes_from_text("\r\n\r\n") + VERSION_OK + bytes_from_text("\r\nOK\r\n"));
  EXPECT_EQ(receive(AT_RULE, LONG), STATION_OK);
  EXPECT_EQ(m_shown.size(), 3U);
}

TEST_F(Session, PartWait_ShowsWhatStaysIncomplete) {
  m_phone.send({VERSION_OK.begin(), VERSION_OK.begin() + 20});
  EXPECT_EQ(receive({station_wait_en::COUNT, {}, 1}, LONG, milliseconds(SHORT)), STATION_DAMAGED);
  EXPECT_EQ(m_shown.size(), 1U);
}

TEST_F(Session, PhoneHangsUp_IsPortGone) {
  send(VERSION_REQUEST);
  m_phone.hang_up();
  EXPECT_EQ(receive(VERSION_RULE, LONG), STATION_PORT_GONE);
}

TEST_F(Session, HungUpBeforeTheRequest_IsPortGone) {
  m_phone.hang_up();
  EXPECT_EQ(m_session.send(VERSION_REQUEST, true, in(LONG)), STATION_PORT_GONE);
  EXPECT_TRUE(m_shown.empty());
}

}  // namespace
