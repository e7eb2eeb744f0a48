// The item files of a phone whose file system is full, or whose service is killed while it makes or completes one: a
// file is whole, as it was, or not there.
#include <random>
#include <thread>
#include <vector>

#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

constexpr char PRODUCT[] = "/amt/product.txt";

// Request 230 for the first station, and its answers.
std::string write_item(char result) {
  return frame(230, "EE 27 01 0400 01000000  EE 24 01 0400 0" + std::string(1, result) + "000000");
}
const std::string WRITTEN = result_frame(231, "00000000");
const std::string REFUSED = result_frame(231, "0A000000");

// All 36 items, of which these are the first.
std::string product(std::string items) {
  while (items.size() < 72) items += "0\n";
  return items;
}

class FullItems : public testing::Test {
 protected:
  // One page for all the records, taken by something else.
  void start_full(const std::string& before) {
    handset::phone_options options = platform();
    options.cards = {{"/amt", 4}};
    m_phone = std::make_unique<handset::phone>(std::move(options));
    start_app_serving(*m_phone);
    ASSERT_EQ(shell(before + "head -c 4096 /dev/zero >/amt/other"), "");
  }
  std::string shell(const std::string& script) {
    const auto result = m_phone->exec({"/bin/sh", "-c", script});
    return result.out + result.err;
  }

  std::unique_ptr<handset::phone> m_phone;
};

TEST_F(FullItems, FileIsMissing_NoneIsMadeUntilThereIsRoom) {
  start_full("");
  expect_answer(*m_phone, write_item('2'), REFUSED);
  expect_log(*m_phone, "write file(/amt/product.txt) failure. errorr: 28 - No space left on device");
  expect_log(*m_phone, "Save fail: init result file error");
  EXPECT_EQ(shell("ls /amt"), "BT\nWIFI\nother\n");
  ASSERT_EQ(shell("rm /amt/other"), "");
  expect_answer(*m_phone, write_item('2'), WRITTEN);
  EXPECT_EQ(shell("cat /amt/product.txt"), product("2\n"));
}

TEST_F(FullItems, FileIsEmpty_StaysSoUntilThereIsRoom) {
  start_full(": >/amt/product.txt; ");
  expect_answer(*m_phone, write_item('1'), REFUSED);
  EXPECT_EQ(shell("ls /amt; cat /amt/product.txt"), "BT\nWIFI\nother\nproduct.txt\n");
  ASSERT_EQ(shell("rm /amt/other"), "");
  expect_answer(*m_phone, write_item('1'), WRITTEN);
  EXPECT_EQ(shell("cat /amt/product.txt"), product("1\n"));
}

constexpr int PHONES = 4;
constexpr int LIVES = 10;
constexpr int SAVE_US = 220'000;   // a save's duration, all of it but some hundred microseconds waits and flushes
constexpr int REPLACE_US = 3'000;  // in which the file is made or completed

struct kill_row {
  const char* m_name;
  const char* m_before;  // the file in front of the request; null: none
};

void play_killed(const kill_row& row, unsigned seed) {
  std::mt19937 random(seed);
  handset::phone phone(platform());
  for (int life = 0; life < LIVES; ++life) {
    phone.remove(PRODUCT);
    if (row.m_before != nullptr) phone.write_file(PRODUCT, row.m_before);
    phone.unplug_at();
    phone.plug_at();
    ASSERT_NO_FATAL_FAILURE(start_app_serving(phone));
    const bool is_early = random() % 2 == 0;
    const std::chrono::microseconds moment(random() % (is_early ? REPLACE_US : SAVE_US));
    ASSERT_TRUE(phone.app().write_all(write_item('1')));
    std::this_thread::sleep_for(moment);  // this waits for nothing: it chooses the moment of the kill
    phone.send_signal(SIGKILL);
    ASSERT_EQ(phone.wait_exit(), handset::killed(SIGKILL));
    const auto found = phone.read_file(PRODUCT);
    if (!found.has_value()) {
      ASSERT_EQ(row.m_before, nullptr);
      continue;
    }
    const std::string before = row.m_before == nullptr ? "" : row.m_before;
    const std::string rest = before.size() < 2 ? "" : before.substr(2);
    ASSERT_TRUE((row.m_before != nullptr && *found == before) ||
                *found == product((before.empty() ? "0\n" : before.substr(0, 2)) + rest) ||
                *found == product("1\n" + rest))
        << "killed " << moment.count() << " us after the request: \"" << *found << "\"";
  }
}

class KilledItems : public testing::TestWithParam<kill_row> {};

TEST_P(KilledItems, AtARandomMomentOfASave_FileIsWholeOrAsItWas) {
  std::vector<std::thread> players;
  for (int index = 0; index < PHONES; ++index) {
    const unsigned seed = std::random_device{}();
    players.emplace_back([seed] { play_killed(GetParam(), seed); });
  }
  for (auto& player : players) player.join();
}

INSTANTIATE_TEST_SUITE_P(Files, KilledItems,
                         testing::Values(kill_row{"Missing", nullptr}, kill_row{"Empty", ""},
                                         kill_row{"Short", "2\n2\n1\n"}),
                         [](const auto& row) { return std::string(row.param.m_name); });

}  // namespace
