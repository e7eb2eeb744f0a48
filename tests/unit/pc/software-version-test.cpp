#include "amt/amt-handle/pc/software-version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

std::string letters(std::size_t count) {
  return std::string(count, 'v');
}

class SoftwareVersion : public context_test {
 protected:
  SoftwareVersion() { phone_root::remove_properties(); }
  static void set_brand(const std::string& incremental, const std::string& id) {
    phone_root::set_property("ro.build.customer", "ORVITO");
    phone_root::set_property("ro.build.version.incremental", incremental);
    phone_root::set_property("ro.build.display.vx.id", id);
  }
  static std::string version() {
    char buffer[101] = {};
    std::uint32_t length = 77;
    EXPECT_EQ(get_ap_sw_version(buffer, &length), 0);
    EXPECT_EQ(std::string(buffer).size(), length);
    return {buffer, length};
  }
  std::int32_t receive(const std::string& text) {
    set_message(g_handle_context.m_request, text);
    return handle_amt_sw_version_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response);
  }
};

TEST_F(SoftwareVersion, OtherBrand_IsTheDisplayIdAsItIs) {
  phone_root::set_property("ro.build.display.id", "VX-1.2 (test) release,keys");
  phone_root::set_property("ro.build.version.incremental", "7.1.5");
  EXPECT_EQ(version(), "VX-1.2 (test) release,keys");
  EXPECT_TRUE(m_log.has("get_ap_sw_version()"));
  EXPECT_TRUE(m_log.has("getted sw-module: VX-1.2 (test) release,keys"));
}

TEST_F(SoftwareVersion, NoProperties_IsOneBlank) {
  EXPECT_EQ(version(), " ");
}

TEST_F(SoftwareVersion, EmptyDisplayId_IsOneBlank) {
  phone_root::set_property("ro.build.display.id", "");
  EXPECT_EQ(version(), " ");
}

TEST_F(SoftwareVersion, LongestDisplayId_IsWhole) {
  phone_root::set_property("ro.build.display.id", letters(91));
  EXPECT_EQ(version(), letters(91));
}

TEST_F(SoftwareVersion, DisplayIdTooLongForAProperty_IsItsFirst91Characters) {
  phone_root::set_property("ro.build.display.id", letters(91) + "cut");
  EXPECT_EQ(version(), letters(91));
}

TEST_F(SoftwareVersion, CustomerBrand_IsVersionAndIdInParentheses) {
  set_brand("7.1.5", "B123");
  EXPECT_EQ(version(), "TELU 7.1.5(B123)");
}

TEST_F(SoftwareVersion, CustomerInAnyCase_IsTheBrandWhateverTheManufacturer) {
  for (const char* customer : {"ORVITO", "orvito", "OrViTo"}) {
    set_brand("1", "2");
    phone_root::set_property("ro.build.customer", customer);
    phone_root::set_property("ro.product.manufacturer", "somebody");
    EXPECT_EQ(version(), "TELU 1(2)") << customer;
  }
}

TEST_F(SoftwareVersion, ManufacturerInAnyCase_IsTheBrandWhateverTheCustomer) {
  for (const char* manufacturer : {"Orvito", "ORVITO", "orvito"}) {
    set_brand("1", "2");
    phone_root::set_property("ro.build.customer", "somebody");
    phone_root::set_property("ro.product.manufacturer", manufacturer);
    EXPECT_EQ(version(), "TELU 1(2)") << manufacturer;
  }
}

TEST_F(SoftwareVersion, NameThatOnlyHoldsTheBrand_IsAnotherBrand) {
  phone_root::set_property("ro.build.display.id", "plain");
  for (const char* customer : {"ORVITO ", "XORVITO", "ORVIT", "null", "ORVITO\n"}) {
    phone_root::set_property("ro.build.customer", customer);
    EXPECT_EQ(version(), "plain") << customer;
  }
}

TEST_F(SoftwareVersion, BrandWithoutId_EndsInABlankInParentheses) {
  phone_root::set_property("ro.build.customer", "ORVITO");
  phone_root::set_property("ro.build.version.incremental", "7.1.5");
  EXPECT_EQ(version(), "TELU 7.1.5( )");
}

TEST_F(SoftwareVersion, BrandWithoutAnything_IsBlanks) {
  phone_root::set_property("ro.build.customer", "ORVITO");
  EXPECT_EQ(version(), "TELU  ( )");
}

