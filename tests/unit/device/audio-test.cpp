#include <spawn.h>
#include <sys/wait.h>

#include "amt/amt-cfg.h"
#include "tests/unit/device/device-test.h"
#include "tests/unit/device/misc-fake.h"
#include "tests/unit/wait-for.h"

namespace {

namespace fs = std::filesystem;

constexpr char PLAYER[] = "/system/bin/amt-audio";
constexpr char PID_FILE[] = "/tmp/amt-audio.pid";
constexpr char ARGUMENTS[] = "/tmp/player-arguments";
constexpr char AUDIO_OK[] = "0F 00 BB 22 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char LOOP_OK[] = "0F 00 BB 20 09 00 EE 01 01 04 00 00 00 00 00";

class Audio : public device_test {
 protected:
  Audio() {
    fs::remove(PLAYER);
    fs::remove(PID_FILE);
    fs::remove(ARGUMENTS);
    g_misc_fake = {};
    set_audio_file("/data/etc/tone.wav");
    write_file("/data/etc/tone.wav", "RIFF");
    g_amt_cfg.m_audio_sample_rate = 44100;
    g_amt_cfg.m_audio_format = 2;
    g_amt_cfg.m_audio_frame_count = 1024;
  }
  static void set_audio_file(const std::string& path) { set_device(g_amt_cfg.m_audio_file_a, path); }
  static void install_player(const char* exit_status = "0") {
    write_file(PLAYER, std::string("#!/bin/sh\necho \"$*\" >/tmp/player-arguments\nexit ") + exit_status + "\n");
    fs::permissions(PLAYER, fs::perms(0755));
  }
};

// A process of the test that runs under the given name.
class named_process {
 public:
  explicit named_process(const std::string& program) {
    fs::copy_file("/bin/sleep", program, fs::copy_options::overwrite_existing);
    std::string name = program;
    std::string seconds = "1000";
    char* const arguments[] = {name.data(), seconds.data(), nullptr};
    EXPECT_EQ(posix_spawn(&m_pid, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    const std::string command_line = "/proc/" + std::to_string(m_pid) + "/cmdline";
    EXPECT_TRUE(wait_for([&] { return read_whole_file(command_line).starts_with(program); }));
  }
  ~named_process() {
    if (m_pid <= 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  named_process(const named_process&) = delete;
  named_process& operator=(const named_process&) = delete;

  pid_t pid() const { return m_pid; }
  bool is_running() const { return waitpid(m_pid, nullptr, WNOHANG) == 0; }
  // By which signal it ended.
  int ended_by() {
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = 0;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

 private:
  pid_t m_pid = 0;
};

TEST_F(Audio, Audio_Start_RunsThePlayerWithTheConfiguredTone) {
  install_player();
  EXPECT_EQ(app(33, flag_atom(15, 1)), 0);
  EXPECT_EQ(content_of(ARGUMENTS), "44100 2 1024 /data/etc/tone.wav\n");
  EXPECT_EQ(to_app(), AUDIO_OK);
  EXPECT_TRUE(m_log.has("start audio"));
}

TEST_F(Audio, Audio_NoFlag_Starts) {
  install_player();
  EXPECT_EQ(app(33), 0);
  EXPECT_TRUE(fs::exists(ARGUMENTS));
  EXPECT_TRUE(m_log.has("start audio"));
}

TEST_F(Audio, Audio_FlagAboveOne_StartsAndIsLoggedAsStop) {
  install_player();
  for (const std::uint8_t flag : {2, 255}) {
    fs::remove(ARGUMENTS);
    EXPECT_EQ(app(33, flag_atom(15, flag)), 0);
    EXPECT_TRUE(fs::exists(ARGUMENTS));
    EXPECT_TRUE(m_log.has("stop audio"));
    EXPECT_FALSE(m_log.has("start audio"));
    EXPECT_EQ(to_app(), AUDIO_OK);
  }
}

// It starts a player and stops none.
TEST_F(Audio, Audio_FlagTwo_LeavesARunningPlayerAlone) {
  install_player();
  const named_process player("/tmp/amt-audio");
  write_file(PID_FILE, std::to_string(player.pid()) + "\n");
  EXPECT_EQ(app(33, flag_atom(15, 2)), 0);
  EXPECT_TRUE(player.is_running());
  EXPECT_TRUE(fs::exists(PID_FILE));
}

TEST_F(Audio, Audio_PlayerFails_IsASystemError) {
  install_player("3");
  EXPECT_EQ(app(33, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_audio", ERR_SYSTEM)));
  EXPECT_TRUE(m_log.contains("system(/system/bin/amt-audio 44100 2 1024 /data/etc/tone.wav) fail: "));
}

TEST_F(Audio, Audio_PlayerKilled_IsASystemError) {
  write_file(PLAYER, "#!/bin/sh\nkill -9 $$\n");
  fs::permissions(PLAYER, fs::perms(0755));
  EXPECT_EQ(app(33, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
}

TEST_F(Audio, Audio_ShellCannotBeStarted_IsASystemError) {
  install_player();
  g_outside_calls.m_spawn_error = EAGAIN;
  EXPECT_EQ(app(33, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_audio()", device_failure("amt_device_audio", ERR_SYSTEM, "11"),
                                 "system(/system/bin/amt-audio 44100 2 1024 /data/etc/tone.wav) fail: 11 - Resource "
                                 "temporarily unavailable"));
}

TEST_F(Audio, Audio_PlayerMissing_IsNamed) {
  EXPECT_EQ(app(33, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_audio()", device_failure("amt_device_audio", ERR_SYSTEM, "2"),
                                 "access(\"/system/bin/amt-audio\") fail: 2 - No such file or directory"));
}

TEST_F(Audio, Audio_ToneMissing_IsNamedAndNothingIsStarted) {
  install_player();
  fs::remove("/data/etc/tone.wav");
  EXPECT_EQ(app(33, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("access(\"/data/etc/tone.wav\") fail: 2 - No such file or directory"));
  EXPECT_FALSE(m_log.contains("access(\"/system/bin/amt-audio\")"));
  EXPECT_FALSE(fs::exists(ARGUMENTS));
}

TEST_F(Audio, Audio_BothMissing_AreBothNamed) {
  fs::remove("/data/etc/tone.wav");
  EXPECT_EQ(app(33, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(m_log.has_in_a_row({"access(\"/system/bin/amt-audio\") fail: 2 - No such file or directory",
                                  "access(\"/data/etc/tone.wav\") fail: 2 - No such file or directory"}));
}

// 98 characters of a command are run: "/system/bin/amt-audio ", three numbers of ten digits and a blank each, and the
// first 43 characters of the tone's path.
TEST_F(Audio, Audio_LongCommand_IsCutAtItsBuffer) {
  install_player();
  const std::string tone = "/data/etc/" + std::string(37, 't');
  ASSERT_EQ(tone.size(), 47u);
  set_audio_file(tone);
  write_file(tone, "RIFF");
  g_amt_cfg.m_audio_sample_rate = 1000000001;
  g_amt_cfg.m_audio_format = 1000000002;
  g_amt_cfg.m_audio_frame_count = 1000000003;
  EXPECT_EQ(app(33, flag_atom(15, 1)), 0);
  EXPECT_EQ(content_of(ARGUMENTS), "1000000001 1000000002 1000000003 " + tone.substr(0, 43) + "\n");
}

TEST_F(Audio, Audio_StopWithoutPidFile_IsAnsweredOk) {
  EXPECT_EQ(app(33, flag_atom(15, 0)), 0);
  EXPECT_EQ(to_app(), AUDIO_OK);
  EXPECT_TRUE(m_log.has("stop audio"));
}

TEST_F(Audio, Audio_Stop_KillsThePlayerOfThePidFile) {
  named_process player("/tmp/amt-audio");
  write_file(PID_FILE, std::to_string(player.pid()) + "\n");
  bool is_pid_file_gone = false;
  g_outside_calls.m_on_kill = [&] { is_pid_file_gone = !fs::exists(PID_FILE); };
  EXPECT_EQ(app(33, flag_atom(15, 0)), 0);
  g_outside_calls.m_on_kill = nullptr;
  ASSERT_THAT(g_outside_calls.m_kills, ElementsAre(kill_call_st{player.pid(), SIGKILL}));
  EXPECT_TRUE(is_pid_file_gone) << "a player that starts meanwhile would lose its own";
  EXPECT_EQ(player.ended_by(), SIGKILL);
  EXPECT_FALSE(fs::exists(PID_FILE));
  EXPECT_EQ(to_app(), AUDIO_OK);
}

TEST_F(Audio, Audio_StopWithPidOfAnotherProgram_KillsNothing) {
  const named_process other("/tmp/other-program");
  write_file(PID_FILE, std::to_string(other.pid()) + "\n");
  EXPECT_EQ(app(33, flag_atom(15, 0)), 0);
  EXPECT_TRUE(other.is_running());
  EXPECT_THAT(g_outside_calls.m_kills, IsEmpty());
  EXPECT_TRUE(fs::exists(PID_FILE));
  EXPECT_EQ(to_app(), AUDIO_OK);
}

// Numbers that kill takes for a group of processes or for all, as they are or cut to the width of a pid; the first
// process; the service itself; nothing that is a number.
TEST_F(Audio, Audio_StopWithPidFileOfNoPlayer_KillsNothing) {
  for (const std::string& content :
       {std::string(""), std::string("junk"), std::string("-"), std::string("0"), std::string("-1"), std::string("1"),
        std::string("4294967295"), std::string("4294967296"), std::string("4294967297"),
        std::string("-9223372036854775808"), std::string("99999999999999999999"), std::to_string(getpid()),
        std::to_string(-getpid())}) {
    write_file(PID_FILE, content);
    EXPECT_EQ(app(33, flag_atom(15, 0)), 0);
    EXPECT_THAT(g_outside_calls.m_kills, IsEmpty()) << content;
    EXPECT_EQ(content_of(PID_FILE), content);
    EXPECT_EQ(to_app(), AUDIO_OK);
  }
}

TEST_F(Audio, AudioLoop_Enable_CallsTheBoardsLibrary) {
  install_misc_library();
  EXPECT_EQ(app(31, flag_atom(15, 1) + int_atom(30, 7)), 0);
  EXPECT_THAT(g_misc_fake.m_calls, ElementsAre("codec_loop_test(7, 1)"));
  EXPECT_EQ(to_app(), LOOP_OK);
  EXPECT_TRUE(m_log.has_in_a_row(
      {"will call codec_loop_test. enable:1; type:7.", "stop call codec_loop_test.", "start audio-loop"}));
}

TEST_F(Audio, AudioLoop_AnyOtherFlag_Disables) {
  install_misc_library();
  for (const std::uint8_t flag : {0, 2, 255}) EXPECT_EQ(app(31, flag_atom(15, flag) + int_atom(30, 7)), 0);
  EXPECT_THAT(g_misc_fake.m_calls,
              ElementsAre("codec_loop_test(7, 0)", "codec_loop_test(7, 0)", "codec_loop_test(7, 0)"));
  EXPECT_EQ(m_log.count("stop audio-loop"), 3u);
}

TEST_F(Audio, AudioLoop_NoAtoms_EnablesTypeZero) {
  install_misc_library();
  EXPECT_EQ(app(31), 0);
  EXPECT_THAT(g_misc_fake.m_calls, ElementsAre("codec_loop_test(0, 1)"));
}

TEST_F(Audio, AudioLoop_LibraryFails_IsAnsweredOkAllTheSame) {
  install_misc_library();
  g_misc_fake.m_result = -9;
  EXPECT_EQ(app(31, flag_atom(15, 1)), 0);
  EXPECT_EQ(to_app(), LOOP_OK);
}

TEST_F(Audio, AudioLoop_NoLibrary_IsASystemError) {
  EXPECT_EQ(app(31, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_audio_loop", ERR_SYSTEM)));
  EXPECT_TRUE(m_log.contains("call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so"));
}

TEST_F(Audio, AudioLoop_OperationMissing_IsASystemError) {
  fs::copy_file(MISC_EMPTY_LIBRARY, "/system/lib64/hw/amt.vx5210.misc.so");
  EXPECT_EQ(app(31, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.contains("call dlopen fail: - "));
  EXPECT_TRUE(m_log.contains("codec_loop_test"));
}

}  // namespace
