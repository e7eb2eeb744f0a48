// The connection to a store, for this room alone: the only files that see the database library.
#pragma once

#include <soci/soci.h>

#include <string>

#include "station/store/address.h"

struct store_session_st {
  soci::session m_sql;
  store_address_st m_address;
  std::string m_id;
};

// What a failure of the library says, in one line.
std::string store_failure(const store_address_st& address, const std::exception& error);

// Runs the action and gives its failure as a text.
template <typename Action>
std::string store_try(const store_address_st& address, const Action& action) {
  try {
    action();
  } catch (const std::exception& error) {
    return store_failure(address, error);
  }
  return {};
}
