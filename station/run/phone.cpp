#include "station/run/phone.h"

#include <fmt/format.h>
#include <poll.h>

#include <array>

#include "station/plan/request.h"
#include "station/wire/judge.h"
#include "station/wire/render.h"
#include "station/wire/session.h"

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds TRY_STEP{200};   // between two looks for a port
constexpr std::chrono::milliseconds SETTLE_TIME{300};  // a port that stays so long has a phone behind it
constexpr std::size_t MOST_SHOWN = 2000;             // objects of one exchange; a line that never stops has more

bool is_stopped_within(std::chrono::milliseconds time, int stop_fd) {
  pollfd stop{stop_fd, POLLIN, 0};
  return ::poll(&stop, 1, static_cast<int>(time.count())) > 0;
}

}  // namespace

struct run_phone_st::line_st {
  line_st(std::string path, stream_form_en form) : m_path(std::move(path)), m_form(form) {}

  station_exit_en open(unsigned baud) {
    if (m_session) return STATION_OK;
    const station_exit_en opened = m_link.open(m_path, baud);
    if (opened != STATION_OK) return opened;
    m_session = std::make_unique<station_session_st>(&m_link, [this](const auto& entry) { show(entry); }, m_form);
    return STATION_OK;
  }

  void close() {
    m_session.reset();
    m_link.close();
  }

  void show(const station_entry_st& entry) {
    if (m_shown != nullptr && m_shown->size() < MOST_SHOWN) m_shown->push_back(station_render_json(entry));
  }

  std::string m_path;
  stream_form_en m_form;
  station_link_st m_link;
  std::unique_ptr<station_session_st> m_session;
  std::vector<std::string>* m_shown = nullptr;
};

run_phone_st::run_phone_st(std::string pc, std::string app, unsigned baud)
    : m_pc(std::make_unique<line_st>(std::move(pc), stream_form_en::WRAPPED)),
      m_app(std::make_unique<line_st>(std::move(app), stream_form_en::BARE)),
      m_baud(baud) {}

run_phone_st::~run_phone_st() = default;

run_phone_st::line_st* run_phone_st::line_of(plan_link_en link) const {
  return link == plan_link_en::APP ? m_app.get() : m_pc.get();
}

void run_phone_st::close() {
  m_pc->close();
  m_app->close();
}

run_answer_st run_phone_st::exchange(const plan_step_st& step, const station_request_st& request, station_time deadline,
                                     int stop_fd) {
  run_answer_st answer;
  line_st& line = *line_of(step.m_link);
  line.m_link.set_stop_fd(stop_fd);
  line.m_shown = &answer.m_exchange;
  answer.m_code = line.open(m_baud);
  if (answer.m_code == STATION_OK) {
    const auto bytes = station_wire_bytes(request, line.m_form);
    answer.m_code = line.m_session->send(bytes, request.m_is_frame, deadline);
  }
  if (answer.m_code == STATION_OK) {
    station_judge_st judge(station_rule_for(request, 0));
    answer.m_code = line.m_session->receive(&judge, deadline, std::chrono::milliseconds::max());
    if (answer.m_code == STATION_OK) answer.m_value = station_value(request, judge.answer());
  }
  line.m_shown = nullptr;
  if (answer.m_code == STATION_OK) return answer;
  const bool is_links = answer.m_code == STATION_PORT_GONE || answer.m_code == STATION_NO_PORT ||
                        answer.m_code == STATION_PORT_IN_USE;
  answer.m_message = is_links ? line.m_link.error() : station_exit_meaning(answer.m_code);
  if (is_links) line.close();
  return answer;
}

bool run_phone_st::wait_gone(int stop_fd) {
  std::array<std::uint8_t, 4096> chunk{};
  m_pc->m_link.set_stop_fd(stop_fd);
  while (m_pc->m_session) {
    std::size_t count = 0;
    const station_exit_en result = m_pc->m_link.read_some(chunk, station_time::max(), &count);
    if (result == STATION_INTERRUPTED) return false;
    if (result == STATION_PORT_GONE) break;
  }
  close();
  return true;
}

bool run_phone_st::wait_there(int stop_fd) {
  std::array<std::uint8_t, 4096> chunk{};
  m_pc->m_link.set_stop_fd(stop_fd);
  for (;;) {
    const station_exit_en opened = m_pc->open(m_baud);
    if (opened == STATION_INTERRUPTED) return false;
    const auto until = clock::now() + SETTLE_TIME;
    // A gateway takes the connection and closes it again when no phone is plugged in behind it.
    bool is_there = opened == STATION_OK;
    while (is_there && clock::now() < until) {
      std::size_t count = 0;
      const station_exit_en result = m_pc->m_link.read_some(chunk, until, &count);
      if (result == STATION_INTERRUPTED) return false;
      is_there = result == STATION_OK || result == STATION_NO_ANSWER;
    }
    if (is_there) return true;
    m_pc->close();
    if (is_stopped_within(TRY_STEP, stop_fd)) return false;
  }
}
