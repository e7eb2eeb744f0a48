// Opening a pseudo-terminal under a name of its own.
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "pub/pty/pty.h"
#include "pub/result.h"
#include "tests/unit/application.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/temp-folder.h"

namespace {

struct owner_st {
  std::string m_path;
  uid_t m_user;
  gid_t m_group;
  bool operator==(const owner_st&) const = default;
};

std::string g_slave_name;        // empty: the system's
std::vector<owner_st> g_owners;  // what was to be given away, and to whom

}  // namespace

// Takes the C library's place: only root may give a file away.
extern "C" int chown(const char* path, uid_t user, gid_t group) noexcept {
  g_owners.push_back({path, user, group});
  return 0;
}

// Takes the C library's place: the names that a system gives are short.
extern "C" int ptsname_r(int master, char* name, size_t size) noexcept {
  unsigned number = 0;
  if (ioctl(master, TIOCGPTN, &number) != 0) return errno;
  if (g_slave_name.empty()) {
    std::snprintf(name, size, "/dev/pts/%u", number);
  } else {
    std::snprintf(name, size, "%s", g_slave_name.c_str());
  }
  return 0;
}

namespace {

class PtyOpen : public testing::Test {
 protected:
  PtyOpen() { map_to(m_folder.path("app")); }
  ~PtyOpen() override {
    if (m_pty.m_ptm_fd > 0) std::ignore = pub_pty_close(&m_pty);
  }
  void map_to(const std::string& path) {
    ASSERT_LT(path.size(), sizeof m_pty.m_pts_mapping_name_a);
    std::copy_n(path.c_str(), path.size() + 1, m_pty.m_pts_mapping_name_a);
  }
  std::string mapping() const { return m_pty.m_pts_mapping_name_a; }
  void expect_closed() {
    EXPECT_EQ(m_pty.m_ptm_fd, -1);
    EXPECT_STREQ(m_pty.m_pts_name_a, "");
    EXPECT_FALSE(std::filesystem::is_symlink(mapping()));
  }
  termios attributes() const {
    termios result = {};
    EXPECT_EQ(tcgetattr(m_pty.m_ptm_fd, &result), 0);
    return result;
  }

