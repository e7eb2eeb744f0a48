#include "amt/amt-device/camera.h"

#include <fcntl.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <tuple>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/device.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char VIDEO_DEVICE[] = "/dev/video0";

// All three take a pointer to an int. 98 and 99 are the camera driver's own.
constexpr unsigned long SELECT_CAMERA = _IOWR('V', 98, int);
constexpr unsigned long SET_INPUT = _IOWR('V', 39, int);  // VIDIOC_S_INPUT
constexpr unsigned long CONTROL_CAMERA = _IOWR('V', 99, int);
static_assert(SELECT_CAMERA == 0xC0045662 && SET_INPUT == 0xC0045627 && CONTROL_CAMERA == 0xC0045663);

constexpr std::int32_t NO_SUCH_INPUT = 3;

// With a capital D, on purpose: the line has always been so. A phone's C library prints the number, as a long; others
// print the text as it stands here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
void log_control(long control) {
  LOG_LINE("control_id = %D", control);
}
#pragma GCC diagnostic pop

// Owns the video device. Descriptor 0 counts as a failure.
pub_fd open_video(const pub_log_site& site) {
  pub_fd video(pub_util_open(VIDEO_DEVICE, O_RDWR));
  if (video.get() > 0) return video;
  std::ignore = amt_device_fail_sys_call(site, "open");
  return pub_fd();
}

// The driver's result of a control, or ERR_FAIL, which is negative; a result is not.
std::int32_t control_camera(const pub_log_site& site, int video, std::uint32_t control) {
  int value = 1;
  if (ioctl(video, SET_INPUT, &value) < 0) {
    return errno == ENODEV ? NO_SUCH_INPUT : amt_device_fail_sys_call(site, "ioctl");
  }
  value = control == 1 ? 0 : 1;
  const int result = ioctl(video, CONTROL_CAMERA, &value);
  return result >= 0 ? result : amt_device_fail_sys_call(site, "ioctl");
}

}  // namespace

result_code_en amt_device_camera(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint8_t id = amt_frame_command_id(&request->m_buf_a);
  if (id != AMT_CAMERA_PREVIEW_CMD && id != AMT_SECOND_CAMERA_PREVIEW_CMD) return pub_fail(k_log, ERR_FAIL);
  {
    const pub_fd video = open_video(k_log);
    if (video.get() < 0) return ERR_FAIL;
    int camera = id == AMT_CAMERA_PREVIEW_CMD ? 1 : 0;
    if (ioctl(video.get(), SELECT_CAMERA, &camera) < 0) return amt_device_fail_sys_call(k_log, "ioctl");
  }
  return amt_handle_send_rsp_ok(link, response, id + 1u);
}

result_code_en amt_device_camera_control(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t control = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_CAMERA_CONTROL);
  log_control(static_cast<std::int32_t>(control));
  if (control != 1 && control != 2) {
    return pub_fail(k_log, ERR_FAIL, "invalid control_id: %d", static_cast<int>(control));
  }
  std::int32_t result = ERR_FAIL;
  {
    const pub_fd video = open_video(k_log);
    if (video.get() < 0) return ERR_FAIL;
    result = control_camera(k_log, video.get(), control);
  }
  if (result < 0) return ERR_FAIL;
  LOG_LINE("update result: %d", result);
  amt_handle_start_rsp(response, AMT_CAMERA_CONTROL_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_CAMERA_RESULT, static_cast<std::uint32_t>(result));
  return amt_handle_finish_rsp(link, response);
}
