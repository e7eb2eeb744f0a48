#include "amt/amt-handle/service/registrations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/modem/forward.h"
#include "amt/amt-handle/modem/mode.h"
#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/version.h"
#include "tests/unit/links.h"

namespace {

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

class RegisteredTable : public context_test {};

TEST_F(RegisteredTable, Whole_WarnsOfTheRowThatIsTakenOver) {
  for (const auto& row : amt_handle_registrations()) {
    EXPECT_EQ(amt_handle_reg_handle_func(row.m_link, row.m_request_id, row.m_handler), 0);
  }
  const auto& context = g_handle_context;
  EXPECT_EQ(m_log.count("WARNING !"), 1u);
  EXPECT_TRUE(m_log.has("re-register the handle function of request id: 219"));
  EXPECT_EQ(context.m_handle_app_func_a[219], amt_handle_damt1_cmd);
  EXPECT_EQ(context.m_handle_app_func_a[42], amt_modem_handle_req);
  EXPECT_EQ(context.m_handle_pc_func_a[45], handle_amt_pc_req_version);
  EXPECT_EQ(context.m_handle_app_func_a[45], handle_amt_req_version);
}

}  // namespace
