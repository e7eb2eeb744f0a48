// What a replay calls a difference, and the rules that allow one.
#include "station/capture/compare.h"

#include "tests/capture/lines.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The items in the bytes of a link.
std::vector<capture_kept_st> items_of(const byte_string& bytes, int ms = 0) {
  std::vector<capture_kept_st> kept;
  capture_items_st items([&](const capture_item_st& item) { kept.emplace_back(item); });
  for (const auto& [entry, line] : entries_of(capture_text(ms, "received", "pc", plain_hex(bytes))))
    items.take(entry, line);
  items.flush();
  return kept;
}

replay_rules_st rules_of(const std::string& text) {
  replay_rules_st rules;
  EXPECT_EQ(replay_add_rules(text, &rules), "");
  return rules;
}

std::vector<std::string> compare(const byte_string& before, const byte_string& now, const std::string& rules = "") {
  const auto one = items_of(before);
  const auto other = items_of(now);
  EXPECT_EQ(one.size(), 1u);
  EXPECT_EQ(other.size(), 1u);
  return replay_compare(one.at(0).item().m_item, other.at(0).item().m_item, rules_of(rules));
}

std::vector<std::string> compare_text(const std::string& before, const std::string& now,
                                      const std::string& rules = "") {
  return compare(bytes_from_text(before), bytes_from_text(now), rules);
}

TEST(ReplayCompare, AtomsThatDiffer_AreNamedWithBothValues) {
  EXPECT_THAT(compare(VERSION_OK, VERSION_OK), IsEmpty());
  EXPECT_THAT(compare(VERSION_OK, VERSION_TEXT),
              ElementsAre("atom 19 (module): \"64\" in the capture, \"16\" now", "atom 18 (version) is new: \"V1.0\""));
  EXPECT_THAT(compare(VERSION_OK, VERSION_ERROR),
              ElementsAre("atom 19 (module) is missing", "atom 1 (result): \"0\" in the capture, \"1\" now"));
}

TEST(ReplayCompare, OtherFrameKindOrDamage_IsADifference) {
  EXPECT_THAT(compare(VERSION_OK, TEXT_ERROR), ElementsAre("frame 46 in the capture, frame 0 now"));
  EXPECT_THAT(compare(VERSION_OK, PRE_RESPONSE), ElementsAre("they are of different kinds"));
  byte_string bad = VERSION_OK;
  bad.back() ^= 1;
  EXPECT_THAT(compare(VERSION_OK, bad), ElementsAre("one of them is damaged"));
}

TEST(ReplayCompare, Lines_DifferInTheirText) {
  EXPECT_THAT(compare_text("\r\nOK\r\n", "OK\r\n"), IsEmpty());
  EXPECT_THAT(compare_text("OK\r\n", "ERROR\r\n"), ElementsAre("the text differs"));
}

TEST(ReplayRules, AtomOfAnyFrameOrOfOne_MayDiffer) {
  const auto others = ElementsAre("atom 18 (version) is new: \"V1.0\"");
  EXPECT_THAT(compare(VERSION_OK, VERSION_TEXT, "atom 19"), others);
  EXPECT_THAT(compare(VERSION_OK, VERSION_TEXT, "# of the version\n\n  atom 46:19 \n"), others);
  EXPECT_EQ(compare(VERSION_OK, VERSION_TEXT, "atom 47:19").size(), 2u);
  EXPECT_EQ(compare(VERSION_OK, VERSION_TEXT, "atom 1").size(), 2u);
}

TEST(ReplayRules, Expression_HasToMatchBothTimes) {
  EXPECT_EQ(compare(VERSION_OK, VERSION_TEXT, "atom 46:19 (64|16)").size(), 1u);
  EXPECT_EQ(compare(VERSION_OK, VERSION_TEXT, "atom 46:19 1.").size(), 2u);
  EXPECT_EQ(compare(VERSION_OK, VERSION_TEXT, "atom 46:19 6").size(), 2u);
  EXPECT_THAT(compare_text("^DSVER: 7\r\n", "^DSVER: 12\r\n", R"(text \^DSVER: [0-9]+)"), IsEmpty());
  EXPECT_EQ(compare_text("^DSVER: 7\r\n", "^DSVER: x\r\n", R"(text \^DSVER: [0-9]+)").size(), 1u);
  EXPECT_EQ(compare_text("^DSVER: 7\r\n", "OK\r\n", R"(text \^DSVER: [0-9]+)").size(), 1u);
}

