#include "amt/amt-screen/banner.h"

void amt_handle_load_image_for_handshake() {}
