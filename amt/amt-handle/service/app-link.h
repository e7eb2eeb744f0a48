// The APP link: a pseudo-terminal over which the phone's test application sends bare frames. Every read is dispatched
// at once, so that a frame that comes in two reads is two requests.
#pragma once

// Thread: reads requests and runs their handlers. An application that closes its side makes it open the terminal anew
// under the same name; when that fails, or on any other read error, the thread ends and the service goes on without an
// APP link.
void amt_handle_read_app_loop();
