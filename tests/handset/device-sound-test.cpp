// Sound: the loop in the codec, and the player that is started and stopped.
#include "tests/handset/app-device-phone.h"

using namespace handset_test;

namespace {

constexpr char PLAYER[] = "/system/bin/amt-audio";
constexpr char SOUND[] = "/system/media/amt-loop.pcm";
constexpr char PID_FILE[] = "/tmp/amt-audio.pid";
constexpr char PLAYING[] = "playing /system/media/amt-loop.pcm (44100 Hz, format 1, 1024 frames)";

class SoundLoop : public AppDevicePhone {};

TEST_F(SoundLoop, FlagOne_IsSwitchedOnWithItsType) {
  start();
  const auto before = board_calls();
  expect_done(31, "EE 0F 04 0100 01  EE 1E 01 0400 03000000");
  EXPECT_EQ(board_calls(), before + "codec_loop_test(3, 1) = 0\n");
  EXPECT_EQ(state("sound loop"), "type 3");
  expect_log(phone(), "will call codec_loop_test. enable:1; type:3.");
  expect_log(phone(), "stop call codec_loop_test.");
  expect_log(phone(), "start audio-loop");
  end_with(phone(), SIGTERM);
}

TEST_F(SoundLoop, OtherFlags_SwitchOff) {
  start();
  expect_done(31, "EE 0F 04 0100 01  EE 1E 01 0400 03000000");
  const auto before = board_calls();
  expect_done(31, "EE 0F 04 0100 00  EE 1E 01 0400 03000000");
  expect_done(31, "EE 0F 04 0100 02  EE 1E 01 0400 04000000");
  EXPECT_EQ(board_calls(), before + "codec_loop_test(3, 0) = 0\ncodec_loop_test(4, 0) = 0\n");
  EXPECT_EQ(state("sound loop"), "off");
  expect_log(phone(), "stop audio-loop", 2);
}

TEST_F(SoundLoop, WithoutAtoms_IsSwitchedOnWithTypeZero) {
  start();
  const auto before = board_calls();
  expect_done(31);
  EXPECT_EQ(board_calls(), before + "codec_loop_test(0, 1) = 0\n");
}

TEST_F(SoundLoop, LibraryRefuses_IsAcknowledgedAllTheSame) {
  start();
  set_board_result("codec_loop_test(3, 1) = -7");
  const auto before = board_calls();
  expect_done(31, "EE 0F 04 0100 01  EE 1E 01 0400 03000000");
  EXPECT_EQ(board_calls(), before + "codec_loop_test(3, 1) = -7\n");
  expect_log(phone(), "start audio-loop");
}

TEST_F(SoundLoop, WithoutLibrary_Fails) {
  start(without_board_library());
  expect_failure(31, "EE 0F 04 0100 01  EE 1E 01 0400 03000000");
  expect_log(phone(), "call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: cannot open shared object file");
}

TEST_F(SoundLoop, LibraryWithoutTheOperation_Fails) {
  start(with_empty_board_library());
  expect_failure(31, "EE 0F 04 0100 01  EE 1E 01 0400 03000000");
  expect_log(phone(), "call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: undefined symbol: codec_loop_test");
}

TEST_F(SoundLoop, LibraryThatComesAndGoes_IsLoadedForEachRequest) {
  start();
  expect_done(31);
  const auto library = content(BOARD_LIBRARY);
  phone().remove(BOARD_LIBRARY);
  expect_failure(31);
  phone().write_file(BOARD_LIBRARY, "no library");
  expect_failure(31);
  phone().remove(BOARD_LIBRARY);
  phone().write_file(BOARD_LIBRARY, library);
  expect_done(31);
  expect_log(phone(), "start audio-loop", 2);
}

class Player : public AppDevicePhone {
 protected:
  void expect_silent_soon() {
    const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
    while (state("sound") != "silent") ASSERT_LT(std::chrono::steady_clock::now(), deadline);
  }
  // A stop with this text in the pid file: a player that runs goes on.
  void expect_nobody_stopped(const std::string& pid_text) {
    SCOPED_TRACE(pid_text);
    phone().write_file(PID_FILE, pid_text);
    expect_done(33, "EE 0F 04 0100 00");
    EXPECT_EQ(content(PID_FILE), pid_text);
    EXPECT_EQ(state("sound"), PLAYING);
  }
};

TEST_F(Player, FlagOne_PlaysTheConfiguredFile) {
  start();
  expect_done(33, "EE 0F 04 0100 01");
  EXPECT_EQ(state("sound"), PLAYING);
  expect_log(phone(), "start audio");
}

TEST_F(Player, WithoutAFlag_Plays) {
  start();
  expect_done(33);
  EXPECT_EQ(state("sound"), PLAYING);
  expect_log(phone(), "start audio");
}

TEST_F(Player, FlagTwo_PlaysAndIsLoggedAsAStop) {
  start();
  expect_done(33, "EE 0F 04 0100 02");
  EXPECT_EQ(state("sound"), PLAYING);
  expect_log(phone(), "stop audio");
  EXPECT_EQ(phone().log().count("start audio"), 0u);
}

TEST_F(Player, OtherConfiguration_IsFollowed) {
  auto options = platform();
  options.config = handset::default_config(options) +
                   "vx.audio.file = /data/tone.pcm\nvx.audio.sample.rate = 8000\n"
                   "vx.audio.format = 2\nvx.audio.frame.count = 320\n";
  options.files["/data/tone.pcm"] = std::string(std::size_t{8000} * 60, '\x80');  // a minute of it
  start(options);
  expect_done(33, "EE 0F 04 0100 01");
  EXPECT_EQ(state("sound"), "playing /data/tone.pcm (8000 Hz, format 2, 320 frames)");
}

TEST_F(Player, FlagZero_KillsItAndRemovesItsPidFile) {
  start();
  expect_done(33, "EE 0F 04 0100 01");
  ASSERT_TRUE(phone().exists(PID_FILE));
  expect_done(33, "EE 0F 04 0100 00");
  expect_silent_soon();
  EXPECT_FALSE(phone().exists(PID_FILE));
  expect_log(phone(), "stop audio");
  // No player is left to stop, but the answer is still success.
  expect_done(33, "EE 0F 04 0100 00");
  expect_log(phone(), "Open file \"/tmp/amt-audio.pid\" fail: 2 - No such file or directory");
  end_with(phone(), SIGTERM);
}

TEST_F(Player, StoppedAndStarted_PlaysAgain) {
  start();
  expect_done(33, "EE 0F 04 0100 01");
  expect_done(33, "EE 0F 04 0100 00");
  expect_silent_soon();
  expect_done(33, "EE 0F 04 0100 01");
  EXPECT_EQ(state("sound"), PLAYING);
}

TEST_F(Player, StopWithoutAPidFile_KillsNothing) {
  start();
  expect_done(33, "EE 0F 04 0100 01");
  phone().remove(PID_FILE);
  expect_done(33, "EE 0F 04 0100 00");
  EXPECT_EQ(state("sound"), PLAYING);
  expect_log(phone(), "pub_util_get_pid_and_check_run return is_run_ptr[0] pid_ptr[0]",
             2);  // and once at the service's own start
  expect_log(phone(), "stop audio");
}

TEST_F(Player, StopWithAnotherProgramInThePidFile_KillsNothing) {
  start();
  const auto other = phone().run({"/bin/sleep", "600"});
  phone().write_file(PID_FILE, std::to_string(other->pid()) + "\n");
  expect_done(33, "EE 0F 04 0100 00");
  EXPECT_TRUE(phone().exists(PID_FILE));
  other->send_signal(SIGTERM);
  EXPECT_EQ(other->wait_exit(), handset::killed(SIGTERM));  // it was still there to get this one
}

TEST_F(Player, StopWithNobodyInThePidFile_KillsNothing) {
  start();
  expect_done(33, "EE 0F 04 0100 01");
  // No number can be a process's; text; nothing; what kill would take for a group.
  for (const char* text : {"4194305\n", "amt-audio\n", "", "0\n", "-1\n"}) expect_nobody_stopped(text);
  expect_log(phone(), "pub_util_get_pid_and_check_run return is_run_ptr[0] pid_ptr[0]", 6);
  expect_log(phone(), "stop audio", 5);
}

TEST_F(Player, Missing_Fails) {
  start();
  phone().remove(PLAYER);
  expect_failure(33, "EE 0F 04 0100 01");
  expect_log(phone(), "access(\"/system/bin/amt-audio\") fail: 2 - No such file or directory");
  EXPECT_EQ(phone().log().count("access(\""), 1u);
}

TEST_F(Player, SoundFileMissing_Fails) {
  start();
  phone().remove(SOUND);
  expect_failure(33, "EE 0F 04 0100 01");
  expect_log(phone(), "access(\"/system/media/amt-loop.pcm\") fail: 2 - No such file or directory");
  EXPECT_EQ(phone().log().count("access(\""), 1u);
  EXPECT_EQ(state("sound"), "silent");
}

TEST_F(Player, ItAndItsSoundFileMissing_AreBothNamed) {
  start();
  phone().remove(PLAYER);
  phone().remove(SOUND);
  expect_failure(33, "EE 0F 04 0100 02");
  expect_log(phone(), "access(\"/system/bin/amt-audio\") fail: 2 - No such file or directory");
  expect_log(phone(), "access(\"/system/media/amt-loop.pcm\") fail: 2 - No such file or directory");
}

TEST_F(Player, Refuses_Fails) {
  auto options = platform();
  options.config = handset::default_config(options) + "vx.audio.format = 9\n";
  start(options);
  expect_failure(33, "EE 0F 04 0100 01");
  expect_log(phone(), "system(/system/bin/amt-audio 44100 9 1024 /system/media/amt-loop.pcm) fail: ");
  EXPECT_EQ(state("sound"), "silent");
  EXPECT_EQ(phone().log().count("start audio"), 0u);
}

TEST_F(Player, CannotBeRun_Fails) {
  start();
  phone().parts().fail(PLAYER, file_fault::open);
  expect_failure(33, "EE 0F 04 0100 01");
  expect_log(phone(), "system(/system/bin/amt-audio 44100 1 1024 /system/media/amt-loop.pcm) fail: ");
}

}  // namespace
