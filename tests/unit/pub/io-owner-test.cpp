// Owning, opening and closing descriptors and files; commands.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "pub/util/io.h"
#include "tests/unit/pub/pipe.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/temp-folder.h"

namespace {

// --- owning and closing

TEST(Close, OpenDescriptor_IsClosedAndCleared) {
  pub_shared_fd fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int number = fd;
  fd.close();
  EXPECT_EQ(fd, 0);
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

TEST(SharedDescriptor, Taken_ClosesTheOneBefore) {
  const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
  pub_shared_fd fd(first);
  const int second = open("/dev/zero", O_RDONLY | O_CLOEXEC);
  fd.take(pub_fd(second));
  EXPECT_EQ(fd, second);
  EXPECT_EQ(fcntl(first, F_GETFD), -1);
  EXPECT_NE(fcntl(second, F_GETFD), -1);
  fd.close();
}

// The program was started without its standard output, and its place was taken.
TEST(SharedDescriptor, NumberOne_IsClosedToo) {
  std::fflush(stdout);
  const pub_fd kept(fcntl(1, F_DUPFD_CLOEXEC, 3));
  pub_shared_fd fd(1);
  fd.take(pub_fd());
  const bool is_closed = fcntl(1, F_GETFD) == -1;
  ASSERT_EQ(dup2(kept.get(), 1), 1);
  EXPECT_TRUE(is_closed);
}

TEST(SharedDescriptor, Abandoned_CountsAsClosedButStaysOpen) {
  const pub_fd number(open("/dev/null", O_RDONLY | O_CLOEXEC));
  pub_shared_fd fd(number.get());
  fd.abandon();
  EXPECT_EQ(fd, 0);
  EXPECT_NE(fcntl(number.get(), F_GETFD), -1);
}

TEST(Close, NothingOpen_StaysAsItIs) {
  for (const int value : {0, -1}) {
    pub_shared_fd fd(value);
    fd.close();
    EXPECT_EQ(fd, value);
  }
}

TEST(OwnedDescriptor, EndOfScope_ClosesUnlessReleased) {
  const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
  {
    pub_fd first(number);
    const pub_fd second(std::move(first));
    EXPECT_EQ(second.get(), number);
  }
  EXPECT_EQ(fcntl(number, F_GETFD), -1);

  const int kept = pub_fd(open("/dev/null", O_RDONLY | O_CLOEXEC)).release();
  EXPECT_GE(fcntl(kept, F_GETFD), 0);
  close(kept);
}

TEST(Open, Descriptor_IsClosedOnExec) {
  const pub_fd fd(pub_util_open("/dev/null", O_RDWR));
  EXPECT_EQ(fcntl(fd.get(), F_GETFD), FD_CLOEXEC);
}

TEST(Open, MissingFile_GivesErrno) {
  EXPECT_EQ(pub_util_open("/no/such/file", O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST(Fopen, File_IsClosedOnExec) {
  const temp_folder folder;
  const pub_file file = pub_util_fopen(folder.path("f").c_str(), "w+");
  ASSERT_TRUE(file);
  EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD), FD_CLOEXEC);
}

TEST(Fopen, MissingFileOrStrangeMode_GivesErrno) {
  EXPECT_FALSE(pub_util_fopen("/no/such/file", "r"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(pub_util_fopen("/dev/null", "r+very-long-mode"));
  EXPECT_EQ(errno, EINVAL);
}

// --- commands

TEST(RunCommand, ExitStatus_IsTheShells) {
  EXPECT_EQ(pub_util_run_command("true"), 0);
  const int status = pub_util_run_command("exit 7");
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(RunCommand, KilledShell_IsSeenInTheStatus) {
  const int status = pub_util_run_command("kill -9 $$");
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(RunCommand, UnknownCommand_Is127) {
  EXPECT_EQ(WEXITSTATUS(pub_util_run_command("no-such-command-here 2>/dev/null")), 127);
}

// Only built-in commands: a shell may clear the mask of its own accord when it starts another program.
TEST(RunCommand, BlockedSignals_AreFreeInTheCommand) {
  const signal_scope scope;
  const temp_folder folder;
  const std::string command =
      "while read -r line; do echo \"$line\"; done </proc/self/status >" + folder.path("status");
  ASSERT_EQ(pub_util_run_command(command.c_str()), 0);
  EXPECT_THAT(read_whole_file(folder.path("status")), testing::HasSubstr("SigBlk:\t0000000000000000\n"));
}

TEST(RunCommand, OpenDescriptors_DoNotReachTheCommand) {
  const pub_fd fd(pub_util_open("/dev/null", O_RDONLY));
  EXPECT_NE(pub_util_run_command(("test -e /proc/self/fd/" + std::to_string(fd.get())).c_str()), 0);
}

}  // namespace
