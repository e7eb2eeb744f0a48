// The program `handset` from outside: what it prints, how it ends, and what it leaves on the disk.
#include "tests/handset-self/program-child.h"

using namespace handset_self;

namespace {

TEST(ProgramExec, Status_IsTheCommands) {
  EXPECT_EQ(run({HANDSET, "exec", "--", "sh", "-c", "exit 9"}).status, exited(9));
  EXPECT_EQ(run({HANDSET, "exec", "--", "sh", "-c", "kill -9 $$"}).status, exited(128 + 9));
  EXPECT_EQ(run({HANDSET, "exec", "--", "no-such-command"}).status, exited(127));
  EXPECT_EQ(run({HANDSET, "exec"}).status, exited(2));
}

TEST(ProgramExec, ProgramOfTheBuildTree_RunsAtItsPlace) {
  const auto result = run({HANDSET, "exec", STAND_IN, "caps"});
  EXPECT_THAT(result.output, HasSubstr("uid 1000 gid 1001\n"));
  EXPECT_EQ(result.status, exited(0));
}

TEST(ProgramExec, BoundFolder_IsWritable) {
  std::string name = testing::TempDir() + "bound-XXXXXX";
  ASSERT_NE(::mkdtemp(name.data()), nullptr);
  EXPECT_EQ(run({HANDSET, "exec", "--bind", name, "--", "touch", name + "/made"}).status, exited(0));
  EXPECT_TRUE(fs::exists(name + "/made"));
  EXPECT_EQ(run({HANDSET, "exec", "--ro-bind", name, "--", "touch", name + "/not"}).status, exited(1));
  fs::remove_all(name);
}

TEST(ProgramExec, Killed_TakesEverythingAlong) {
  child program({HANDSET, "exec", "--", "sh", "-c", "setsid sleep 1000 & echo ready; exec sleep 1000"});
  ASSERT_EQ(program.read_until("ready\n"), "ready\n");
  program.send_signal(SIGKILL);
  EXPECT_EQ(program.wait(), killed(SIGKILL));
  EXPECT_TRUE(program.abandoned());  // its pipe has no holder left
}

TEST(ProgramExec, KilledOnesTree_IsRemovedByTheNext) {
  // A folder of its own: the phones of other tests come and go in the common one.
  const std::string folder = testing::TempDir() + "killed-" + std::to_string(::getpid());
  ::mkdir(folder.c_str(), 0777);
  const std::string own = "TMPDIR=" + folder;
  const std::string trees = "ls -d " + folder + "/handset-*/phone-* 2>/dev/null | wc -l";
  child program({"env", own, HANDSET, "exec", "--", "sh", "-c", "echo ready; exec sleep 1000"});
  ASSERT_EQ(program.read_until("ready\n"), "ready\n");
  program.send_signal(SIGKILL);
  program.wait();
  ASSERT_TRUE(program.abandoned());
  EXPECT_EQ(run({"sh", "-c", trees}).output, "1\n");
  EXPECT_EQ(run({"env", own, HANDSET, "exec", "true"}).status, exited(0));
  EXPECT_EQ(run({"sh", "-c", trees}).output, "0\n");
  run({"rm", "-rf", folder});
}

TEST(ProgramExec, Interrupted_EndsWithItsStatusAndNothingLeft) {
  child program({HANDSET, "exec", "--", "sh", "-c", "echo ready; exec sleep 1000"});
  ASSERT_EQ(program.read_until("ready\n"), "ready\n");
  program.send_signal(SIGINT);
  EXPECT_EQ(program.wait(), exited(128 + SIGINT));
  EXPECT_TRUE(program.abandoned());
}

TEST(ProgramExec, OrdinaryUser_SeesTheSamePhone) {
  if (::geteuid() != 0) GTEST_SKIP() << "this is an ordinary user already";
  // nobody: may it reach the program at all?
  const words as_nobody = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  words probe = as_nobody;
  probe.insert(probe.end(), {"test", "-x", HANDSET});
  if (run(probe).status != exited(0)) GTEST_SKIP() << "the build tree is closed to other users";
  words command = as_nobody;
  command.insert(command.end(), {HANDSET, "exec", STAND_IN, "caps"});
  const auto result = run(command);
  EXPECT_THAT(result.output, HasSubstr("CapEff:\t0000000000000000\n"));
  EXPECT_THAT(result.output, HasSubstr("uid 1000 gid 1001\n"));
  EXPECT_EQ(result.status, exited(0));
}

TEST(ProgramSandbox, NoBubblewrap_IsReported) {
  child program({HANDSET, "exec", "true"}, "/nowhere");
  EXPECT_THAT(program.rest(), HasSubstr("bubblewrap is not installed"));
  EXPECT_EQ(program.wait(), exited(3));
}

TEST(ProgramSandbox, Refused_ReportsBubblewrapsMessage) {
  std::string folder = testing::TempDir() + "bin-XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  std::ofstream(folder + "/bwrap") << "#!/bin/sh\necho 'bwrap: No permissions to create new namespace' >&2\nexit 1\n";
  fs::permissions(folder + "/bwrap", fs::perms::owner_all);
  child program({HANDSET, "exec", "true"}, folder + ":/usr/bin:/bin");
  EXPECT_THAT(program.rest(),
              HasSubstr("no sandbox can be made here\nbwrap: No permissions to create new namespace\n"));
  EXPECT_EQ(program.wait(), exited(3));
  fs::remove_all(folder);
}

// A shell in the service's place prints what is mounted.
std::string cards_of_phone(const words& options) {
  words command = {HANDSET, "run", "-v", "--service", "/bin/sh"};
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {"--", "-c", "df -k --output=target,size | grep ^/storage | tr -s ' '"});
  const auto result = run(command).output;
  const auto cards = result.find("\n/storage");
  return cards == result.npos ? "" : result.substr(cards + 1, result.find("service: ") - cards - 1);
}