// Room for 94 characters after the brand word: the version of n, "(", the id of m, ")". A property holds 91 at most.
struct brand_lengths_st {
  std::size_t m_version;
  std::size_t m_id;
  const char* m_behind_version;
};

class BrandLength : public SoftwareVersion, public testing::WithParamInterface<brand_lengths_st> {};

TEST_P(BrandLength, Text_StaysWithin99Characters) {
  const auto& row = GetParam();
  set_brand(letters(row.m_version), std::string("123456789").substr(0, row.m_id));
  const std::string text = version();
  EXPECT_EQ(text, "TELU " + letters(row.m_version) + row.m_behind_version);
  EXPECT_LE(text.size(), 99u);
}

INSTANTIATE_TEST_SUITE_P(Lengths, BrandLength,
                         testing::Values(brand_lengths_st{91, 1, "(1)"},   // 99 in all
                                         brand_lengths_st{91, 2, "(12"},   // one too many: the parenthesis is lost
                                         brand_lengths_st{91, 3, "(12"},   // the id is cut
                                         brand_lengths_st{91, 9, "(12"},   //
                                         brand_lengths_st{90, 2, "(12)"},  // 99 in all
                                         brand_lengths_st{90, 3, "(123"}, brand_lengths_st{90, 4, "(123"},
                                         brand_lengths_st{85, 7, "(1234567)"}, brand_lengths_st{85, 8, "(12345678"},
                                         brand_lengths_st{84, 9, "(123456789"},
                                         brand_lengths_st{83, 9, "(123456789)"}));

TEST_F(SoftwareVersion, MissingArgument_IsRefusedWithItsFlag) {
  char buffer[101] = {};
  std::uint32_t length = 5;
  EXPECT_EQ(get_ap_sw_version(nullptr, &length), -101);
  EXPECT_EQ(m_log.last(), " 1, 0");
  EXPECT_EQ(get_ap_sw_version(buffer, nullptr), -101);
  EXPECT_EQ(m_log.last(), " 0, 1");
  EXPECT_EQ(get_ap_sw_version(nullptr, nullptr), -101);
  EXPECT_EQ(m_log.last(), " 1, 1");
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-handle", "get_ap_sw_version", -101)).Times(3));
  EXPECT_EQ(length, 5u);
}

TEST_F(SoftwareVersion, Query_IsAnswered) {
  set_brand("7.1.5", "B123");
  EXPECT_EQ(receive("AT^DSVER\r"), 0);
  EXPECT_EQ(m_pc.received(), "\r\n^DSVER: TELU 7.1.5(B123)\r\n\r\nOK\r\n");
  EXPECT_TRUE(m_log.has("handle_amt_sw_version_at()"));
}

TEST_F(SoftwareVersion, QueryAmongOtherText_IsAnswered) {
  phone_root::set_property("ro.build.display.id", "X");
  EXPECT_EQ(receive("noise AT^DSVER\r\nmore"), 0);
  EXPECT_EQ(m_pc.received(), "\r\n^DSVER: X\r\n\r\nOK\r\n");
}

TEST_F(SoftwareVersion, QueryWithTheLongestVersion_IsAnsweredWhole) {
  set_brand(letters(91), "1");
  EXPECT_EQ(receive("AT^DSVER\r"), 0);
  EXPECT_EQ(m_pc.received(), "\r\n^DSVER: TELU " + letters(91) + "(1)\r\n\r\nOK\r\n");
}

TEST_F(SoftwareVersion, VersionWithPercentSigns_IsAnsweredAsItIs) {
  phone_root::set_property("ro.build.display.id", "100%s%n");
  EXPECT_EQ(receive("AT^DSVER\r"), 0);
  EXPECT_EQ(m_pc.received(), "\r\n^DSVER: 100%s%n\r\n\r\nOK\r\n");
}

TEST_F(SoftwareVersion, OtherForms_AreNotTheQuery) {
  for (const char* text : {"AT^DSVER", "AT^DSVER?\r", "AT^DSVER\n", "at^dsver\r", "AT^DSVE\r", ""}) {
    EXPECT_EQ(receive(text), -104) << text;
  }
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(SoftwareVersion, ReplyThatCannotBeSent_IsTheSendersResult) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(receive("AT^DSVER\r"), -100);
}

}  // namespace
