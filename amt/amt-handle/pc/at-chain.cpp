#include "amt/amt-handle/pc/at-chain.h"

#include "amt/amt-handle/pc/address.h"
#include "amt/amt-handle/pc/amt1-flag.h"
#include "amt/amt-handle/pc/boot-download.h"
#include "amt/amt-handle/pc/device-control.h"
#include "amt/amt-handle/pc/idle.h"
#include "amt/amt-handle/pc/pcba-sn.h"
#include "amt/amt-handle/pc/software-version.h"
#include "pub/result.h"

namespace {

// A link gives ERR_NOT_HANDLED when the text does not hold its command. The order decides which command is answered
// when a text holds several. The identity writes "AT^DCGSNW=", "AT^DMSN=" and "AT^DMPCHN=" are not here on purpose: the
// modem answers them.
using at_link = result_code_en (*)(std::string_view received, amt_message_st* response);
constexpr at_link AT_CHAIN[] = {
    handle_amt_bt_at,                    // AT^DBTADDR?\r  AT^DBTADDR=?\r  AT^DBTADDR="
    handle_amt_wifi_at,                  // AT^DWIFIADDR?\r  AT^DWIFIADDR=?\r  AT^DWIFIADDR="
    handle_amt_sw_version_at,            // AT^DSVER\r
    handle_amt_power_off_at,             // AT^DAMTOFF\r
    handle_amt_device_at,                // AT^DDEVCONNCHK=  AT^DBTCTRL=  AT^DGPSCTRL=  AT^DWLTSD=  AT^DWLTRD=
    handle_amt_pcba_sn_at,               // AT^DPCBACTRL=
    handle_amt_not_permit_handshake_at,  // AT^DAMT1=
    handle_amt_enter_idle_at,            // AT^DENTERIDLE
    handle_amt_boot_dl_fin_read_at,      // AT^DBOOTDLFIN
};

}  // namespace

result_code_en handle_amt_pc_req_at(std::string_view received, amt_message_st* response) {
  for (const at_link link : AT_CHAIN) {
    const result_code_en result = link(received, response);
    if (result != ERR_NOT_HANDLED) return result;
  }
  return ERR_NOT_HANDLED;
}
