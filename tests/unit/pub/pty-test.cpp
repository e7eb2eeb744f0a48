#include "pub/pty/pty.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "pub/result.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::ElementsAre;

// The mapping's name has room for 27 characters, so the tests work inside their folder.
class Pty : public testing::Test {
 protected:
  Pty() : m_before(std::filesystem::current_path()) {
    std::filesystem::current_path(m_folder.path(""));
    m_pty.m_ptm_fd.take(pub_fd(-1));
    std::strcpy(m_pty.m_pts_mapping_name_a, "map");
  }
  ~Pty() override { std::filesystem::current_path(m_before); }

  void make_link() { std::filesystem::create_symlink("/dev/null", "map"); }

  log_capture m_log;
  temp_folder m_folder;
  std::filesystem::path m_before;
  pub_pty_st m_pty = {};
};

TEST_F(Pty, CloseOpenRecord_ClosesTheMasterAndRemovesTheLink) {
  make_link();
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  m_pty.m_ptm_fd.take(pub_fd(master));
  std::strcpy(m_pty.m_pts_name_a, "/dev/pts/7");
  EXPECT_EQ(pub_pty_close(&m_pty), 0);
  EXPECT_EQ(m_pty.m_ptm_fd, -1);
  EXPECT_EQ(std::string(m_pty.m_pts_name_a, 40), std::string(40, '\0'));
  EXPECT_STREQ(m_pty.m_pts_mapping_name_a, "map");
  EXPECT_EQ(fcntl(master, F_GETFD), -1);
  EXPECT_FALSE(std::filesystem::is_symlink("map"));
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_close()", "pub_pty_delete_mapping()",
                                         "pub_pty_delete_mapping unlink(map) ret_val[0]",
                                         "pub_pty_close pub_pty_delete_mapping ret_val[0]"));
  EXPECT_EQ(m_log.lines()[0].m_tag, "vx-kro-pub");
}

TEST_F(Pty, CloseClosedRecord_IsMinusOneAndChangesNothing) {
  make_link();
  std::strcpy(m_pty.m_pts_name_a, "/dev/pts/7");
  EXPECT_EQ(pub_pty_close(&m_pty), -1);
  EXPECT_EQ(m_pty.m_ptm_fd, -1);
  EXPECT_STREQ(m_pty.m_pts_name_a, "/dev/pts/7");
  EXPECT_TRUE(std::filesystem::is_symlink("map"));
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_close()", failure_line("pty/pty", "pub_pty_close", -101), "0, 1"));
}

TEST_F(Pty, CloseNull_IsMinusOne) {
  EXPECT_EQ(pub_pty_close(nullptr), -1);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_close()", failure_line("pty/pty", "pub_pty_close", -101), "1, 0"));
}

// What a tear-down meets when the platform set-up never ran: a record of zeros.
TEST_F(Pty, CloseFreshRecord_SucceedsAndLeavesDescriptorZero) {
  const int flags = fcntl(0, F_GETFD);
  m_pty.m_ptm_fd.take(pub_fd(0));
  m_pty.m_pts_mapping_name_a[0] = '\0';
  EXPECT_EQ(pub_pty_close(&m_pty), 0);
  EXPECT_EQ(m_pty.m_ptm_fd, -1);
  EXPECT_EQ(fcntl(0, F_GETFD), flags);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_close()", "pub_pty_delete_mapping()", "WARNING !",
                                         "pub_pty_delete_mapping \"\" does not exist",
                                         "pub_pty_close pub_pty_delete_mapping ret_val[0]"));
}

TEST_F(Pty, CloseWithALinkThatStays_LeavesTheMasterOpen) {
  std::filesystem::create_directory("map");
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  m_pty.m_ptm_fd.take(pub_fd(master));
  EXPECT_EQ(pub_pty_close(&m_pty), ERR_SYSTEM);
  EXPECT_EQ(m_pty.m_ptm_fd, master);
  EXPECT_GE(fcntl(master, F_GETFD), 0);
  EXPECT_EQ(m_log.texts().back(), "pub_pty_close pub_pty_delete_mapping ret_val[-118]");
  close(master);
}

TEST_F(Pty, DeleteMapping_RemovesTheLinkAndNotItsTarget) {
  std::filesystem::create_symlink(m_folder.write("target", "x"), "map");
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), 0);
  EXPECT_FALSE(std::filesystem::is_symlink("map"));
  EXPECT_TRUE(std::filesystem::exists("target"));
}

// What is left when the terminal went before its link, or when the link was made to a name that leads nowhere.
TEST_F(Pty, DeleteMappingThatLeadsNowhere_RemovesTheLink) {
  std::filesystem::create_symlink("/dev/pts/no-such", "map");
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), 0);
  EXPECT_FALSE(std::filesystem::is_symlink("map"));
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_delete_mapping()", "pub_pty_delete_mapping unlink(map) ret_val[0]"));
}

TEST_F(Pty, DeleteMappingThatIsMissing_IsAWarning) {
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), 0);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_pty_delete_mapping()", "WARNING !", "pub_pty_delete_mapping \"map\" does not exist"));
}

TEST_F(Pty, DeleteMappingThatCannotBeRemoved_IsASystemFailure) {
  std::filesystem::create_directory("map");
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), ERR_SYSTEM);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_delete_mapping()", "pub_pty_delete_mapping unlink(map) ret_val[-1]",
                                         "sys call: unlink() failed! errno = 21",
                                         failure_line("pty/pty", "pub_pty_delete_mapping", -1, "21")));
}

TEST_F(Pty, DeleteMappingBelowAFile_IsASystemFailure) {
  m_folder.write("file", "");
  std::strcpy(m_pty.m_pts_mapping_name_a, "file/map");
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), ERR_SYSTEM);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_pty_delete_mapping()", "pub_pty_delete_mapping unlink(file/map) ret_val[-1]",
                          "sys call: unlink() failed! errno = 20",
                          failure_line("pty/pty", "pub_pty_delete_mapping", -1, "20")));
}

TEST_F(Pty, DeleteMappingOfNull_IsABadArgument) {
  EXPECT_EQ(pub_pty_delete_mapping(nullptr), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_pty_delete_mapping()",
                                         failure_line("pty/pty", "pub_pty_delete_mapping", -101), "[PTY]1"));
}

}  // namespace
