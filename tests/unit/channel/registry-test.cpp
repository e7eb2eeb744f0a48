#include "amt/amt-handle/context/registry.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/modem/forward.h"
#include "amt/amt-handle/modem/mode.h"
#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/version.h"
#include "amt/amt-handle/service/registrations.h"
#include "pub/result.h"
#include "tests/unit/links.h"

namespace {

result_code_en first_handler(std::uint8_t, amt_message_st*, amt_message_st*) {
  return ERR_NONE;
}

result_code_en second_handler(std::uint8_t, amt_message_st*, amt_message_st*) {
  return ERR_NONE;
}

constexpr pub_log_module_st k_module{"vx-kro-amt", "amt/some-module"};

class Registry : public context_test {
 protected:
  static amt_handle_func pc(std::size_t id) { return g_handle_context.m_handle_pc_func_a[id]; }
  static amt_handle_func app(std::size_t id) { return g_handle_context.m_handle_app_func_a[id]; }
  static bool all_empty() {
    for (std::size_t id = 0; id < AMT_HANDLER_COUNT; ++id) {
      if (pc(id) != nullptr || app(id) != nullptr) return false;
    }
    return true;
  }
};

TEST_F(Registry, RegisterPc_FreeId_IsStoredAndLogged) {
  EXPECT_EQ(amt_handle_reg_handle_func(1, 45, first_handler), 0);
  EXPECT_EQ(pc(45), first_handler);
  EXPECT_EQ(app(45), nullptr);
  EXPECT_EQ(m_log.texts(), std::vector<std::string>{"PC register command id: 45(0x2d) - AMT_VERSION_CMD"});
}

TEST_F(Registry, RegisterApp_AnyOtherLink_GoesToTheAppTable) {
  for (const std::uint8_t link : {std::uint8_t{2}, std::uint8_t{0}, std::uint8_t{255}}) {
    amt_handle_clear_context();
    m_log.clear();
    EXPECT_EQ(amt_handle_reg_handle_func(link, 9, first_handler), 0);
    EXPECT_EQ(app(9), first_handler);
    EXPECT_EQ(pc(9), nullptr);
    EXPECT_EQ(m_log.texts(), std::vector<std::string>{"APP register command id: 9(0x09) - AMT_READ_BATTERY_CMD"});
  }
}

TEST_F(Registry, Register_Id254_IsTheLastThatIsTaken) {
  EXPECT_EQ(amt_handle_reg_handle_func(1, 254, first_handler), 0);
  EXPECT_EQ(pc(254), first_handler);
  EXPECT_TRUE(m_log.has("PC register command id: 254(0xfe) - (undefined)"));
}

TEST_F(Registry, Register_Id255_IsRefusedAndChangesNothing) {
  EXPECT_EQ(amt_handle_reg_handle_func(1, 255, first_handler), -101);
  EXPECT_EQ(amt_handle_reg_handle_func(2, 255, first_handler), -101);
  EXPECT_TRUE(all_empty());
  EXPECT_TRUE(
      m_log.contains("FILE-amt/amt-handle, LINE-5676, FUNC-amt_handle_reg_handle_func(), error_code=-101, errno="));
  EXPECT_EQ(m_log.count("1"), 2u);
  EXPECT_FALSE(m_log.contains("register command id"));
}

TEST_F(Registry, Register_IdFarAbove_IsRefused) {
  EXPECT_EQ(amt_handle_reg_handle_func(1, 256, first_handler), -101);
  EXPECT_EQ(amt_handle_reg_handle_func(1, 0xFFFFFFFF, first_handler), -101);
  EXPECT_TRUE(all_empty());
}

TEST_F(Registry, Register_NullOnEmptyEntry_WarnsOnce) {
  EXPECT_EQ(amt_handle_reg_handle_func(2, 7, nullptr), 0);
  EXPECT_EQ(app(7), nullptr);
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{"WARNING !", "clean the handle function of request id: 7",
                                                     "APP register command id: 7(0x07) - AMT_READIMEI_CMD"}));
}

