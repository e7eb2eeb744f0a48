#include "amt/amt-handle/service/usb-monitor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

// The strings of an event, in order. The event lies in a buffer of exactly its size, so that a sanitizer sees any step
// over its end.
std::vector<std::string> walk(const std::string& event) {
  const std::vector<char> exact(event.begin(), event.end());
  std::span<const char> rest(exact);
  std::vector<std::string> strings;
  while (!rest.empty()) strings.emplace_back(amt_uevent_next_string(rest));
  return strings;
}

using strings = std::vector<std::string>;

TEST(UeventWalk, KernelMessage_IsSplitAtItsTerminators) {
  EXPECT_EQ(
      walk("change@/devices/virtual/android_usb/android0\0ACTION=change\0USB_STATE=CONFIGURED\0SEQNUM=1\0"s),
      (strings{"change@/devices/virtual/android_usb/android0", "ACTION=change", "USB_STATE=CONFIGURED", "SEQNUM=1"}));
}

TEST(UeventWalk, LastStringWithoutTerminator_IsFound) {
  EXPECT_EQ(walk("ACTION=change\0USB_STATE=DISCONN"s), (strings{"ACTION=change", "USB_STATE=DISCONN"}));
}

TEST(UeventWalk, OneStringWithoutTerminator_IsTheWholeEvent) {
  EXPECT_EQ(walk("USB_STATE=CONNECTED"), (strings{"USB_STATE=CONNECTED"}));
}

TEST(UeventWalk, TwoEventsJoined_GoOnBehindTheFirst) {
  EXPECT_EQ(walk("USB_STATE=CONNECTED\0USB_STATE=CONFIGURED\0"s),
            (strings{"USB_STATE=CONNECTED", "USB_STATE=CONFIGURED"}));
}

TEST(UeventWalk, EmptyStrings_AreStringsOfLength0) {
  EXPECT_EQ(walk("\0\0USB_STATE=X\0\0"s), (strings{"", "", "USB_STATE=X", ""}));
}

TEST(UeventWalk, SingleTerminator_IsOneEmptyString) {
  EXPECT_EQ(walk("\0"s), strings{""});
}

TEST(UeventWalk, BufferFullOfNoise_EndsAtItsEnd) {
  EXPECT_EQ(walk(std::string(2048, '\xFF')), strings{std::string(2048, '\xFF')});
  EXPECT_EQ(walk(std::string(2048, '\0')).size(), 2048u);
}

TEST(UeventWalk, TerminatorAsLastByteOfAFullBuffer_LeavesNothingBehind) {
  const std::string event = std::string(2047, 'a') + '\0';
  EXPECT_EQ(walk(event), strings{std::string(2047, 'a')});
}

TEST(UeventWalk, EmptyRest_GivesAnEmptyStringAndStaysEmpty) {
  std::span<const char> rest;
  EXPECT_EQ(amt_uevent_next_string(rest), "");
  EXPECT_TRUE(rest.empty());
}

}  // namespace
