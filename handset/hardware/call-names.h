// The names of all calls that can be made to fail: of the played devices and of the simulated libraries. The preloaded
// library is compiled against the first list; a test holds the second one to the libraries.
#pragma once

#include <span>
#include <string_view>

namespace handset {

struct played_device {
  std::string_view name;
  std::span<const std::string_view> calls;
};

inline constexpr std::string_view FRAMEBUFFER_CALLS[] = {
    "open",
    "mmap",
    "FBIOGET_FSCREENINFO",
    "FBIOGET_VSCREENINFO",
    "FBIOPUT_VSCREENINFO",
    "ZELTAFB_IOCTL_EN_LAYER",
    "ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT",
};
inline constexpr std::string_view CONSOLE_CALLS[] = {"open", "KDSETMODE"};
inline constexpr std::string_view VIDEO_CALLS[] = {"open", "SELECT_CAMERA", "VIDIOC_S_INPUT", "CONTROL_CAMERA"};
inline constexpr std::string_view BATTERY_CALLS[] = {"read", "write", "open"};

inline constexpr played_device PLAYED_DEVICES[] = {
    {"fb0", FRAMEBUFFER_CALLS}, {"tty0", CONSOLE_CALLS}, {"video0", VIDEO_CALLS}, {"battery", BATTERY_CALLS}};

inline constexpr std::string_view BOARD_CALLS[] = {"IsChargeState", "amt_check_system_sanity", "amt_usb_charger_enable",
                                                   "enter_idle",    "codec_loop_test",         "create_devinfo"};
// The last three are what the radios receive.
inline constexpr std::string_view HWT_CALLS[] = {"hwt_btCtrl", "hwt_btCheck", "hwt_wifiCtrl", "hwt_wifiCheck",
                                                 "hwt_TxTest", "hwt_RxTest",  "hwt_gpsCtrl",  "hwt_gpsCheck",
                                                 "packets",    "svid",        "cnr"};

// Of "board" or "hwt".
constexpr std::span<const std::string_view> simulated_calls(std::string_view library) {
  return library == "board" ? std::span<const std::string_view>(BOARD_CALLS)
                            : std::span<const std::string_view>(HWT_CALLS);
}

// Whether every request of a device's table is in the list of its names.
template <typename Requests>
constexpr bool are_listed(const Requests& requests, std::span<const std::string_view> names) {
  for (const auto& request : requests) {
    bool found = false;
    for (const auto name : names) found = found || name == request.name;
    if (!found) return false;
  }
  return true;
}

}  // namespace handset
