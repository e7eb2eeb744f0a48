// The modem's data device: what is needed to open it, at the start and after a reset.
#pragma once

// Whether the modem data device is a real UART ("/dev/ttyS..."), whose line speed is set.
bool amt_modem_is_uart();

// What follows an attempt to open the modem data device: its log line and, if it is open and a real UART, its speed.
// fd: what the attempt gave, 0 or less when it failed.
void amt_modem_finish_opening(int fd);
