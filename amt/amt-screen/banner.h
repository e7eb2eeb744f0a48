// The mode banner: the words AMT MODE on the phone's screen, so that the operator sees that it is in factory test.
#pragma once

// Shows the banner once. The body of a short-lived thread; failures are only logged.
void amt_handle_load_image_for_handshake();
