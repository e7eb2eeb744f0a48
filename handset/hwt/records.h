// The files of the simulated device-test library, all in /data/hwt of the phone's tree. Nothing depends on them: where
// they cannot be made or read, the library works on without.
//
//   state     written: what the radios do, one "name=value" a line
//   calls     appended: one line for each call, "hwt_gpsCtrl(2, 5) = 0"
//   control   read before each call, written by whoever tests: lines "<begin of a call> = <result>", the first that
//             fits decides; "hwt_wifiCtrl = -1" makes both directions fail, "hwt_wifiCtrl(0 = -1" only the stop.
//             Further lines set what the radios meet: "packets = 1000", "svid = 6", "cnr = 35"
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace hwt {

struct radio_state {
  int bt = 0;
  int wifi = 0;
  int gps = 0;
  int tx = 0;
  int tx_channel = 0;
  int tx_rate = 0;
  int tx_power = 0;
  int rx = 0;
  int rx_channel = 0;
  int rx_rate = 0;
};

radio_state load_state();
void save_state(const radio_state& state);
void append_call(std::string_view call, int result);
// The number behind the first control line whose left side `wanted` begins with.
std::optional<int> controlled(std::string_view wanted);

}  // namespace hwt
