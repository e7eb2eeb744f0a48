// What the page's server answers: the page, its events, and refusals of everything else.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "station/web/board.h"

namespace httplib {
class Server;
}

inline constexpr unsigned WEB_MOST_WATCHERS = 128;

struct web_site_st {
  web_board_st* m_board;  // borrowed
  std::string m_address;  // that the server listens on
  int m_port = 0;
  std::atomic<unsigned> m_watchers = 0;
};

// Whether a request's Host header names this server. A page of another site whose name leads to this machine sends its
// own name.
bool web_is_own_host(std::string_view host, const std::string& address, int port);

// Sets all answers and bounds. The site is borrowed.
void web_set_routes(httplib::Server* server, web_site_st* site);