  log_capture m_log;
  temp_folder m_folder;
  pub_pty_st m_pty{};
};

TEST_F(PtyOpen, Mapping_LeadsToTheSlave) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_GT(m_pty.m_ptm_fd, 0);
  EXPECT_EQ(std::filesystem::read_symlink(mapping()), m_pty.m_pts_name_a);
  EXPECT_EQ(std::string(m_pty.m_pts_name_a).substr(0, 9), "/dev/pts/");
  struct stat status = {};
  ASSERT_EQ(stat(mapping().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0660u);
  EXPECT_EQ(fcntl(m_pty.m_ptm_fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(PtyOpen, Mapping_IsGivenToTheApplicationsUserAndGroup) {
  g_owners.clear();
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_EQ(g_owners, (std::vector<owner_st>{{mapping(), 1000, 1001}}));
}

// Between two steps others can put a link of theirs, to any file, in the place of the service's.
TEST_F(PtyOpen, MappingWhereOthersMayReplaceIt_GivesTheTerminalByItsOwnName) {
  g_owners.clear();
  ASSERT_EQ(chmod(m_folder.path("").c_str(), 01777), 0);
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_EQ(g_owners, (std::vector<owner_st>{{m_pty.m_pts_name_a, 1000, 1001}}));
  struct stat status = {};
  ASSERT_EQ(stat(m_pty.m_pts_name_a, &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0660u);
}

TEST_F(PtyOpen, LongerNameBefore_LeavesNothingInTheLink) {
  std::fill_n(m_pty.m_pts_name_a, sizeof m_pty.m_pts_name_a - 1, 'x');
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  char name[64] = "";
  ASSERT_EQ(ptsname_r(m_pty.m_ptm_fd, name, sizeof name), 0);
  EXPECT_EQ(std::filesystem::read_symlink(mapping()), name);
}

TEST_F(PtyOpen, Bytes_PassBothWaysUnchanged) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  application app(mapping());
  ASSERT_TRUE(app.is_connected());
  app.send("03 04 0A 0D 11 13 1A 1C 7F FF");
  char buffer[32] = {};
  EXPECT_EQ(read(m_pty.m_ptm_fd, buffer, sizeof buffer), 10);
  EXPECT_EQ(to_hex({buffer, 10}), "03 04 0A 0D 11 13 1A 1C 7F FF");
  ASSERT_EQ(write(m_pty.m_ptm_fd, "\x03\x0A\x0D\x11\xFF", 5), 5);
  EXPECT_EQ(app.receive(5), "03 0A 0D 11 FF");
}

TEST_F(PtyOpen, Terminal_IsRaw) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  const termios raw = attributes();
  EXPECT_EQ(raw.c_iflag, 0u);
  EXPECT_EQ(raw.c_oflag & (OPOST | OLCUC | OCRNL | ONOCR | ONLRET), 0u);
  EXPECT_EQ(raw.c_oflag & ONLCR, static_cast<tcflag_t>(ONLCR));
  EXPECT_EQ(raw.c_lflag & (ISIG | ICANON | ECHO | ECHOE), 0u);
  EXPECT_EQ(raw.c_lflag & IEXTEN, static_cast<tcflag_t>(IEXTEN));
}

TEST_F(PtyOpen, StaleLink_IsReplaced) {
  std::filesystem::create_symlink("/dev/null", mapping());
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_EQ(std::filesystem::read_symlink(mapping()), m_pty.m_pts_name_a);
  EXPECT_TRUE(m_log.has("create_pts_mapping unlink(" + mapping() + ") ret_val[0]"));
  EXPECT_TRUE(m_log.has("create_pts_mapping \"" + mapping() + "\" not exists"));
}

TEST_F(PtyOpen, NoStaleLink_IsNoError) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_TRUE(m_log.has("create_pts_mapping unlink(" + mapping() + ") ret_val[-1]"));
}

TEST_F(PtyOpen, OpenRecord_IsClosedFirst) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  application app(mapping());
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_TRUE(app.sees_the_end());
}

TEST_F(PtyOpen, NonBlockingMode_IsSet) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_EQ(fcntl(m_pty.m_ptm_fd, F_GETFL) & O_NONBLOCK, 0);
  m_pty.m_nonblock_mode = 1;
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_EQ(fcntl(m_pty.m_ptm_fd, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
}

TEST_F(PtyOpen, Logs_EachStep) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  const std::string fd = std::to_string(m_pty.m_ptm_fd);
  const std::string slave = m_pty.m_pts_name_a;
  EXPECT_TRUE(m_log.has_in_a_row({"pub_pty_open()", "pub_pty_open m_ptm_fd[0]", "pub_pty_open m_ptm_fd[" + fd + "]",
                                  "create_pts_mapping()", "create_pts_mapping pts_name_ptr[" + slave + "]",
                                  "create_pts_mapping m_pts_name_a[" + slave + "] ret_val[0]"}));
  EXPECT_TRUE(m_log.has("create_pts_mapping symlink(" + slave + ", " + mapping() + ") ret_val[0]"));
  EXPECT_TRUE(m_log.has_in_a_row({"create_pts_mapping chmod(" + mapping() + ", 432) ret_val[0]",
                                  "create_pts_mapping chown(" + mapping() + ", 1000, 1001) ret_val[0]",
                                  "create_pts_mapping m_pts_mapping_name_a[" + mapping() + "] ret_val[0]",
                                  "set_ptm_attr()", "set_ptm_attr fd[" + fd + "]"}));
  EXPECT_TRUE(m_log.has_in_a_row(
      {"set_ptm_attr grantpt(" + fd + ") ret_val[0]", "set_ptm_attr unlockpt(" + fd + ") ret_val[0]",
       "set_ptm_attr fd[" + fd + "] ret_val[0]", "pub_pty_open \"" + mapping() + "\" exists",
       "pub_pty_open m_ptm_fd[" + fd + "]; m_pts_name_a[" + slave + "] m_pts_mapping_name_a[" + mapping() + "]"}));
}

TEST_F(PtyOpen, MissingFolder_FailsAndLeavesNothingOpen) {
  map_to(m_folder.path("no/app"));
  EXPECT_EQ(pub_pty_open(&m_pty), ERR_SYSTEM);
  expect_closed();
  EXPECT_TRUE(m_log.contains("sys call: symlink() failed! errno = 2"));
  EXPECT_TRUE(m_log.contains("[PTY]map /dev/pts/"));
  EXPECT_TRUE(m_log.has("create_pts_mapping m_pts_mapping_name_a[" + mapping() + "] ret_val[-118]"));
}

TEST_F(PtyOpen, FolderInTheLinksPlace_FailsAndIsLeftThere) {
  std::filesystem::create_directories(mapping() + "/content");
  EXPECT_EQ(pub_pty_open(&m_pty), ERR_SYSTEM);
  EXPECT_TRUE(std::filesystem::is_directory(mapping()));
  expect_closed();
}

TEST_F(PtyOpen, FolderBelowAFile_FailsAndLeavesNothingOpen) {
  map_to(m_folder.write("file", "") + "/app");
  EXPECT_EQ(pub_pty_open(&m_pty), ERR_SYSTEM);
  expect_closed();
}

// An open record whose link has become a folder, opened anew when the process has no descriptor left.
TEST_F(PtyOpen, NoMaster_ForgetsTheEarlierOne) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  const int master = m_pty.m_ptm_fd;
  std::filesystem::remove(mapping());
  std::filesystem::create_directory(mapping());
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none = {0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const result_code_en result = pub_pty_open(&m_pty);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(result, ERR_SYSTEM);
  EXPECT_TRUE(m_log.contains("sys call: open() failed! errno = 24"));
  expect_closed();
  EXPECT_EQ(fcntl(master, F_GETFD), -1);
}

// A tear-down on another thread may come while the record's own fields are being written.
TEST_F(PtyOpen, DeleteMapping_KnowsItsLinkByTheMasterAlone) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  std::strcpy(m_pty.m_pts_name_a, "/dev/pts/");
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), ERR_NONE);
  EXPECT_FALSE(std::filesystem::is_symlink(mapping()));
}

