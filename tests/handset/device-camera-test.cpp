// Cameras: which one is selected, and the driver's own controls.
#include <gmock/gmock.h>

#include <cerrno>

#include "tests/handset/app-device-phone.h"

using namespace handset_test;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Camera : public AppDevicePhone {
 protected:
  void fail_call(const std::string& words, int error) { handset::fail_device_call(phone().devices(), words, error); }
  void heal_calls() { handset::heal_device_calls(phone().devices()); }
  // How many descriptors of the service's are the video device.
  std::size_t held_open() {
    const auto listed = phone().exec({"/bin/ls", "-l", "/proc/" + std::to_string(phone().service().pid()) + "/fd"});
    EXPECT_EQ(listed.status, handset::exited(0)) << listed.err;
    std::size_t count = 0;
    for (auto at = listed.out.find("/dev/video0"); at != listed.out.npos; at = listed.out.find("/dev/video0", at + 1)) {
      ++count;
    }
    return count;
  }
};

handset::phone_options without_video_device() {
  auto options = platform();
  options.has_hardware = false;
  return options;
}

TEST_F(Camera, Request139_SelectsTheMainOne) {
  start();
  expect_done(139);
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 SELECT_CAMERA 1"));
  EXPECT_EQ(state("camera"), "main");
  end_with(phone(), SIGTERM);
}

TEST_F(Camera, Request147_SelectsTheSecondOne) {
  start();
  expect_done(147);
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 SELECT_CAMERA 0"));
  EXPECT_EQ(state("camera"), "second");
}

TEST_F(Camera, DeviceCannotBeOpened_Fails) {
  start();
  fail_call("video0 open", EACCES);
  expect_failure(139);
  expect_failure(147);
  EXPECT_THAT(device_calls(), ElementsAre("video0 open failed 13", "video0 open failed 13"));
  EXPECT_EQ(state("camera"), "none");
  heal_calls();
  expect_done(139);
}

TEST_F(Camera, WithoutDevice_Fails) {
  start(without_video_device());
  expect_failure(139);
  expect_failure(147);
  expect_log(phone(), "sys call: open() failed! errno = 2", 2);
}

TEST_F(Camera, DriverRefuses_Fails) {
  start();
  fail_call("video0 SELECT_CAMERA 0", EIO);
  expect_failure(147);
  expect_log(phone(), "sys call: ioctl() failed! errno = 5");
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 SELECT_CAMERA 0 failed 5"));
  expect_done(139);  // the other one is there
  EXPECT_EQ(state("camera"), "main");
}

TEST_F(Camera, WhateverWasAsked_IsClosedBeforeTheAnswer) {
  start();
  expect_done(139);
  expect_values(180, "EE 70 01 0400 01000000", "EE 71 01 0400 00000000");
  EXPECT_EQ(held_open(), 0u);
  fail_call("video0 SELECT_CAMERA", EIO);
  fail_call("video0 CONTROL_CAMERA", EIO);
  expect_failure(139);
  expect_failure(180, "EE 70 01 0400 01000000");
  EXPECT_EQ(held_open(), 0u);
  fail_call("video0 VIDIOC_S_INPUT", EIO);
  expect_failure(180, "EE 70 01 0400 01000000");
  EXPECT_EQ(held_open(), 0u);
  EXPECT_THAT(device_calls(), testing::Contains("video0 open").Times(5));
}

class CameraControl : public Camera {};

TEST_F(CameraControl, One_SetsInputOneAndControlZero) {
  start();
  expect_values(180, "EE 70 01 0400 01000000", "EE 71 01 0400 00000000");
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 VIDIOC_S_INPUT 1", "video0 CONTROL_CAMERA 0"));
  EXPECT_EQ(state("camera control"), "0 on input 1");
  expect_log(phone(), "update result: 0");
}

TEST_F(CameraControl, Two_SetsInputOneAndControlOne) {
  start();
  expect_values(180, "EE 70 01 0400 02000000", "EE 71 01 0400 00000000");
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 VIDIOC_S_INPUT 1", "video0 CONTROL_CAMERA 1"));
  EXPECT_EQ(state("camera control"), "1 on input 1");
}

TEST_F(CameraControl, ResultOfTheDriver_IsHandedOn) {
  start();
  handset::set_device_result(phone().devices(), "video0 CONTROL_CAMERA 1", 258);
  expect_values(180, "EE 70 01 0400 02000000", "EE 71 01 0400 02010000");
  expect_log(phone(), "update result: 258");
}

TEST_F(CameraControl, KernelWithoutInputOne_IsResultThree) {
  start();
  fail_call("video0 VIDIOC_S_INPUT", ENODEV);
  expect_values(180, "EE 70 01 0400 01000000", "EE 71 01 0400 03000000");
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 VIDIOC_S_INPUT 1 failed 19"));
  expect_log(phone(), "update result: 3");
}

TEST_F(CameraControl, InputRefused_Fails) {
  start();
  fail_call("video0 VIDIOC_S_INPUT 1", EBUSY);
  expect_failure(180, "EE 70 01 0400 01000000");
  EXPECT_THAT(device_calls(), ElementsAre("video0 open", "video0 VIDIOC_S_INPUT 1 failed 16"));
  expect_log(phone(), "sys call: ioctl() failed! errno = 16");
}

TEST_F(CameraControl, ControlRefused_Fails) {
  start();
  // Without the device: that is a result only where the input is set.
  fail_call("video0 CONTROL_CAMERA", ENODEV);
  expect_failure(180, "EE 70 01 0400 02000000");
  EXPECT_THAT(device_calls(),
              ElementsAre("video0 open", "video0 VIDIOC_S_INPUT 1", "video0 CONTROL_CAMERA 1 failed 19"));
  expect_log(phone(), "sys call: ioctl() failed! errno = 19");
  EXPECT_EQ(phone().log().count("update result: "), 0u);
}

TEST_F(CameraControl, DeviceCannotBeOpened_Fails) {
  start();
  fail_call("video0 open", EBUSY);
  expect_failure(180, "EE 70 01 0400 01000000");
  expect_log(phone(), "sys call: open() failed! errno = 16");
  heal_calls();
  expect_values(180, "EE 70 01 0400 01000000", "EE 71 01 0400 00000000");
}

TEST_F(CameraControl, WithoutDevice_Fails) {
  start(without_video_device());
  expect_failure(180, "EE 70 01 0400 01000000");
  expect_log(phone(), "sys call: open() failed! errno = 2");
}

TEST_F(CameraControl, OtherIds_FailWithoutOpeningTheDevice) {
  start();
  expect_failure(180, "EE 70 01 0400 00000000");
  expect_failure(180, "EE 70 01 0400 03000000");
  expect_failure(180, "EE 70 01 0400 01010000");
  expect_failure(180, "EE 70 01 0400 FFFFFFFF");
  expect_failure(180);
  EXPECT_THAT(device_calls(), IsEmpty());
  expect_log(phone(), "invalid control_id: 0", 2);
  expect_log(phone(), "invalid control_id: 3");
  expect_log(phone(), "invalid control_id: 257");
  expect_log(phone(), "invalid control_id: -1");
}

}  // namespace
