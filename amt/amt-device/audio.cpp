#include "amt/amt-device/audio.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <tuple>

#include "amt/amt-cfg.h"
#include "amt/amt-convert/ids.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-device/shell.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/process.h"

namespace {

constexpr char PLAYER[] = "/system/bin/amt-audio";
constexpr char PLAYER_NAME[] = "amt-audio";
constexpr char PLAYER_PID_FILE[] = "/tmp/amt-audio.pid";

constexpr std::uint32_t START = 1;

// 0, or the errno of a file that is not there.
int access_error(const char* path) {
  return access(path, F_OK) == 0 ? 0 : errno;
}

void log_access_error(const char* path, int error) {
  if (error != 0) LOG_LINE("access(\"%s\") fail: %d - %s", path, error, std::strerror(error));
}

// The shell returns when the player has put itself into the background.
result_code_en start_player() {
  const amt_device_command command("%s %ld %ld %ld %s", PLAYER, static_cast<long>(g_amt_cfg.m_audio_sample_rate),
                                   static_cast<long>(g_amt_cfg.m_audio_format),
                                   static_cast<long>(g_amt_cfg.m_audio_frame_count), g_amt_cfg.m_audio_file_a);
  const int player_error = access_error(PLAYER);
  const int file_error = access_error(g_amt_cfg.m_audio_file_a);
  if (player_error != 0 || file_error != 0) {
    pub_log_failure({k_log, "amt_device_audio"}, ERR_SYSTEM);
    log_access_error(PLAYER, player_error);
    log_access_error(g_amt_cfg.m_audio_file_a, file_error);
    return ERR_SYSTEM;
  }
  if (pub_util_run_command(command.text()) == 0) return ERR_NONE;
  return pub_fail({k_log, "amt_device_audio"}, ERR_SYSTEM, "system(%s) fail: %d - %s", command.text(), errno,
                  std::strerror(errno));
}

void stop_player() {
  std::int32_t is_run = 0;
  std::int64_t pid = 0;
  std::ignore = pub_util_get_pid_and_check_run(PLAYER_PID_FILE, PLAYER_NAME, &is_run, &pid);
  if (is_run == 0) return;
  unlink(PLAYER_PID_FILE);
  kill(static_cast<pid_t>(pid), SIGKILL);
}

}  // namespace

result_code_en amt_device_audio(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t operation = amt_frame_get_flag(&request->m_buf_a, AMT_ATOM_SWITCH);
  if (operation == 0) {
    stop_player();
  } else {
    const result_code_en result = start_player();
    if (result != ERR_NONE) return result;
  }
  LOG_LINE("%s audio", operation == START ? "start" : "stop");
  return amt_handle_send_rsp_ok(link, response, AMT_BELL_RSPCMD);
}

result_code_en amt_device_audio_loop(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const int enable = amt_frame_get_flag(&request->m_buf_a, AMT_ATOM_SWITCH) == START ? 1 : 0;
  const auto type = static_cast<int>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_LOOP_TYPE));
  const result_code_en result =
      amt_device_call_misc<int(int, int)>(__func__, "codec_loop_test", [enable, type](auto* codec_loop_test) {
        LOG_LINE("will call codec_loop_test. enable:%d; type:%d.", enable, type);
        codec_loop_test(type, enable);  // its result does not count
        LOG_LINE("stop call codec_loop_test.");
        return ERR_NONE;
      });
  if (result != ERR_NONE) return result;
  LOG_LINE("%s audio-loop", enable == 1 ? "start" : "stop");
  return amt_handle_send_rsp_ok(link, response, AMT_AUDIOLOOP_RSPCMD);
}