TEST_F(PtyOpen, DeleteMappingWithALinkElsewhere_LeavesIt) {
  ASSERT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  std::filesystem::remove(mapping());
  std::filesystem::create_symlink("/dev/null", mapping());
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), ERR_NONE);
  EXPECT_TRUE(std::filesystem::is_symlink(mapping()));
  EXPECT_TRUE(m_log.has("pub_pty_delete_mapping \"" + mapping() + "\" is another process's"));
}

TEST_F(PtyOpen, LongSlaveName_IsCutAndTheLinkIsStillItsOwn) {
  const std::string file = m_folder.write("f", "");
  ASSERT_LT(file.size(), 39u);
  const std::string cut = file.substr(0, file.size() - 1) + std::string(39 - file.size(), '/') + "f";
  g_slave_name = cut + "-and-more";
  EXPECT_EQ(pub_pty_open(&m_pty), ERR_NONE);
  EXPECT_EQ(m_pty.m_pts_name_a, cut);
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "[PTY]48 > 39"}));
  EXPECT_EQ(pub_pty_close(&m_pty), ERR_NONE);
  EXPECT_FALSE(std::filesystem::is_symlink(mapping()));
  g_slave_name.clear();
}

// For the thread sanitizer. No line is logged: the log's lock would put the threads in order.
TEST_F(PtyOpen, DeleteMappingDuringReopening_TouchesNothingUnprotected) {
  const int priority = __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
  std::atomic<bool> is_over = false;
  std::thread reader([this, &is_over] {
    for (int i = 0; i < 200; ++i) {
      std::ignore = pub_pty_open(&m_pty);
      std::ignore = pub_pty_close(&m_pty);
    }
    is_over = true;
  });
  while (!is_over) std::ignore = pub_pty_delete_mapping(&m_pty);
  reader.join();
  __android_log_set_minimum_priority(priority);
  EXPECT_EQ(pub_pty_delete_mapping(&m_pty), ERR_NONE);
}

TEST_F(PtyOpen, EmptyMapping_IsRefusedAndLeavesNothingOpen) {
  map_to("");
  EXPECT_EQ(pub_pty_open(&m_pty), ERR_ARGUMENT);
  expect_closed();
  EXPECT_TRUE(m_log.has("[PTY]0, 0, 1"));
}

TEST_F(PtyOpen, Null_IsRefused) {
  EXPECT_EQ(pub_pty_open(nullptr), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts().back(), failure_line("pty/pty", "pub_pty_open", ERR_ARGUMENT));
}

}  // namespace
