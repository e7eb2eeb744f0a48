#include "pub/log.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string>
#include <vector>

#include "pub/gate.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"

namespace {

bool g_is_errno_broken_by_the_library = false;

}  // namespace

// Takes the log library's place: on a phone the answer is in properties, whose reading may fail.
extern "C" int __android_log_is_loggable(int priority, const char* tag, int default_priority) {
  static const auto real =
      reinterpret_cast<decltype(&__android_log_is_loggable)>(dlsym(RTLD_NEXT, "__android_log_is_loggable"));
  const int answer = real(priority, tag, default_priority);
  if (g_is_errno_broken_by_the_library) errno = 98;
  return answer;
}

// The same for the line itself: not every library keeps errno.
extern "C" int __android_log_vprint(int priority, const char* tag, const char* format, va_list arguments) {
  static const auto real = reinterpret_cast<decltype(&__android_log_vprint)>(dlsym(RTLD_NEXT, "__android_log_vprint"));
  const int result = real(priority, tag, format, arguments);
  if (g_is_errno_broken_by_the_library) errno = 97;
  return result;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr pub_log_module_st k_log{"a-tag", "a/module"};

class Log : public testing::Test {
 protected:
  log_capture m_log;
};

TEST_F(Log, Line_HasTagAndDebugPriority) {
  LOG_LINE("%d-%s", 7, "x");
  ASSERT_EQ(m_log.lines().size(), 1u);
  EXPECT_EQ(m_log.lines()[0].m_priority, ANDROID_LOG_DEBUG);
  EXPECT_EQ(m_log.lines()[0].m_tag, "a-tag");
  EXPECT_EQ(m_log.lines()[0].m_text, "7-x");
}

TEST_F(Log, Entry_IsTheFunctionsName) {
  pub_log_entry(k_log);
  pub_log_entry({k_log, "parse_amt_cfg"});
  EXPECT_THAT(m_log.texts(), ElementsAre("TestBody()", "parse_amt_cfg()"));
}

TEST_F(Log, Warning_IsTwoLines) {
  LOG_WARNING("%s is late", "it");
  EXPECT_THAT(m_log.texts(), ElementsAre("WARNING !", "it is late"));
}

TEST_F(Log, Failure_IsTheErrorTraceLine) {
  errno = 13;
  pub_log_failure({k_log, 429}, -118);
  pub_log_failure(k_log, -1);
  pub_log_failure({k_log, "worked_for"}, -100);
  EXPECT_THAT(m_log.texts(), ElementsAre("FILE-a/module, LINE-429, FUNC-TestBody(), error_code=-118, errno=13",
                                         failure_line("a/module", "TestBody", -1, "13"),
                                         failure_line("a/module", "worked_for", -100, "13")));
}

TEST_F(Log, SysCall_NamesTheCallAndErrno) {
  errno = 2;
  pub_log_sys_call(k_log, "fopen");
  EXPECT_THAT(m_log.texts(), ElementsAre("sys call: fopen() failed! errno = 2"));
}

TEST_F(Log, BadArguments_AreTheTraceAndTheFlags) {
  errno = 0;
  EXPECT_TRUE(pub_log_bad_arguments({k_log, 231}, {true}));
  EXPECT_TRUE(pub_log_bad_arguments({k_log, 5}, {false, true, false}));
  EXPECT_TRUE(pub_log_bad_arguments({k_log, 6}, {true, true, true, true, true, true}));
  EXPECT_THAT(m_log.texts(),
              ElementsAre("FILE-a/module, LINE-231, FUNC-TestBody(), error_code=-101, errno=0", "1",
                          "FILE-a/module, LINE-5, FUNC-TestBody(), error_code=-101, errno=0", "0, 1, 0",
                          "FILE-a/module, LINE-6, FUNC-TestBody(), error_code=-101, errno=0", "1, 1, 1, 1, 1, 1"));
}

TEST_F(Log, GoodArguments_WriteNothing) {
  EXPECT_FALSE(pub_log_bad_arguments(k_log, {false, false, false}));
  EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(Log, MoreFlagsThanALineHolds_StayInTheLine) {
  pub_log_bad_arguments({k_log, 1, "f"},
                        {true,  false, false, false, false, false, false, false, false, false, false, false, false,
                         false, false, false, false, false, false, false, false, false, false, false, true});
  const std::string flags = m_log.texts().at(1);
  EXPECT_EQ(flags.substr(0, 10), "1, 0, 0, 0");
  EXPECT_LT(flags.size(), 64u);
}

TEST_F(Log, Dump_IsLabelCountAndHexadecimal) {
  const std::vector<std::uint8_t> bytes = {0x00, 0x0A, 0xBB, 0xFF};
  pub_log_dump(k_log, "handle PC req data: ", bytes);
  EXPECT_THAT(m_log.texts(), ElementsAre("handle PC req data: : (data_len = 4) -- 000ABBFF"));
}

TEST_F(Log, DumpOfNothing_HasNoDigits) {
  pub_log_dump(k_log, "x", std::span<const std::uint8_t>());
  EXPECT_THAT(m_log.texts(), ElementsAre("x: (data_len = 0) -- "));
}

std::string repeated(const char* piece, int times) {
  std::string text;
  for (int n = 0; n < times; ++n) text += piece;
  return text;
}

TEST_F(Log, DumpOf250Bytes_IsWhole) {
  pub_log_dump(k_log, "x", std::vector<std::uint8_t>(250, 0xA5));
  EXPECT_THAT(m_log.texts(), ElementsAre("x: (data_len = 250) -- " + repeated("A5", 250)));
}

TEST_F(Log, DumpOf251Bytes_IsCutAndMarked) {
  pub_log_dump(k_log, "x", std::vector<std::uint8_t>(251, 0xA5));
  EXPECT_THAT(m_log.texts(), ElementsAre("x: (data_len = 251) -- " + repeated("A5", 250) + "..."));
}

TEST_F(Log, DumpOfAFullRecord_IsCutAndMarked) {
  pub_log_dump(k_log, "x", std::vector<std::uint8_t>(4096, 0x01));
  EXPECT_THAT(m_log.texts(), ElementsAre("x: (data_len = 4096) -- " + repeated("01", 250) + "..."));
}

TEST_F(Log, LibraryThatBreaksErrno_LinesShowItAsItWas) {
  g_is_errno_broken_by_the_library = true;
  errno = 13;
  LOG_LINE("x");
  pub_log_sys_call(k_log, "open");
  pub_log_failure({k_log, 7}, -1);
  const int error = errno;
  g_is_errno_broken_by_the_library = false;
  EXPECT_EQ(error, 13);
  EXPECT_THAT(m_log.texts(), ElementsAre("x", "sys call: open() failed! errno = 13",
                                         "FILE-a/module, LINE-7, FUNC-TestBody(), error_code=-1, errno=13"));
}

void logger_that_breaks_errno(const __android_logger_data*, const char*) {
  errno = 99;
}

TEST_F(Log, EveryKind_KeepsErrno) {
  __android_log_set_logger(logger_that_breaks_errno);
  const std::vector<std::uint8_t> bytes = {1};
  errno = 17;
  LOG_LINE("x");
  EXPECT_EQ(errno, 17);
  pub_log_entry(k_log);
  EXPECT_EQ(errno, 17);
  LOG_WARNING("x");
  EXPECT_EQ(errno, 17);
  pub_log_failure(k_log, -1);
  EXPECT_EQ(errno, 17);
  pub_log_sys_call(k_log, "open");
  EXPECT_EQ(errno, 17);
  EXPECT_TRUE(pub_log_bad_arguments(k_log, {true}));
  EXPECT_EQ(errno, 17);
  pub_log_dump(k_log, "x", bytes);
  EXPECT_EQ(errno, 17);
}

int g_status_of_the_child = -1;

// Called inside the log, so that the child inherits a writer that it does not have.
void logger_that_forks(const __android_logger_data*, const char*) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(10);
    pub_gate_open(true);
    pub_gate_close();
    pub_gate_open(false);
    _exit(0);
  }
  waitpid(child, &g_status_of_the_child, 0);
}

