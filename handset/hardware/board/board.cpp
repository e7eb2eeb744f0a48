// The simulated board library. Its files lie in /data/board of the phone's tree (see hwt/call-files.h): "calls" is
// written, "control" is read, e.g. "IsChargeState = 1" or "amt_usb_charger_enable(1 = -5". "devinfo" holds the text of
// create_devinfo, "state" shows what the hardware now does.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "handset/hardware/hwt/call-files.h"

extern "C" {
int IsChargeState();
int amt_check_system_sanity();
int amt_usb_charger_enable(int enable);
int enter_idle();
int codec_loop_test(int type, int enable);
int create_devinfo(char* buffer, int size);
}

namespace {

constexpr int FED_BY_USB = 2;
constexpr int SANE = 1;

const hwt::call_files& files() {
  static const hwt::call_files files("/data/board");
  return files;
}

int perform(const std::string& call, int usual) {
  const int result = files().controlled(call).value_or(usual);
  files().append_call(call, result);
  files().take_time(call);
  return result;
}

void note(const char* name, int value) {
  files().set_state(name, value);
}

std::string device_information() {
  std::ifstream file("/data/board/devinfo");
  if (!file) return "board=vx5210;lcd=720x1280;touch=ok;camera=8M+2M;sim=2";
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

int IsChargeState() {
  return perform("IsChargeState()", FED_BY_USB);
}

int amt_check_system_sanity() {
  return perform("amt_check_system_sanity()", SANE);
}

int amt_usb_charger_enable(int enable) {
  const int result = perform("amt_usb_charger_enable(" + std::to_string(enable) + ")", 0);
  if (result == 0) note("usb_charging", enable);
  return result;
}

int enter_idle() {
  const int result = perform("enter_idle()", 0);
  if (result == 0) note("idle", 1);
  return result;
}

int codec_loop_test(int type, int enable) {
  const int result = perform("codec_loop_test(" + std::to_string(type) + ", " + std::to_string(enable) + ")", 0);
  if (result == 0) note("codec_loop", enable != 0 ? type : -1);
  return result;
}

int create_devinfo(char* buffer, int size) {
  const int result = perform("create_devinfo(buffer, " + std::to_string(size) + ")", 0);
  if (result != 0 || buffer == nullptr || size <= 0) return result;
  std::snprintf(buffer, static_cast<std::size_t>(size) + 1, "%s", device_information().c_str());
  return 0;
}
