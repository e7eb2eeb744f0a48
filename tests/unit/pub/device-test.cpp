#include "pub/util/device.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <thread>

#include "pub/result.h"
#include "pub/util/io.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/pub/terminals.h"
#include "tests/unit/temp-folder.h"
#include "tests/unit/wait-for.h"

namespace {

using testing::ElementsAre;

std::chrono::milliseconds elapsed_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

class Device : public testing::Test {
 protected:
  std::size_t count_of(const testing::Matcher<const std::string&>& wanted) const {
    const auto texts = m_log.texts();
    return static_cast<std::size_t>(
        std::count_if(texts.begin(), texts.end(), [&wanted](const auto& text) { return wanted.Matches(text); }));
  }

  log_capture m_log;
  temp_folder m_folder;
};

// --- descriptor mode

class FdMode : public Device {};

TEST_F(FdMode, NonBlocking_IsSetAndOtherFlagsStay) {
  const pub_fd fd(open(m_folder.write("f", "").c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
  EXPECT_EQ(pub_util_set_fd_mode(fd.get(), true), ERR_NONE);
  EXPECT_EQ(fcntl(fd.get(), F_GETFL) & (O_NONBLOCK | O_APPEND | O_ACCMODE), O_NONBLOCK | O_APPEND | O_RDWR);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_set_fd_mode()",
                          "pub_util_set_fd_mode fd[" + std::to_string(fd.get()) + "] is_nonblock_mode[1]",
                          "pub_util_set_fd_mode return ERR_NONE"));
  EXPECT_EQ(m_log.lines()[0].m_tag, "vx-kro-pub");
}

TEST_F(FdMode, Blocking_ClearsTheFlagAndOtherFlagsStay) {
  const pub_fd fd(open(m_folder.write("f", "").c_str(), O_RDWR | O_APPEND | O_NONBLOCK | O_CLOEXEC));
  EXPECT_EQ(pub_util_set_fd_mode(fd.get(), false), ERR_NONE);
  EXPECT_EQ(fcntl(fd.get(), F_GETFL) & (O_NONBLOCK | O_APPEND | O_ACCMODE), O_APPEND | O_RDWR);
  EXPECT_TRUE(m_log.contains("is_nonblock_mode[0]"));
}

TEST_F(FdMode, DescriptorZero_IsADescriptorLikeAnyOther) {
  const int flags = fcntl(0, F_GETFL);
  ASSERT_NE(flags, -1);
  EXPECT_EQ(pub_util_set_fd_mode(0, (flags & O_NONBLOCK) != 0), ERR_NONE);
}

TEST_F(FdMode, NegativeDescriptor_IsABadArgument) {
  EXPECT_EQ(pub_util_set_fd_mode(-1, true), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_set_fd_mode()", failure_line("util/util", "pub_util_set_fd_mode", -101), "1"));
}

TEST_F(FdMode, ClosedDescriptor_IsASystemFailure) {
  EXPECT_EQ(pub_util_set_fd_mode(1000000, true), ERR_SYSTEM);
  EXPECT_TRUE(m_log.has("sys call: fcntl() failed! errno = 9"));
  EXPECT_EQ(count_of(failure_line("util/util", "pub_util_set_fd_mode", -118, "9")), 1u);
  EXPECT_FALSE(m_log.contains("ERR_NONE"));
}

// --- opening

class TryToOpen : public Device {};

TEST_F(TryToOpen, File_IsOpenedAtOnceWithItsFlags) {
  const std::string path = m_folder.write("dev", "abc");
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR, 60, 1000), ERR_NONE);
  ASSERT_GT(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
  EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_try_to_open_device()", "begin to check if can open device \"" + path + "\"",
                          "(0/60)try to open device \"" + path + "\"", "open device \"" + path + "\" successfully"));
  fd.close();
}

