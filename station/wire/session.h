// Sends on a link, cuts what comes back into items, shows every item with its time, and asks a judge when to stop.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "capture/stream.h"
#include "station/wire/judge.h"
#include "station/wire/link.h"
#include "station/wire/render.h"

using station_show = std::function<void(const station_entry_st&)>;

class station_session_st {
 public:
  // The link is borrowed and open.
  station_session_st(station_link_st* link, station_show show, stream_form_en form = stream_form_en::WRAPPED)
      : m_link(link), m_show(std::move(show)), m_form(form), m_splitter(form) {}

  // Shows what already waits on the line, so that it is not taken for the answer. Whether an answer was among it.
  bool drain();
  // The same, and then sends the request's bytes.
  station_exit_en send(std::span<const std::uint8_t> bytes, bool is_frame, station_time deadline);

  // Receives until the judge decides, the deadline passes or the link ends. An unfinished frame or line is shown as it
  // is when nothing more of it came for part_wait.
  station_exit_en receive(station_judge_st* judge, station_time deadline, std::chrono::milliseconds part_wait);
  // Nobody can see what is shown any more: receive ends with STATION_NO_OUTPUT.
  void stop() { m_is_stopped = true; }

 private:
  station_time quiet_end(std::chrono::milliseconds part_wait) const;

  station_link_st* m_link;
  station_show m_show;
  stream_form_en m_form;
  stream_splitter_st m_splitter;
  bool m_is_stopped = false;
};