TEST(ProgramCards, Unsaid_AreTheUsualTwo) {
  EXPECT_EQ(cards_of_phone({}), "/storage/sdcard0 12582912\n/storage/sdcard1 31166976\n");
}

TEST(ProgramCards, Given_AreTheOnlyOnes) {
  EXPECT_EQ(cards_of_phone({"--card", "/storage/sdcard1=2048"}), "/storage/sdcard1 2048\n");
  EXPECT_EQ(cards_of_phone({"--card", "/storage/a=4", "--card", "/storage/b=8"}), "/storage/a 4\n/storage/b 8\n");
  EXPECT_EQ(cards_of_phone({"--card", "none"}), "");
}

TEST(ProgramCards, WrongText_IsWrongUsage) {
  for (const char* wrong : {"", "none=", "/storage/sdcard1", "/storage/sdcard1=", "/storage/sdcard1=0", "/storage/x=1M",
                            "/storage/x=-4", "/storage/x=4294967296", "/=4", "storage/x=4"}) {
    const auto result = run({HANDSET, "run", "--card", wrong});
    EXPECT_THAT(result.output, HasSubstr("neither FOLDER=KB nor none")) << wrong;
    EXPECT_EQ(result.status, exited(2)) << wrong;
  }
}

TEST(ProgramStart, ServiceThatEndsAtOnce_IsReported) {
  const auto result = run({HANDSET, "run", "--service", "/bin/true"});
  EXPECT_THAT(result.output, HasSubstr("handset: the service ended "));
  EXPECT_THAT(result.output, HasSubstr(" ms after its start"));
  EXPECT_EQ(result.status, exited(0));
}

// Phones in a folder of their own, so that only these run there.
class ProgramNames : public testing::Test {
 protected:
  ~ProgramNames() override {
    m_phones.clear();
    fs::remove_all(m_folder);
  }
  words alone(const words& command) const {
    words all = {"env", "XDG_RUNTIME_DIR=" + m_folder, HANDSET};
    all.insert(all.end(), command.begin(), command.end());
    return all;
  }
  void start(const words& options) {
    words command = {"run", "-v", "--service", STAND_IN};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"--", "wait"});
    m_phones.push_back(std::make_unique<child>(alone(command)));
    m_phones.back()->read_until("ready\n");
  }
  outcome ctl(const words& command) const { return run(alone(command)); }

  std::string m_folder = [] {
    std::string name = "/tmp/names-XXXXXX";
    EXPECT_NE(::mkdtemp(name.data()), nullptr);
    return name;
  }();
  std::vector<std::unique_ptr<child>> m_phones;
};

TEST_F(ProgramNames, OnlyPhone_AnswersWithItsName) {
  start({});
  EXPECT_EQ(ctl({"ctl", "prop", "get", "ro.board.platform"}).output, "[phone1]\nvx5210\n");
}

TEST_F(ProgramNames, SeveralPhones_AreListedAndOneHasToBeNamed) {
  start({"--name", "A"});
  start({"--name", "B"});
  const auto refused = ctl({"ctl", "status"});
  EXPECT_THAT(refused.output, HasSubstr("several phones are running: A, B;"));
  EXPECT_EQ(refused.status, exited(2));
  EXPECT_THAT(ctl({"ctl", "--name", "B", "status"}).output, StartsWith("[B]\n"));
  const auto missing = ctl({"ctl", "--name", "C", "status"});
  EXPECT_THAT(missing.output, HasSubstr("no phone named C is running; there is A, B"));
  EXPECT_EQ(missing.status, exited(1));
  EXPECT_THAT(ctl({"run", "--name", "A"}).output, HasSubstr("a phone named A runs already"));
}

TEST_F(ProgramNames, NameOfAKilledPhone_IsFreeAgain) {
  start({"--name", "A"});
  m_phones.back()->send_signal(SIGKILL);
  m_phones.back()->wait();
  m_phones.clear();
  EXPECT_THAT(ctl({"ctl", "status"}).output, HasSubstr("no phone of this user is running"));
  start({"--name", "A"});
  EXPECT_THAT(ctl({"ctl", "status"}).output, StartsWith("[A]\n"));
}

TEST_F(ProgramNames, WrongName_IsWrongUsage) {
  for (const char* wrong : {"", "a/b", "a b", "abcdefghijklmnopqrstu"}) {
    EXPECT_EQ(ctl({"run", "--name", wrong}).status, exited(2)) << wrong;
  }
}

}  // namespace
