// Versions, as the application asks for them.
#include "amt/amt-handle/modem/version.h"

#include "tests/unit/modem/modem-test.h"

namespace {

std::string version_request(std::uint8_t module) {
  return "0F 00 BB 2D 09 00 EE 13 01 04 00 " + to_hex(std::string(1, static_cast<char>(module))) + " 00 00 00";
}

class AppVersion : public modem_test {
 protected:
  std::int32_t ask(std::uint8_t module) { return run(handle_amt_req_version, version_request(module)); }
};

class AppFixedVersion : public AppVersion, public testing::WithParamInterface<std::uint8_t> {};

TEST_P(AppFixedVersion, Request_IsAnsweredWithTheWholeBlock) {
  EXPECT_EQ(ask(GetParam()), ERR_NONE);
  EXPECT_EQ(to_modem(), "");
  EXPECT_EQ(to_app(), "5D 00 BB 2E 57 00 EE 13 01 04 00 " + to_hex(std::string(1, static_cast<char>(GetParam()))) +
                          " 00 00 00 EE 12 03 40 00 0D 41 6E 64 72 6F 69 64 34 2E 32 2C 32 30 31 33 2D 30 31 2D 32 31 "
                          "0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A "
                          "0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A "
                          "EE 01 01 04 00 00 00 00 00");
}

INSTANTIATE_TEST_SUITE_P(EachModule, AppFixedVersion, testing::Values(1, 16, 19, 20, 32, 64));

TEST_F(AppVersion, Layer1_IsReadFromTheModem) {
  modem_says({"\r\n^DCMR: 17,0D56312E300A0A\r\n\r\nOK\r\n"});
  EXPECT_EQ(ask(17), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DCMR=17\r");
  EXPECT_EQ(to_app(),
            "21 00 BB 2E 1B 00 EE 13 01 04 00 11 00 00 00 EE 12 03 04 00 56 31 2E 30 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"amt_get_module_name()", "version type: 0x11 - AMT_L1_MODULE"}));
  EXPECT_TRUE(m_log.has("will send at command:AT^DCMR=17\r"));
  EXPECT_TRUE(m_log.has("get version success.type:17, version:[len:4 content:V1.0]"));
}

TEST_F(AppVersion, ProtocolStack_IsReadFromTheModem) {
  modem_says_bytewise("\r\n^DCMR:18,5632\r\n\r\nOK\r\n");
  EXPECT_EQ(ask(18), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DCMR=18\r");
  EXPECT_EQ(to_app(), "1F 00 BB 2E 19 00 EE 13 01 04 00 12 00 00 00 EE 12 03 02 00 56 32 EE 01 01 04 00 00 00 00 00");
}

TEST_F(AppVersion, TextThatComesToNothing_IsAnEmptyVersion) {
  modem_says({"\r\n^DCMR: 17,\r\n\r\nOK\r\n"});
  EXPECT_EQ(ask(17), ERR_NONE);
  EXPECT_EQ(to_app(), "1D 00 BB 2E 17 00 EE 13 01 04 00 11 00 00 00 EE 12 03 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(AppVersion, LongestValue_IsAnswered) {
  modem_says({"\r\n^DCMR: 17," + std::string(405, '1') + "\r\n\r\nOK\r\n"});
  EXPECT_EQ(ask(17), ERR_NONE);
  EXPECT_EQ(m_app.received().size(), 6u + 9u + 5u + 202u + 9u);
}

struct version_failure_row {
  const char* m_name;
  std::string m_answer;
};

class AppVersionFailure : public AppVersion, public testing::WithParamInterface<version_failure_row> {};

TEST_P(AppVersionFailure, OfTheModem_SendsNothing) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(ask(18), ERR_FAIL);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_FAIL, "get version failure for type: 0x12"));
  EXPECT_EQ(to_app(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Each, AppVersionFailure,
    testing::Values(version_failure_row{"OkOnly", "\r\nOK\r\n"}, version_failure_row{"Error", "\r\nERROR\r\n"},
                    version_failure_row{"Cme", "\r\n+CME ERROR: 3\r\n"},
                    version_failure_row{"Cms", "\r\n+CMS ERROR: 3\r\n"},
                    version_failure_row{"NoComma", "\r\n^DCMR: 18\r\n\r\nOK\r\n"},
                    version_failure_row{"EmptyValue", "\r\n^DCMR: \r\nOK\r\n"},
                    version_failure_row{"TooLongValue", "\r\n^DCMR: 17," + std::string(406, '1') + "\r\n\r\nOK\r\n"}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(AppVersion, ValueWithoutAComma_IsShown) {
  modem_says({"\r\n^DCMR: 1700\r\n\r\nOK\r\n"});
  EXPECT_EQ(ask(17), ERR_FAIL);
  EXPECT_TRUE(has_failure("get_l1_hls_version", ERR_FAIL, "DCMR-query's result[1700] is invalid"));
}

TEST_F(AppVersion, EmptyValue_IsABadArgument) {
  modem_says({"\r\n^DCMR: \r\nOK\r\n"});
  EXPECT_EQ(ask(17), ERR_FAIL);
  EXPECT_TRUE(has_failure("get_l1_hls_version", ERR_ARGUMENT, "0, 1, 0, 0"));
}

TEST_F(AppVersion, UnknownModule_IsRefused) {
  EXPECT_EQ(ask(2), ERR_FAIL);
  EXPECT_TRUE(m_log.has("version type: 0x02 - (undefined)"));
  EXPECT_TRUE(has_failure("handle_amt_req_version", ERR_FAIL, "unknown version type: 0x02"));
  EXPECT_EQ(to_modem() + to_app(), "");
}

TEST_F(AppVersion, NoModuleAtom_IsTheUnknownModuleZero) {
  EXPECT_EQ(run(handle_amt_req_version, "06 00 BB 2D 00 00"), ERR_FAIL);
  EXPECT_TRUE(m_log.has("unknown version type: 0x00"));
}

TEST_F(AppVersion, BadArguments_AreRefused) {
  expect_refusals(handle_amt_req_version, "handle_amt_req_version");
}

TEST_F(AppVersion, NoModem_IsRefusedForFixedVersionsToo) {
  expect_refusal_without_modem(handle_amt_req_version);
  EXPECT_EQ(ask(64), ERR_NO_MODEM);
}

TEST_F(AppVersion, ModemsPartWithAnotherModule_IsRefused) {
  auto& context = g_handle_context;
  set_message(context.m_request, from_hex(version_request(16)));
  EXPECT_EQ(handle_amt_req_l1_hls_version(2, 16, &context.m_request, &context.m_response), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_ARGUMENT, "0, module_en:16, 0, 0, 0"));
  EXPECT_EQ(handle_amt_req_l1_hls_version(255, 17, nullptr, nullptr), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_ARGUMENT, "1, module_en:17, 1, 0, 1"));
  EXPECT_EQ(to_modem(), "");
}

TEST_F(AppVersion, ModemsPartWithABadArgument_IsRefused) {
  auto& request = g_handle_context.m_request;
  auto& response = g_handle_context.m_response;
  const auto part = handle_amt_req_l1_hls_version;
  set_message(request, "x");
  EXPECT_EQ(part(255, 17, &request, &response), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_ARGUMENT, "1, module_en:17, 0, 0, 0"));
  EXPECT_EQ(part(AMT_LINK_APP, 17, nullptr, &response), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_ARGUMENT, "0, module_en:17, 1, 0, 0"));
  EXPECT_EQ(part(AMT_LINK_APP, 17, &request, nullptr), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_ARGUMENT, "0, module_en:17, 0, 0, 1"));
  request.m_buf_len = 0;
  EXPECT_EQ(part(AMT_LINK_APP, 18, &request, &response), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("handle_amt_req_l1_hls_version", ERR_ARGUMENT, "0, module_en:18, 0, 1, 0"));
  EXPECT_EQ(to_modem() + to_app(), "");
}

TEST(ModuleName, EveryCode_HasItsName) {
  EXPECT_STREQ(amt_get_module_name(1), "AMT_PRODUCT_MODULE");
  EXPECT_STREQ(amt_get_module_name(16), "AMT_SOFTWARE_MODULE");
  EXPECT_STREQ(amt_get_module_name(17), "AMT_L1_MODULE");
  EXPECT_STREQ(amt_get_module_name(18), "AMT_HLS_MODULE");
  EXPECT_STREQ(amt_get_module_name(19), "AMT_PLATFORM_MODULE");
  EXPECT_STREQ(amt_get_module_name(20), "AMT_APP_MODULE");
  EXPECT_STREQ(amt_get_module_name(32), "AMT_HARDWARE_MODULE");
  EXPECT_STREQ(amt_get_module_name(64), "AMT_WHOLE_MODULE");
  for (const std::uint32_t code : {0u, 2u, 15u, 21u, 63u, 65u, 256u, 0xFFFFFFFFu}) {
    EXPECT_STREQ(amt_get_module_name(code), "(undefined)") << code;
  }
}

}  // namespace
