// A phone's line that another machine serves over TCP, byte for byte (ser2net in raw mode): tcp://HOST:PORT.
#pragma once

#include <string>

#include "station/wire/exit-code.h"

bool station_is_tcp(const std::string& path);

// Connects within some seconds; *fd is the socket, which does not block and is the caller's. Otherwise *why is the
// reason: STATION_NO_PORT, or STATION_INTERRUPTED when stop_fd became readable.
station_exit_en station_connect(const std::string& path, int stop_fd, int* fd, std::string* why);
