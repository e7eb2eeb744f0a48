#include "amt/amt-device/camera.h"

#include <sys/ioctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdarg>

#include "tests/unit/device/device-test.h"

namespace {

constexpr char VIDEO[] = "/dev/video0";
constexpr char CONTROL_LINE[] = "control_id = %D";  // as a host's C library prints it
constexpr unsigned long SELECT_CAMERA = 0xC0045662;
constexpr unsigned long SET_INPUT = 0xC0045627;
constexpr unsigned long CONTROL_CAMERA = 0xC0045663;

// The video device's driver: what it was asked, in order, and what it answers.
struct video_driver_st {
  std::vector<std::string> m_calls;
  std::map<unsigned long, int> m_errors;  // request -> errno
  int m_control_result = 0;
};
video_driver_st g_driver;

const char* request_name(unsigned long request) {
  if (request == SELECT_CAMERA) return "select";
  if (request == SET_INPUT) return "input";
  return request == CONTROL_CAMERA ? "control" : nullptr;
}

int drive(unsigned long request, const int* argument) {
  g_driver.m_calls.push_back(std::string(request_name(request)) + " " + std::to_string(*argument));
  const auto error = g_driver.m_errors.find(request);
  if (error != g_driver.m_errors.end()) {
    errno = error->second;
    return -1;
  }
  return request == CONTROL_CAMERA ? g_driver.m_control_result : 0;
}

}  // namespace

// Takes the C library's place; any other request goes to the kernel.
extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (request_name(request) != nullptr) return drive(request, static_cast<const int*>(argument));
  return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}

namespace {

namespace fs = std::filesystem;

class Camera : public device_test {
 protected:
  Camera() {
    g_driver = {};
    if (!fs::exists(VIDEO)) write_file(VIDEO, "");
    allow_device(fs::perms::owner_read | fs::perms::owner_write);
  }
  ~Camera() override { allow_device(fs::perms::owner_read | fs::perms::owner_write); }

  // The phone root may hold the device as a mount, which can be closed to everybody but not removed.
  static void allow_device(fs::perms permissions) { fs::permissions(VIDEO, permissions); }
  static void forbid_device() { allow_device(fs::perms::none); }

  // A control that was given up with these two lines, and not answered.
  void expect_refused(const std::vector<testing::Matcher<const std::string&>>& why) {
    EXPECT_TRUE(is_silent());
    EXPECT_THAT(log(), ElementsAre("amt_device_camera_control()", CONTROL_LINE, why.at(0), why.at(1)));
  }

  static std::size_t open_descriptors() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
  }
};

TEST_F(Camera, Camera_MainPreview_SelectsOne) {
  EXPECT_EQ(app(139), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("select 1"));
  EXPECT_EQ(to_app(), "0F 00 BB 8C 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Camera, Camera_SecondPreview_SelectsZero) {
  EXPECT_EQ(app(147), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("select 0"));
  EXPECT_EQ(to_app(), "0F 00 BB 94 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Camera, Camera_AnyOtherRequest_Fails) {
  EXPECT_EQ(ask_handler(amt_device_camera, AMT_LINK_APP, 141, ""), ERR_FAIL);
  EXPECT_THAT(g_driver.m_calls, IsEmpty());
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_camera()", device_failure("amt_device_camera", ERR_FAIL)));
}

TEST_F(Camera, Camera_NoDevice_Fails) {
  forbid_device();
  EXPECT_EQ(app(139), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_camera()", "sys call: open() failed! errno = 13",
                                 device_failure("amt_device_camera", -1)));
}

TEST_F(Camera, Camera_DriverRefuses_Fails) {
  g_driver.m_errors = {{SELECT_CAMERA, EINVAL}};
  EXPECT_EQ(app(147), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_camera()", "sys call: ioctl() failed! errno = 22",
                                 device_failure("amt_device_camera", -1)));
}

TEST_F(Camera, Camera_DeviceAsDescriptorZero_Fails) {
  const int input = dup(0);
  close(0);
  EXPECT_EQ(app(139), ERR_FAIL);
  EXPECT_EQ(app(180, int_atom(112, 1)), ERR_FAIL);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);  // and is not left open
  if (input >= 0) {
    dup2(input, 0);
    close(input);
  }
  EXPECT_THAT(g_driver.m_calls, IsEmpty());
  EXPECT_TRUE(is_silent());
}

