// The page's server: a port of its own, in threads of its own.
#pragma once

#include <memory>
#include <string>

#include "station/web/board.h"

inline constexpr char WEB_DEFAULT_ADDRESS[] = "127.0.0.1:8700";

struct web_address_st {
  std::string m_host;
  int m_port = 0;  // 0: one that is free
};

// "ADDRESS:PORT", "[::1]:8700". Returns what is wrong with it; empty: nothing.
std::string web_parse_address(const std::string& text, web_address_st* address);

class web_server_st {
 public:
  // The board is borrowed.
  explicit web_server_st(web_board_st* board);
  ~web_server_st();
  web_server_st(const web_server_st&) = delete;
  web_server_st& operator=(const web_server_st&) = delete;

  // Returns why it cannot serve there; empty: it does.
  std::string start(const web_address_st& address);
  // Where the page is, for people.
  std::string url() const;

 private:
  struct parts_st;
  std::unique_ptr<parts_st> m_parts;
};
