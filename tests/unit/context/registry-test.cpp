#include "amt/amt-handle/context/registry.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

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

// The pre-response of a row on the PC link: its sender follows the fourth argument, also when the row is taken over.
TEST_F(Registry, RegisterPc_PreResponse_FollowsTheFourthArgument) {
  using enum amt_pre_response_en;
  const auto& pre_response = g_handle_context.m_pc_pre_response_a;
  std::ignore = amt_handle_reg_handle_func(1, 45, first_handler, BY_HANDLER);
  EXPECT_EQ(pre_response[45], BY_HANDLER);
  std::ignore = amt_handle_reg_handle_func(1, 45, second_handler);
  EXPECT_EQ(pre_response[45], BY_DISPATCHER);
  std::ignore = amt_handle_reg_handle_func(1, 46, first_handler);
  EXPECT_EQ(pre_response[46], BY_DISPATCHER);
}

TEST_F(Registry, RegisterApp_PreResponse_LeavesThatOfThePcAlone) {
  using enum amt_pre_response_en;
  std::ignore = amt_handle_reg_handle_func(1, 45, first_handler, BY_HANDLER);
  std::ignore = amt_handle_reg_handle_func(2, 45, second_handler, BY_DISPATCHER);
  EXPECT_EQ(g_handle_context.m_pc_pre_response_a[45], BY_HANDLER);
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

}  // namespace