TEST_F(Camera, CameraControl_One_SetsTheInputAndZero) {
  EXPECT_EQ(app(180, int_atom(112, 1)), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1", "control 0"));
  EXPECT_EQ(to_app(), "18 00 BB B5 12 00 EE 71 01 04 00 00 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_camera_control()", CONTROL_LINE, "update result: 0"}));
}

TEST_F(Camera, CameraControl_Two_GivesTheDriversResult) {
  g_driver.m_control_result = 7;
  EXPECT_EQ(app(180, int_atom(112, 2)), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1", "control 1"));
  EXPECT_EQ(to_app(), "18 00 BB B5 12 00 EE 71 01 04 00 07 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("update result: 7"));
}

TEST_F(Camera, CameraControl_OnThePcLink_IsWrapped) {
  EXPECT_EQ(ask_handler(amt_device_camera_control, AMT_LINK_PC, 180, int_atom(112, 1)), 0);
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB B5 12 00 EE 71 01 04 00 00 00 00 00 "
            "EE 01 01 04 00 00 00 00 00 8F DD F0 33");
}

TEST_F(Camera, CameraControl_NoSuchInput_IsResultThree) {
  g_driver.m_errors = {{SET_INPUT, ENODEV}};
  EXPECT_EQ(app(180, int_atom(112, 1)), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1"));
  EXPECT_EQ(to_app(), "18 00 BB B5 12 00 EE 71 01 04 00 03 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("update result: 3"));
}

TEST_F(Camera, CameraControl_InputRefused_Fails) {
  g_driver.m_errors = {{SET_INPUT, EBUSY}};
  EXPECT_EQ(app(180, int_atom(112, 1)), ERR_FAIL);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1"));
  expect_refused({"sys call: ioctl() failed! errno = 16", device_failure("amt_device_camera_control", -1)});
}

TEST_F(Camera, CameraControl_ControlRefused_Fails) {
  g_driver.m_errors = {{CONTROL_CAMERA, ENODEV}};
  EXPECT_EQ(app(180, int_atom(112, 2)), ERR_FAIL);
  expect_refused({"sys call: ioctl() failed! errno = 19", device_failure("amt_device_camera_control", -1)});
}

// A driver may give any number; the error of a call is not the only negative one.
TEST_F(Camera, CameraControl_NegativeResult_Fails) {
  g_driver.m_control_result = -3;
  EXPECT_EQ(app(180, int_atom(112, 2)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_camera_control", -1)));
}

TEST_F(Camera, CameraControl_InvalidId_NeverOpensTheDevice) {
  forbid_device();
  for (const auto& [id, shown] : {std::pair(0u, "0"),
                                  {3u, "3"},
                                  {0x7FFFFFFFu, "2147483647"},
                                  {0x80000000u, "-2147483648"},
                                  {0xFFFFFFFFu, "-1"}}) {
    m_log.clear();
    EXPECT_EQ(app(180, int_atom(112, id)), ERR_FAIL);
    expect_refused(
        {device_failure("amt_device_camera_control", ERR_FAIL), std::string("invalid control_id: ") + shown});
  }
}

TEST_F(Camera, CameraControl_NoAtom_IsControlZeroAndInvalid) {
  EXPECT_EQ(app(180), ERR_FAIL);
  EXPECT_TRUE(m_log.has("invalid control_id: 0"));
  EXPECT_THAT(g_driver.m_calls, IsEmpty());
}

TEST_F(Camera, CameraControl_NoDevice_Fails) {
  forbid_device();
  EXPECT_EQ(app(180, int_atom(112, 1)), ERR_FAIL);
  expect_refused({"sys call: open() failed! errno = 13", device_failure("amt_device_camera_control", -1)});
}

TEST_F(Camera, Cameras_EveryOutcome_LeavesNoDescriptorOpen) {
  const std::size_t before = open_descriptors();
  app(139);
  app(180, int_atom(112, 1));
  g_driver.m_errors = {{SELECT_CAMERA, EIO}, {CONTROL_CAMERA, EIO}};
  app(139);
  app(180, int_atom(112, 1));
  g_driver.m_errors = {{SET_INPUT, EIO}};
  app(180, int_atom(112, 1));
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
