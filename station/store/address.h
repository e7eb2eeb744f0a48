// Where a store is: a file, or a database server. Pure.
#pragma once

#include <string>

struct store_address_st {
  bool m_is_server = false;
  std::string m_file;        // of SQLite
  std::string m_connection;  // what the database's library takes
  std::string m_shown;       // for messages, without a password
};

// "postgresql://...", "sqlite:PATH" or a path. Returns what is wrong with the text; empty: nothing.
std::string store_parse_address(const std::string& text, store_address_st* address);
