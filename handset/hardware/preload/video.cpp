// /dev/video0: which camera, input and control were chosen, in the file "video0.state".
#include <linux/videodev2.h>

#include <cerrno>
#include <cstdint>

#include "handset/hardware/call-names.h"
#include "handset/hardware/preload/device.h"
#include "handset/hardware/preload/state-file.h"

namespace preload {

namespace {

constexpr char STATE_FILE[] = "video0.state";

struct video_state {
  std::uint32_t camera;   // 2 the main one, 1 the second one, 0 none
  std::uint32_t input;    // the last one set
  std::uint32_t control;  // the value of the last control plus 1; 0: there was none
};

constexpr state_field<video_state> FIELDS[] = {
    {"camera", &video_state::camera}, {"input", &video_state::input}, {"control", &video_state::control}};

// A driver writes the value that it took back to the argument of a read-write request.
int keep(unsigned long argument, std::uint32_t most, std::uint32_t offset, std::uint32_t video_state::*value) {
  const int wanted = *pointer_to<int>(argument);
  if (wanted < 0 || static_cast<std::uint32_t>(wanted) > most) return EINVAL;
  auto state = read_state<video_state>(STATE_FILE, FIELDS);
  state.*value = static_cast<std::uint32_t>(wanted) + offset;
  write_state<video_state>(STATE_FILE, FIELDS, state);
  return 0;
}

int select_camera(unsigned long argument) {
  return keep(argument, 1, 1, &video_state::camera);
}

int set_input(unsigned long argument) {
  return keep(argument, 1, 0, &video_state::input);
}

int control_camera(unsigned long argument) {
  return keep(argument, 1, 1, &video_state::control);
}

void describe(call_text& text, unsigned long argument) {
  append(text, " %d", *pointer_to<int>(argument));
}

constexpr request REQUESTS[] = {
    {_IOWR('V', 98, int), "SELECT_CAMERA", describe, select_camera},
    {VIDIOC_S_INPUT, "VIDIOC_S_INPUT", describe, set_input},
    {_IOWR('V', 99, int), "CONTROL_CAMERA", describe, control_camera},
};

static_assert(handset::are_listed(REQUESTS, handset::VIDEO_CALLS));

}  // namespace

const device VIDEO = {"/dev/video0", "video0", REQUESTS};

}  // namespace preload