TEST(ReplayRules, SerialNumbers_MayDifferAtOnce) {
  for (const char* name : {"^DGSN: ", "^DMSN:", "^DBTADDR: ", "^DWIFIADDR: ", "^DPCBACTRL: "}) {
    EXPECT_THAT(compare_text(name + std::string("1\r\n"), name + std::string("2\r\n"), "serial-numbers"), IsEmpty());
    EXPECT_EQ(compare_text(name + std::string("1\r\n"), name + std::string("2\r\n")).size(), 1u);
  }
  EXPECT_EQ(compare_text("^DSVER: 1\r\n", "^DSVER: 2\r\n", "serial-numbers").size(), 1u);
  EXPECT_EQ(compare(VERSION_OK, VERSION_TEXT, "serial-numbers").size(), 2u);
}

TEST(ReplayRules, WrongOnes_AreExplained) {
  const auto wrong = [](const std::string& rule) {
    replay_rules_st rules;
    return replay_add_rules("atom 1\n" + rule, &rules);
  };
  for (const char* rule : {"atom", "atom x", "atom 256", "atom 1:", "atom :1", "atom 1:2:3", "atom -1"})
    EXPECT_EQ(wrong(rule), "line 2: an atom's number, or FRAME:ATOM, must follow") << rule;
  EXPECT_THAT(wrong("atom 1 ("), HasSubstr("line 2: the expression is wrong: "));
  EXPECT_THAT(wrong("text ("), HasSubstr("line 2: the expression is wrong: "));
  EXPECT_EQ(wrong("text"), "line 2: an expression must follow");
  EXPECT_EQ(wrong("late"), "line 2: milliseconds must follow");
  EXPECT_EQ(wrong("late soon"), "line 2: milliseconds must follow");
  EXPECT_EQ(wrong("time 1"), "line 2: a rule begins with atom, text, late, or is serial-numbers");
  EXPECT_EQ(wrong("serial-numbers 1"), "line 2: a rule begins with atom, text, late, or is serial-numbers");
}

// "= - + !" of the pairs: the same, did not come, is new, differs.
std::string pairs_of(const std::string& before, const std::string& now, const std::string& rules = "",
                     int late_ms = 0) {
  const auto one = items_of(bytes_from_text(before));
  const auto other = items_of(bytes_from_text(now), late_ms);
  std::string shown;
  for (const auto& pair : replay_align(one, other, rules_of(rules)))
    shown += pair.m_now == nullptr ? '-' : pair.m_before == nullptr ? '+' : pair.m_differences.empty() ? '=' : '!';
  return shown;
}

TEST(ReplayAlign, MissingAndNewItems_AreFoundWhereTheyAre) {
  EXPECT_EQ(pairs_of("A\r\nB\r\nC\r\n", "A\r\nB\r\nC\r\n"), "===");
  EXPECT_EQ(pairs_of("A\r\nB\r\nC\r\n", "A\r\nC\r\n"), "=-=");
  EXPECT_EQ(pairs_of("A\r\nC\r\n", "A\r\nB\r\nC\r\n"), "=+=");
  EXPECT_EQ(pairs_of("A\r\nB\r\nC\r\n", "A\r\nX\r\nC\r\n"), "=!=");
  EXPECT_EQ(pairs_of("A\r\n", ""), "-");
  EXPECT_EQ(pairs_of("", "A\r\nB\r\n"), "++");
  EXPECT_EQ(pairs_of("", ""), "");
}

TEST(ReplayAlign, LateAnswer_IsADifferenceWhereTheRuleSaysSo) {
  EXPECT_EQ(pairs_of("A\r\n", "A\r\n", "", 501), "=");
  EXPECT_EQ(pairs_of("A\r\n", "A\r\n", "late 500", 501), "!");
  EXPECT_EQ(pairs_of("A\r\n", "A\r\n", "late 500", 500), "=");
}

}  // namespace