TEST_F(TryToOpen, MissingWithOneTry_AttemptsOnceSleepsOnceAndFails) {
  const std::string path = m_folder.path("missing");
  const auto trace = failure_line("util/util", "pub_util_try_to_open_device", -118, "2");
  const std::string fail = "open device \"" + path + "\" fail: 2 - No such file or directory";
  pub_shared_fd fd;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR, 1, 1000), ERR_SYSTEM);
  EXPECT_GE(elapsed_since(start).count(), 1000);
  EXPECT_LT(elapsed_since(start).count(), 2000);
  EXPECT_EQ(fd, 0);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_try_to_open_device()", "begin to check if can open device \"" + path + "\"",
                          "(0/1)try to open device \"" + path + "\"", trace, fail, trace, fail));
}

TEST_F(TryToOpen, MissingWithThreeTries_SleepsAfterEach) {
  const std::string path = m_folder.path("missing");
  pub_shared_fd fd;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR, 3, 20), ERR_SYSTEM);
  EXPECT_GE(elapsed_since(start).count(), 60);
  EXPECT_TRUE(m_log.has("(0/3)try to open device \"" + path + "\""));
  EXPECT_TRUE(m_log.has("(1/3)try to open device \"" + path + "\""));
  EXPECT_TRUE(m_log.has("(2/3)try to open device \"" + path + "\""));
  EXPECT_FALSE(m_log.contains("(3/3)"));
  EXPECT_EQ(m_log.count("open device \"" + path + "\" fail: 2 - No such file or directory"), 4u);
}

TEST_F(TryToOpen, DeviceThatAppearsBetweenTries_IsOpened) {
  const std::string path = m_folder.path("late");
  std::thread plug([this, &path] {
    EXPECT_TRUE(wait_for([this, &path] { return m_log.has("(2/2000)try to open device \"" + path + "\""); }));
    m_folder.write("late", "here");
  });
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR, 2000, 5), ERR_NONE);
  plug.join();
  EXPECT_GT(fd, 0);
  EXPECT_TRUE(m_log.has("open device \"" + path + "\" successfully"));
  fd.close();
}

TEST_F(TryToOpen, Folder_IsNoDevice) {
  const std::string path = m_folder.path("");
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR, 1, 0), ERR_SYSTEM);
  EXPECT_TRUE(m_log.has("open device \"" + path + "\" fail: 21 - Is a directory"));
}

TEST_F(TryToOpen, OldDescriptor_IsClosedFirst) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const pub_fd write_end(ends[1]);
  pub_shared_fd fd(ends[0]);
  EXPECT_EQ(pub_util_try_to_open_device(&fd, m_folder.path("missing").c_str(), O_RDWR, 1, 0), ERR_SYSTEM);
  EXPECT_EQ(fd, 0);
  pollfd other = {write_end.get(), POLLOUT, 0};
  EXPECT_EQ(poll(&other, 1, 0), 1);
  EXPECT_NE(other.revents & POLLERR, 0);  // nobody is left to read
}

TEST_F(TryToOpen, DescriptorZero_CountsAsFailure) {
  const std::string path = m_folder.write("dev", "abc");
  const int saved = fcntl(0, F_DUPFD_CLOEXEC, 3);
  close(0);
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR, 1, 0), ERR_SYSTEM);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);  // not left open either
  EXPECT_EQ(fd, 0);
  if (saved >= 0) {
    dup2(saved, 0);
    close(saved);
  }
}

