#include "amt/amt-device/camera.h"

#include <sys/ioctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdarg>

#include "tests/unit/device-tests/device-test.h"

namespace {

constexpr char VIDEO[] = "/dev/video0";
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

class camera_test : public device_test {
 protected:
  camera_test() {
    g_driver = {};
    write_file(VIDEO, "");
  }
  ~camera_test() override { fs::remove(VIDEO); }

  static std::size_t open_descriptors() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
  }
};

TEST_F(camera_test, Camera_MainPreview_SelectsOne) {
  EXPECT_EQ(app(139), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("select 1"));
  EXPECT_EQ(to_app(), "0F 00 BB 8C 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(camera_test, Camera_SecondPreview_SelectsZero) {
  EXPECT_EQ(app(147), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("select 0"));
  EXPECT_EQ(to_app(), "0F 00 BB 94 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(camera_test, Camera_AnyOtherRequest_Fails) {
  EXPECT_EQ(ask_handler(amt_device_camera, AMT_LINK_APP, 141, ""), ERR_FAIL);
  EXPECT_THAT(g_driver.m_calls, IsEmpty());
  EXPECT_TRUE(is_silent());
}

TEST_F(camera_test, Camera_NoDevice_Fails) {
  fs::remove(VIDEO);
  EXPECT_EQ(app(139), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("sys call: open() failed! errno = 2"));
}

TEST_F(camera_test, Camera_DriverRefuses_Fails) {
  g_driver.m_errors = {{SELECT_CAMERA, EINVAL}};
  EXPECT_EQ(app(147), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("sys call: ioctl() failed! errno = 22"));
  EXPECT_THAT(log(), Contains(device_failure("amt_device_camera", -1)));
}

TEST_F(camera_test, Camera_DeviceAsDescriptorZero_Fails) {
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

TEST_F(camera_test, CameraControl_One_SetsTheInputAndZero) {
  EXPECT_EQ(app(180, int_atom(112, 1)), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1", "control 0"));
  EXPECT_EQ(to_app(), "18 00 BB B5 12 00 EE 71 01 04 00 00 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("control_id = 1"));
  EXPECT_TRUE(m_log.has("update result: 0"));
}

TEST_F(camera_test, CameraControl_Two_GivesTheDriversResult) {
  g_driver.m_control_result = 7;
  EXPECT_EQ(app(180, int_atom(112, 2)), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1", "control 1"));
  EXPECT_EQ(to_app(), "18 00 BB B5 12 00 EE 71 01 04 00 07 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("update result: 7"));
}

TEST_F(camera_test, CameraControl_OnThePcLink_IsWrapped) {
  EXPECT_EQ(ask_handler(amt_device_camera_control, AMT_LINK_PC, 180, int_atom(112, 1)), 0);
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB B5 12 00 EE 71 01 04 00 00 00 00 00 "
            "EE 01 01 04 00 00 00 00 00 8F DD F0 33");
}

TEST_F(camera_test, CameraControl_NoSuchInput_IsResultThree) {
  g_driver.m_errors = {{SET_INPUT, ENODEV}};
  EXPECT_EQ(app(180, int_atom(112, 1)), 0);
  EXPECT_THAT(g_driver.m_calls, ElementsAre("input 1"));
  EXPECT_EQ(to_app(), "18 00 BB B5 12 00 EE 71 01 04 00 03 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("update result: 3"));
}

TEST_F(camera_test, CameraControl_InputRefused_Fails) {
  g_driver.m_errors = {{SET_INPUT, EBUSY}};
  EXPECT_EQ(app(180, int_atom(112, 1)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("sys call: ioctl() failed! errno = 16"));
}

TEST_F(camera_test, CameraControl_ControlRefused_Fails) {
  g_driver.m_errors = {{CONTROL_CAMERA, ENODEV}};
  EXPECT_EQ(app(180, int_atom(112, 2)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("sys call: ioctl() failed! errno = 19"));
}

TEST_F(camera_test, CameraControl_InvalidId_NeverOpensTheDevice) {
  fs::remove(VIDEO);
  for (const std::uint32_t id : {0u, 3u, 0xFFFFFFFFu}) {
    EXPECT_EQ(app(180, int_atom(112, id)), ERR_FAIL);
    EXPECT_TRUE(m_log.has("control_id = " + std::to_string(static_cast<int>(id))));
    EXPECT_TRUE(m_log.has("invalid control_id: " + std::to_string(static_cast<int>(id))));
  }
  EXPECT_TRUE(is_silent());
  EXPECT_FALSE(m_log.contains("sys call"));
}

TEST_F(camera_test, CameraControl_NoDevice_Fails) {
  fs::remove(VIDEO);
  EXPECT_EQ(app(180, int_atom(112, 1)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("sys call: open() failed! errno = 2"));
}

TEST_F(camera_test, Cameras_EveryOutcome_LeavesNoDescriptorOpen) {
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
