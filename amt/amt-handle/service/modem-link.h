// The modem data link: everything the modem sends goes to the PC unchanged.
#pragma once

// Thread entry of the data link's reader. Its end is the end of the service.
void amt_handle_read_modem_loop();
