// Every emulated call is written down, and any of them fails on demand.
//
//   calls     a line for each call: "fb0 ZELTAFB_IOCTL_EN_LAYER 1"; " failed 5" follows when it did not work (5 is
//             the errno)
//   faults    a line for each kind of call that is to fail: "5 fb0 ZELTAFB_IOCTL_EN_LAYER 1". A fault that names less
//             ("5 fb0 ZELTAFB_IOCTL_EN_LAYER") is about every call that begins with these words. Read anew at each
//             call.
//   results   the same for calls that return a number other than 0
#pragma once

#include <string_view>

namespace preload {

// The errno of the fault that is about the call; 0 when there is none.
int fault_of(std::string_view call);
// What the call gives when it works.
int result_of(std::string_view call);
// Writes the call down. Returns 0 without an error; otherwise -1, and sets errno to it.
int finish(std::string_view call, int error);

}  // namespace preload
