#include "handset/phone/factory-image.h"

namespace handset {

namespace {

struct entry {
  const char* name;
  const char* content;
};
constexpr entry PROPERTIES_OF_BUILD[] = {
    {"ro.build.display.id", "VX5210-4.2.0"},
    {"ro.build.version.incremental", "20130121"},
    {"ro.board.platform", "vx5210"},
    {"sys.usb.config", "mtp,adb"},
};
// The addresses are of the range that anybody may use.
constexpr entry RECORDS[] = {
    {"/amt/BT/BT_Address.txt", "02A0B0C0D001\n"},
    {"/amt/WIFI/WIFI_nvram.txt", "02A0B0C0D002\n"},
    {"/amt/sn-2.txt", "PCBA0000001"},
    {"/amt/usb_serial", "VX52100000001"},
    {"/amt/power_usb_amt.txt", "1"},
    {"/system/etc/wifi/nvram.txt", "manfid=0x2d0\nboardtype=0x0598\nmacaddr=02:A0:B0:C0:D0:00\nccode=ALL\n"},
};

}  // namespace

void add_factory_image(phone_options& options) {
  for (const auto& [name, value] : PROPERTIES_OF_BUILD) options.properties.try_emplace(name, value);
  for (const auto& [path, content] : RECORDS) options.files.try_emplace(path, content);
}

void add_factory_identities(modem& the_modem) {
  the_modem.change_state([](modem_state& state) {
    state.imei = "490154203237518";
    state.board_number = "VXB0000001";
  });
}

}  // namespace handset