TEST_F(TryToOpen, Terminal_DoesNotBecomeTheControllingOne) {
  const terminal_pair pair;
  const pid_t child = fork();
  if (child == 0) {
    setsid();
    pub_shared_fd fd;
    const bool is_open = pub_util_try_to_open_device(&fd, pair.slave_path(), O_RDWR, 1, 0) == ERR_NONE;
    _exit(is_open && open("/dev/tty", O_RDWR | O_CLOEXEC) < 0 && errno == ENXIO ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

// A line without a carrier blocks its opener, as this does.
TEST_F(TryToOpen, DeviceWhoseOtherSideIsAway_IsOpenedAtOnceAndBlocksThen) {
  const std::string path = m_folder.path("line");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDONLY, 1, 0), ERR_NONE);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  fd.close();
  EXPECT_EQ(pub_util_try_to_open_device(&fd, path.c_str(), O_RDWR | O_NONBLOCK, 1, 0), ERR_NONE);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
  fd.close();
}

TEST_F(TryToOpen, BadArguments_AreNamed) {
  pub_shared_fd fd;
  const auto trace = failure_line("util/util", "pub_util_try_to_open_device", -101);
  EXPECT_EQ(pub_util_try_to_open_device(nullptr, "/dev/null", O_RDWR, 1, 0), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_try_to_open_device(&fd, nullptr, O_RDWR, 1, 0), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_try_to_open_device(&fd, "", O_RDWR, 1, 0), ERR_ARGUMENT);
  const std::string entry = "pub_util_try_to_open_device()";
  EXPECT_THAT(m_log.texts(), ElementsAre(entry, trace, "1, 0, 0", entry, trace, "0, 1, 0", entry, trace, "0, 0, 1"));
}

// --- reopening

class TryToReopen : public Device {};

std::string read_all(int fd) {
  char text[64];
  const ssize_t count = read(fd, text, sizeof text);
  return count < 0 ? "failed" : std::string(text, static_cast<std::size_t>(count));
}

TEST_F(TryToReopen, OpenDescriptor_KeepsItsNumber) {
  const int number = open(m_folder.write("old", "old").c_str(), O_RDWR | O_CLOEXEC);
  pub_shared_fd fd(number);
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, m_folder.write("new", "new").c_str(), O_RDWR, 30, 1000), ERR_NONE);
  EXPECT_EQ(fd, number);
  EXPECT_EQ(read_all(number), "new");
  EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
  fd.close();
}

TEST_F(TryToReopen, WhileItTries_TheOldDeviceStaysUnderItsNumber) {
  const int number = open(m_folder.write("old", "old").c_str(), O_RDWR | O_CLOEXEC);
  pub_shared_fd fd(number);
  const std::string path = m_folder.path("late");
  std::thread plug([this, &path, &fd, number] {
    EXPECT_TRUE(wait_for([this, &path] { return m_log.has("(1/2000)try to open device \"" + path + "\""); }));
    EXPECT_EQ(fd, number);
    EXPECT_EQ(read_all(number), "old");
    m_folder.write("late", "new");
  });
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, path.c_str(), O_RDWR, 2000, 5), ERR_NONE);
  plug.join();
  EXPECT_EQ(fd, number);
  EXPECT_TRUE(m_log.has("open device \"" + path + "\" successfully"));
  fd.close();
}

// A lease makes a file what some drivers are: open for one at a time.
TEST_F(TryToReopen, DeviceOfOneOpener_IsOpenedAfterParking) {
  const std::string path = m_folder.write("dev", "device");
  const int number = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  pub_shared_fd fd(number);
  std::signal(SIGIO, SIG_IGN);
  ASSERT_EQ(fcntl(number, F_SETLEASE, F_RDLCK), 0);
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, path.c_str(), O_RDWR, 1, 0), ERR_SYSTEM);
  pub_util_park_device(&fd);
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, path.c_str(), O_RDWR, 1, 0), ERR_NONE);
  std::signal(SIGIO, SIG_DFL);
  EXPECT_EQ(fd, number);
  EXPECT_EQ(read_all(number), "device");
  fd.close();
}

// A reader neither gets anything nor comes to an end.
TEST_F(TryToReopen, Parked_NumberIsSilent) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  pub_shared_fd fd(ends[0]);
  pub_util_park_device(&fd);
  EXPECT_EQ(fd, ends[0]);
  EXPECT_EQ(pub_util_wait(fd, POLLIN, 50), 0);
  pollfd writer = {ends[1], 0, 0};
  EXPECT_EQ(poll(&writer, 1, 0), 1);  // nobody reads the pipe any more
  EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
  close(ends[1]);
  fd.close();
  pub_util_park_device(&fd);
  EXPECT_EQ(fd, 0);
  pub_util_park_device(nullptr);
  EXPECT_TRUE(m_log.has("1"));
}

TEST_F(TryToReopen, NothingOpenBefore_StoresANewNumber) {
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, m_folder.write("new", "new").c_str(), O_RDWR, 1, 0), ERR_NONE);
  ASSERT_GT(fd, 0);
  EXPECT_EQ(read_all(fd), "new");
  fd.close();
}