TEST_F(Log, ForkedWithAThreadInside_ChildDoesNotWaitForIt) {
  __android_log_set_logger(logger_that_forks);
  LOG_LINE("x");
  EXPECT_EQ(g_status_of_the_child, 0);
}

TEST(LogBelowPriority, EveryKind_IsSilentAndFormatsNothing) {
  log_capture log(ANDROID_LOG_INFO);
  int formatted = 0;
  const auto count = [&formatted] { return ++formatted; };
  EXPECT_FALSE(pub_log_enabled(k_log));
  LOG_LINE("%d", count());
  LOG_WARNING("%d", count());
  pub_log_entry(k_log);
  pub_log_failure(k_log, -1);
  pub_log_sys_call(k_log, "open");
  pub_log_dump(k_log, "x", std::vector<std::uint8_t>(3, 1));
  EXPECT_EQ(formatted, 0);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(LogBelowPriority, Dump_DoesNotEvenReadTheBytes) {
  log_capture log(ANDROID_LOG_INFO);
  void* unreadable = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(unreadable, MAP_FAILED);
  pub_log_dump(k_log, "x", {static_cast<const std::uint8_t*>(unreadable), 4096});
  munmap(unreadable, 4096);
}

TEST(LogBelowPriority, BadArguments_AreStillFound) {
  log_capture log(ANDROID_LOG_INFO);
  EXPECT_TRUE(pub_log_bad_arguments(k_log, {false, true}));
  EXPECT_FALSE(pub_log_bad_arguments(k_log, {false, false}));
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
