// A capture for people and programs: one line for each frame or text, as `monitor` shows it live. Pure.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "capture/items.h"
#include "station/capture/requests.h"
#include "station/wire/render.h"

struct capture_filter_st {
  std::vector<std::uint8_t> m_ids;  // of requests, with their answers; empty: everything
  std::optional<capture_link_en> m_link{};
  std::string m_phone{};
  bool m_errors_only = false;  // refusals, damaged frames, noise, requests without an answer
};

class capture_decoder_st {
 public:
  // The entry and what it borrows are valid during the call.
  using sink = std::function<void(const station_entry_st&)>;

  capture_decoder_st(capture_filter_st filter, sink show);
  capture_decoder_st(const capture_decoder_st&) = delete;
  capture_decoder_st& operator=(const capture_decoder_st&) = delete;

  void take(const capture_entry_st& entry, std::size_t line);
  // Nothing came for a while: what is unfinished is shown as it is.
  void flush() { m_items.flush(); }
  // The capture ends.
  void finish();

 private:
  void take_item(const capture_item_st& item);
  void show_item(const capture_item_st& item, std::optional<std::int64_t> since_ns, const char* note) const;
  bool is_wanted_id(const capture_item_st& item, std::optional<std::uint8_t> answered) const;
  std::optional<std::int64_t> since(const capture_item_st& item);

  capture_filter_st m_filter;
  sink m_show;
  capture_items_st m_items;
  capture_requests_st m_requests;
  std::map<std::string, std::int64_t> m_latest_ns;  // of each phone
};