// A reader may still hold the number: once closed, the number could become any other file while the reader uses it. The
// caller decides when the link counts as closed.
TEST_F(TryToReopen, NoSuccess_LeavesTheOldDeviceUnderItsNumber) {
  const int number = open(m_folder.write("old", "old").c_str(), O_RDWR | O_CLOEXEC);
  pub_shared_fd fd(number);
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, m_folder.path("missing").c_str(), O_RDWR, 2, 0), ERR_SYSTEM);
  EXPECT_EQ(fd, number);
  EXPECT_EQ(read_all(number), "old");
  fd.close();
}

TEST_F(TryToReopen, NoSuccess_LeavesTheStandardInputOpen) {
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, m_folder.path("missing").c_str(), O_RDWR, 1, 0), ERR_SYSTEM);
  EXPECT_NE(fcntl(0, F_GETFD), -1);
}

TEST_F(TryToReopen, BadArguments_AreRefused) {
  pub_shared_fd fd;
  EXPECT_EQ(pub_util_try_to_reopen_device(nullptr, "/dev/null", O_RDWR, 1, 0), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, nullptr, O_RDWR, 1, 0), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_try_to_reopen_device(&fd, "", O_RDWR, 1, 0), ERR_ARGUMENT);
  EXPECT_TRUE(m_log.has("0, 0, 1"));
}

// --- serial lines

struct speed_row_st {
  std::int32_t m_asked;
  speed_t m_set;
  const char* m_name;
};

class SerialSpeed : public testing::TestWithParam<speed_row_st> {};

TEST_P(SerialSpeed, Asked_SetsTheNextRateThatExists) {
  const log_capture log;
  const terminal_pair pair;
  pub_util_set_serial_dev_attr(pair.slave(), GetParam().m_asked);
  const termios attributes = pair.attributes();
  EXPECT_EQ(cfgetispeed(&attributes), GetParam().m_set);
  EXPECT_EQ(cfgetospeed(&attributes), GetParam().m_set);
  EXPECT_THAT(log.texts(),
              ElementsAre("pub_util_set_serial_dev_attr()",
                          "convert speed " + std::to_string(GetParam().m_asked) + " -> " + GetParam().m_name));
}

INSTANTIATE_TEST_SUITE_P(UpTo115200, SerialSpeed,
                         testing::Values(speed_row_st{INT_MIN, B115200, "B115200"}, speed_row_st{0, B115200, "B115200"},
                                         speed_row_st{1200, B115200, "B115200"},
                                         speed_row_st{115199, B115200, "B115200"},
                                         speed_row_st{115200, B115200, "B115200"}));
INSTANTIATE_TEST_SUITE_P(UpTo230400, SerialSpeed,
                         testing::Values(speed_row_st{115201, B230400, "B230400"},
                                         speed_row_st{230400, B230400, "B230400"}));
INSTANTIATE_TEST_SUITE_P(UpTo460800, SerialSpeed,
                         testing::Values(speed_row_st{230401, B460800, "B460800"},
                                         speed_row_st{460800, B460800, "B460800"}));
INSTANTIATE_TEST_SUITE_P(Above, SerialSpeed,
                         testing::Values(speed_row_st{460801, B921600, "B921600"},
                                         speed_row_st{921600, B921600, "B921600"},
                                         speed_row_st{INT_MAX, B921600, "B921600"}));

class SerialLine : public Device {};