TEST_F(Registry, Register_NullOnFilledEntry_ClearsItWithBothWarnings) {
  std::ignore = amt_handle_reg_handle_func(1, 7, first_handler);
  m_log.clear();
  EXPECT_EQ(amt_handle_reg_handle_func(1, 7, nullptr), 0);
  EXPECT_EQ(pc(7), nullptr);
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{"WARNING !", "clean the handle function of request id: 7",
                                                     "WARNING !", "re-register the handle function of request id: 7",
                                                     "PC register command id: 7(0x07) - AMT_READIMEI_CMD"}));
}

TEST_F(Registry, Register_SameIdTwice_WarnsAndKeepsTheSecond) {
  std::ignore = amt_handle_reg_handle_func(2, 219, first_handler);
  EXPECT_FALSE(m_log.has("WARNING !"));
  EXPECT_EQ(amt_handle_reg_handle_func(2, 219, second_handler), 0);
  EXPECT_EQ(app(219), second_handler);
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "re-register the handle function of request id: 219",
                                  "APP register command id: 219(0xdb) - AMT_DAMT1_CMD"}));
}

TEST_F(Registry, Register_SameIdOnBothLinks_AreIndependent) {
  std::ignore = amt_handle_reg_handle_func(1, 45, first_handler);
  std::ignore = amt_handle_reg_handle_func(2, 45, second_handler);
  EXPECT_EQ(pc(45), first_handler);
  EXPECT_EQ(app(45), second_handler);
  EXPECT_FALSE(m_log.has("WARNING !"));
}

TEST_F(Registry, Register_UnnamedId_LogsUndefined) {
  std::ignore = amt_handle_reg_handle_func(1, 191, first_handler);
  EXPECT_TRUE(m_log.has("PC register command id: 191(0xbf) - (undefined)"));
}

TEST_F(Registry, IsBadRequest_EachFlaw_IsLoggedWithItsFlag) {
  amt_message_st good = {};
  good.m_buf_len = 1;
  amt_message_st empty = {};
  EXPECT_FALSE(amt_handle_is_bad_request({k_module, 7, "some_handler"}, 254, &good, &empty));
  EXPECT_FALSE(amt_handle_is_bad_request({k_module, 7, "some_handler"}, 0, &good, &empty));
  EXPECT_TRUE(m_log.lines().empty());

  EXPECT_TRUE(amt_handle_is_bad_request({k_module, 7, "some_handler"}, 255, &good, &empty));
  EXPECT_TRUE(amt_handle_is_bad_request({k_module, 7, "some_handler"}, 1, nullptr, &empty));
  EXPECT_TRUE(amt_handle_is_bad_request({k_module, 7, "some_handler"}, 1, &empty, &empty));
  EXPECT_TRUE(amt_handle_is_bad_request({k_module, 7, "some_handler"}, 1, &good, nullptr));
  const auto texts = m_log.texts();
  ASSERT_EQ(texts.size(), 8u);
  EXPECT_EQ(texts[0].rfind("FILE-amt/some-module, LINE-7, FUNC-some_handler(), error_code=-101, errno=", 0), 0u);
  EXPECT_EQ(texts[1], "1, 0, 0, 0");
  EXPECT_EQ(texts[3], "0, 1, 0, 0");
  EXPECT_EQ(texts[5], "0, 0, 1, 0");
  EXPECT_EQ(texts[7], "0, 0, 0, 1");
}

// The table that a start registers: every row has to make sense by itself.
TEST(Registrations, EveryRow_IsAHandlerOnAKnownLinkUnderARegistrableId) {
  ASSERT_FALSE(amt_handle_registrations().empty());
  for (const auto& row : amt_handle_registrations()) {
    EXPECT_NE(row.m_handler, nullptr) << int{row.m_request_id};
    EXPECT_LT(row.m_request_id, AMT_HANDLER_COUNT);
    EXPECT_TRUE(row.m_link == AMT_LINK_PC || row.m_link == AMT_LINK_APP) << int{row.m_request_id};
  }
}

