#include "amt/amt-handle/pc/handover.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

struct pair_st {
  int m_first;
  int m_second;
};

TEST(Handover, BeforeTheFirstValue_GivesZeros) {
  amt_handover<pair_st> handover;
  EXPECT_EQ(handover.latest().m_first, 0);
}

TEST(Handover, SeveralValues_GiveTheLast) {
  amt_handover<pair_st> handover;
  for (int round = 1; round <= 5; ++round) handover.publish({round, -round});
  EXPECT_EQ(handover.latest().m_first, 5);
  EXPECT_EQ(handover.latest().m_first, 5);
  handover.publish({6, -6});
  EXPECT_EQ(handover.latest().m_second, -6);
}

TEST(Handover, ValueHeldByTheReader_StaysWhileTheWriterGoesOn) {
  amt_handover<pair_st> handover;
  handover.publish({1, -1});
  const pair_st& held = handover.latest();
  for (int round = 2; round <= 5; ++round) handover.publish({round, -round});
  EXPECT_EQ(held.m_first, 1);
  EXPECT_EQ(handover.latest().m_first, 5);
}

TEST(Handover, WriterAndReaderAtOnce_NeverGiveAMixtureNorAnOlderValue) {
  constexpr int LAST = 200000;
  amt_handover<pair_st> handover;
  std::thread writer([&handover] {
    for (int round = 1; round <= LAST; ++round) handover.publish({round, -round});
  });
  int before = 0;
  while (before < LAST) {
    const pair_st value = handover.latest();
    ASSERT_EQ(value.m_first, -value.m_second);
    ASSERT_GE(value.m_first, before);
    before = value.m_first;
  }
  writer.join();
}

}  // namespace
