// An item of a capture that outlives the stream it was cut from.
#pragma once

#include <cstdint>
#include <vector>

#include "capture/items.h"

class capture_kept_st {
 public:
  explicit capture_kept_st(const capture_item_st& item)
      : m_item(item), m_bytes(item.m_item.m_bytes.begin(), item.m_item.m_bytes.end()) {}

  // Its bytes are borrowed from this object.
  capture_item_st item() const {
    capture_item_st item = m_item;
    item.m_item.m_bytes = m_bytes;
    return item;
  }

 private:
  capture_item_st m_item;
  std::vector<std::uint8_t> m_bytes;
};