TEST(Registrations, PcRows_ComeBeforeAppRows) {
  const auto rows = amt_handle_registrations();
  EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(),
                             [](const auto& one, const auto& other) { return one.m_link < other.m_link; }));
}

TEST(Registrations, PcRows_AreTheSeventeenInTheirOrder) {
  std::vector<int> ids;
  for (const auto& row : amt_handle_registrations()) {
    if (row.m_link == AMT_LINK_PC) ids.push_back(row.m_request_id);
  }
  EXPECT_EQ(ids, (std::vector<int>{45, 170, 172, 185, 187, 174, 176, 178, 191, 224, 226, 236, 193, 219, 240, 91, 244}));
}

// 219 twice: what it is first given is taken over by the last row.
TEST(Registrations, AppRows_AreTheHundredAndTwoInTheirOrder) {
  std::vector<int> ids;
  for (const auto& row : amt_handle_registrations()) {
    if (row.m_link == AMT_LINK_APP) ids.push_back(row.m_request_id);
  }
  EXPECT_EQ(ids,
            (std::vector<int>{1,   3,   5,   11,  13,  15,  17,  19,  21,  23,  25,  27,  39,  41,  42,  43,  47,
                              49,  51,  53,  59,  61,  63,  67,  69,  71,  73,  75,  77,  79,  81,  83,  87,  93,
                              95,  97,  101, 103, 105, 107, 109, 111, 113, 115, 117, 119, 121, 123, 125, 127, 129,
                              131, 133, 135, 149, 151, 153, 155, 201, 204, 205, 207, 209, 211, 213, 219, 221, 7,
                              9,   29,  31,  33,  35,  37,  45,  55,  57,  65,  85,  89,  91,  137, 139, 147, 170,
                              172, 185, 174, 176, 178, 180, 228, 230, 187, 232, 99,  234, 238, 240, 195, 197, 219}));
}

TEST_F(Registry, WholeTableRegistered_WarnsOfTheOneThatIsTakenOver) {
  for (const auto& row : amt_handle_registrations()) {
    EXPECT_EQ(amt_handle_reg_handle_func(row.m_link, row.m_request_id, row.m_handler), 0);
  }
  EXPECT_EQ(m_log.count("WARNING !"), 1u);
  EXPECT_TRUE(m_log.has("re-register the handle function of request id: 219"));
  EXPECT_EQ(app(219), amt_handle_damt1_cmd);
  EXPECT_EQ(app(42), amt_modem_handle_req);
  EXPECT_EQ(pc(45), handle_amt_pc_req_version);
  EXPECT_EQ(app(45), handle_amt_req_version);
}

// The application's request 219 alone is taken over by a second row, on purpose.
TEST(Registrations, NoId_IsRegisteredTwiceButTheOneThatIsTakenOver) {
  std::set<std::pair<int, int>> seen;
  for (const auto& row : amt_handle_registrations()) {
    const bool is_fresh = seen.emplace(row.m_link, row.m_request_id).second;
    EXPECT_TRUE(is_fresh || (row.m_link == AMT_LINK_APP && row.m_request_id == 219)) << int{row.m_request_id};
  }
}

// Only ids that stations have always sent without a name may go without one.
TEST(Registrations, EveryId_HasANameOrIsKnownToHaveNone) {
  const std::set<int> nameless = {191, 224, 226, 228, 230, 232, 234, 236, 244};
  for (const auto& row : amt_handle_registrations()) {
    const bool is_named = std::string_view(amt_command_name(row.m_request_id)) != "(undefined)";
    EXPECT_NE(is_named, nameless.count(row.m_request_id) != 0) << int{row.m_request_id};
  }
}

}  // namespace
