// The list of every handler that the service registers.
#pragma once

#include <cstdint>
#include <span>

#include "amt/amt-handle/context/handle-context.h"

struct amt_registration_st {
  amt_link_en m_link;
  std::uint8_t m_request_id;
  amt_handle_func m_handler;
  amt_pre_response_en m_pre_response = amt_pre_response_en::BY_DISPATCHER;
};

// In the order in which they are registered.
std::span<const amt_registration_st> amt_handle_registrations();