TEST_F(SerialLine, CookedTerminal_BecomesRawWithFlowControl) {
  const terminal_pair pair;
  termios before = pair.attributes();
  before.c_iflag = INLCR | ICRNL | IXON | IXOFF | IGNBRK;
  before.c_oflag = OPOST | ONLCR | OCRNL | ONLRET;
  before.c_lflag = ISIG | ICANON | ECHO | ECHOE | ECHOK | IEXTEN | TOSTOP;
  before.c_cflag &= ~CRTSCTS;
  pair.set_attributes(before);

  pub_util_set_serial_dev_attr(pair.slave(), 115200);
  const termios after = pair.attributes();
  EXPECT_EQ(after.c_iflag, static_cast<tcflag_t>(IXOFF | IGNBRK));
  EXPECT_EQ(after.c_oflag, static_cast<tcflag_t>(OPOST | ONLRET));
  EXPECT_EQ(after.c_lflag, 0u);
  EXPECT_EQ(after.c_cflag & CRTSCTS, CRTSCTS);
  EXPECT_EQ(after.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
}

TEST_F(SerialLine, BytesThroughIt_ComeOutUnchanged) {
  const terminal_pair pair;
  pub_util_set_serial_dev_attr(pair.slave(), 115200);
  const std::string sent("\r\n\x03\x04\x11\x13\x1A\x00\xFF", 9);
  ASSERT_EQ(write(pair.master(), sent.data(), sent.size()), 9);
  std::string received;
  while (received.size() < 9 && pub_util_wait(pair.slave(), POLLIN, 10000) == 1) received += read_all(pair.slave());
  EXPECT_EQ(received, sent);
  EXPECT_EQ(pub_util_wait(pair.master(), POLLIN, 0), 0);  // no echo
}

TEST_F(SerialLine, NegativeDescriptor_IsLoggedAndNothingElse) {
  pub_util_set_serial_dev_attr(-1, 115200);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_set_serial_dev_attr()",
                                         failure_line("util/util", "pub_util_set_serial_dev_attr", -101), "1"));
}

TEST_F(SerialLine, NoTerminal_IsLoggedAndTheSpeedStillConverted) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const pub_fd read_end(ends[0]);
  const pub_fd write_end(ends[1]);
  pub_util_set_serial_dev_attr(read_end.get(), 9600);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_set_serial_dev_attr()", "sys call: tcgetattr() failed! errno = 25",
                                         failure_line("util/util", "pub_util_set_serial_dev_attr", -1, "25"),
                                         "convert speed 9600 -> B115200"));
}

TEST_F(SerialLine, TerminalThatRefuses_IsLogged) {
  const terminal_pair pair;
  const failing_call refused("tcsetattr", EINVAL);
  pub_util_set_serial_dev_attr(pair.slave(), 460800);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_set_serial_dev_attr()", "convert speed 460800 -> B460800",
                                         "sys call: tcsetattr() failed! errno = 22",
                                         failure_line("util/util", "pub_util_set_serial_dev_attr", -1, "22")));
}

TEST_F(SerialLine, SpeedThatIsRefused_LeavesTheTerminalAsItIs) {
  for (const std::string call : {"cfsetispeed", "cfsetospeed"}) {
    const terminal_pair pair;
    const termios before = pair.attributes();
    m_log.clear();
    const failing_call refused(call, EINVAL);
    pub_util_set_serial_dev_attr(pair.slave(), 460800);
    EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_set_serial_dev_attr()", "convert speed 460800 -> B460800",
                                           "sys call: " + call + "() failed! errno = 22",
                                           failure_line("util/util", "pub_util_set_serial_dev_attr", -1, "22")));
    EXPECT_EQ(pair.attributes().c_lflag, before.c_lflag);
    EXPECT_EQ(pair.attributes().c_cflag, before.c_cflag);
  }
}

TEST_F(TryToReopen, NumberThatCannotBeReplaced_KeepsTheOldDevice) {
  const int number = open(m_folder.write("old", "old").c_str(), O_RDWR | O_CLOEXEC);
  pub_shared_fd fd(number);
  {
    const failing_call refused("dup3", EBUSY);
    EXPECT_EQ(pub_util_try_to_reopen_device(&fd, m_folder.write("new", "new").c_str(), O_RDWR, 1, 0), ERR_SYSTEM);
    EXPECT_TRUE(m_log.has("sys call: dup3() failed! errno = 16"));
    m_log.clear();
    pub_util_park_device(&fd);
    EXPECT_EQ(m_log.last(), "sys call: dup3() failed! errno = 16");
  }
  const failing_call none("socket", EMFILE);
  pub_util_park_device(&fd);
  EXPECT_EQ(m_log.last(), "sys call: socket() failed! errno = 24");
  EXPECT_EQ(read_all(number), "old");
  fd.close();
}

}  // namespace
