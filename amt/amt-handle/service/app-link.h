// The APP link: a pseudo-terminal over which the phone's test application sends bare frames. Every read is dispatched
// at once, so a frame that comes in two reads is two requests.
#pragma once

// Thread: reads requests and runs their handlers. When the application closes its side, the thread opens the terminal
// again under the same name; when that fails, or on any other read error, the thread ends and the service goes on
// without an APP link.
void amt_handle_read_app_loop();
