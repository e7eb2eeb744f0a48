// One phone at the station: its two links, opened when they are first needed and held until the unit is done.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/writer.h"
#include "station/plan/plan.h"
#include "station/plan/request.h"
#include "station/wire/exit-code.h"
#include "station/wire/link.h"

// What came of a request.
struct run_answer_st {
  station_exit_en m_code = STATION_OK;
  std::string m_message;                // why it is not STATION_OK
  std::optional<std::string> m_value;   // as the phone gave it
  std::vector<std::string> m_exchange;  // objects of station_render_json
};

class run_phone_st {
 public:
  // Ports as the command line has them; `app` may be empty. baud 0: as it is.
  run_phone_st(std::string pc, std::string app, unsigned baud);
  ~run_phone_st();
  // What passes on the links is kept there from now on, under the phone's name. Borrowed.
  void set_capture(capture_writer_st* writer, const std::string& name);
  run_phone_st(const run_phone_st&) = delete;
  run_phone_st& operator=(const run_phone_st&) = delete;

  // Carries out the request on the step's link, in its time. stop_fd: readable ends the wait.
  run_answer_st exchange(const plan_step_st& step, const plan_request_st& request, int stop_fd);
  void close();

  // For a station that waits for the next phone. Both return false when stop_fd became readable.
  bool wait_gone(int stop_fd);
  bool wait_there(int stop_fd);

 private:
  struct line_st;

  line_st* line_of(plan_link_en link) const;

  std::unique_ptr<line_st> m_pc;
  std::unique_ptr<line_st> m_app;
  unsigned m_baud;
};
