#include "amt/amt-handle/channel/registrations.h"

#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/amt1-flag.h"
#include "amt/amt-handle/pc/boot-download.h"

namespace {

constexpr amt_registration_st REGISTRATIONS[] = {
    {AMT_LINK_PC, 45, handle_amt_pc_req_version},
    {AMT_LINK_PC, 219, amt_handle_not_permit_handshake},
    {AMT_LINK_PC, 244, amt_modem_boot_dl_fin_read},
};

}  // namespace

std::span<const amt_registration_st> amt_handle_registrations() {
  return REGISTRATIONS;
}
