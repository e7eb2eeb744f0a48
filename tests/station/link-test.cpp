#include "station/wire/link.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include "tests/station/phone-line.h"

namespace {

using testing::HasSubstr;

station_time in(int milliseconds) {
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

constexpr int LONG = 10000;  // for what must come
constexpr int SHORT = 30;    // for what must not

TEST(LinkOpen, NoSuchPath_IsNoPort) {
  station_link_st link;
  EXPECT_EQ(link.open("/dev/there-is-no-such-port"), STATION_NO_PORT);
  EXPECT_EQ(link.error(), "/dev/there-is-no-such-port: No such file or directory");
}

TEST(LinkOpen, NoTerminal_IsNoPort) {
  station_link_st link;
  EXPECT_EQ(link.open("/dev/null"), STATION_NO_PORT);
  EXPECT_EQ(link.error(), "/dev/null: not a terminal");
}

TEST(LinkOpen, Folder_IsNoPort) {
  station_link_st link;
  EXPECT_EQ(link.open("/dev"), STATION_NO_PORT);
}

TEST(LinkOpen, SecondStation_IsPortInUseUntilTheFirstCloses) {
  phone_line_st phone;
  station_link_st first;
  station_link_st second;
  ASSERT_EQ(first.open(phone.path()), STATION_OK);
  EXPECT_EQ(second.open(phone.path()), STATION_PORT_IN_USE);
  EXPECT_THAT(second.error(), HasSubstr("another program uses the port"));
  first.close();
  EXPECT_EQ(second.open(phone.path()), STATION_OK);
}

TEST(LinkOpen, Port_IsExclusiveUntilClosed) {
  phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  EXPECT_TRUE(phone.is_exclusive());
  link.close();
  EXPECT_FALSE(phone.is_exclusive());
}

TEST(LinkOpen, RefusedStation_LeavesTheOthersMark) {
  phone_line_st phone;
  station_link_st first;
  ASSERT_EQ(first.open(phone.path()), STATION_OK);
  { EXPECT_EQ(station_link_st().open(phone.path()), STATION_PORT_IN_USE); }
  EXPECT_TRUE(phone.is_exclusive());
}

TEST(LinkOpen, Line_IsRawAtTheGivenSpeedAndStaysRaw) {
  phone_line_st phone;
  termios cooked = phone.settings();
  cooked.c_lflag |= ECHO | ICANON | ISIG;
  cooked.c_oflag |= OPOST;
  phone.set(cooked);
  {
    station_link_st link;
    ASSERT_EQ(link.open(phone.path(), 230400), STATION_OK);
  }
  const termios line = phone.settings();
  EXPECT_EQ(line.c_lflag & (ECHO | ICANON | ISIG), 0U);
  EXPECT_EQ(line.c_oflag & OPOST, 0U);
  EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B230400));
}

TEST(LinkOpen, Descriptor_IsClosedOnExec) {
  phone_line_st phone;
  const int before = ::dup(0);  // the lowest free number is the next one that is opened
  ::close(before);
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  EXPECT_EQ(::fcntl(before, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  EXPECT_EQ(::fcntl(before, F_GETFL) & (O_NONBLOCK | O_ACCMODE), O_NONBLOCK | O_RDWR);
}

TEST(LinkBaud, OnlySerialSpeeds_AreSpeeds) {
  EXPECT_TRUE(station_is_baud(115200));
  EXPECT_FALSE(station_is_baud(0));
  EXPECT_FALSE(station_is_baud(115201));
}

TEST(LinkTransfer, BytesOfEveryValue_ArriveUnchangedBothWays) {
  phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  byte_string all(256);
  for (std::size_t n = 0; n < all.size(); ++n) all[n] = static_cast<std::uint8_t>(n);

  EXPECT_EQ(link.write_all(all, in(LONG)), STATION_OK);
  EXPECT_EQ(phone.receive(all.size()), all);

  phone.send(all);
  byte_string got;
  while (got.size() < all.size()) {
    byte_string room(100);
    std::size_t count = 0;
    ASSERT_EQ(link.read_some(room, in(LONG), &count), STATION_OK);
    got.insert(got.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(count));
  }
  EXPECT_EQ(got, all);
}

TEST(LinkDeadline, SilentPhone_EndsTheRead) {
  phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  byte_string room(16);
  std::size_t count = 99;
  EXPECT_EQ(link.read_some(room, in(SHORT), &count), STATION_NO_ANSWER);
  EXPECT_EQ(count, 0U);
}

TEST(LinkDeadline, PhoneThatTakesNothing_EndsTheWrite) {
  phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  EXPECT_EQ(link.write_all(byte_string(1 << 20), in(SHORT)), STATION_NO_ANSWER);
  EXPECT_THAT(link.error(), HasSubstr("the port did not take the last "));
}

TEST(LinkGone, PhoneHangsUp_EndsReadAndWriteWithAClearMessage) {
  phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  phone.hang_up();
  byte_string room(16);
  std::size_t count = 0;
  EXPECT_EQ(link.read_some(room, in(LONG), &count), STATION_PORT_GONE);
  EXPECT_THAT(link.error(), HasSubstr("the port went away"));
  EXPECT_EQ(link.write_all(room, in(LONG)), STATION_PORT_GONE);
  EXPECT_THAT(link.error(), HasSubstr("the port went away"));
}

TEST(LinkStop, ReadableStopDescriptor_EndsTheWait) {
  phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  const int stop = ::eventfd(1, EFD_CLOEXEC);
  link.set_stop_fd(stop);
  byte_string room(16);
  std::size_t count = 0;
  EXPECT_EQ(link.read_some(room, in(LONG), &count), STATION_INTERRUPTED);
  ::close(stop);
}

}  // namespace
