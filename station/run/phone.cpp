#include "station/run/phone.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <array>

#include "station/plan/request.h"
#include "station/wire/judge.h"
#include "station/wire/render.h"
#include "station/wire/session.h"
#include "station/words/exchange.h"

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds TRY_STEP{200};     // between two looks for a port
constexpr std::chrono::milliseconds SETTLE_TIME{300};  // a port that stays so long belongs to a phone
constexpr std::size_t MOST_SHOWN = 2000;               // objects of one exchange; a line that never stops has more

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
    m_session = std::make_unique<station_session_st>(
        &m_link, [this](const auto& entry) { show(entry); }, m_form);
    return STATION_OK;
  }

  void close() {
    m_session.reset();
    m_link.close();
  }

  void show(const station_entry_st& entry) {
    if (m_shown == nullptr) return;
    if (m_shown->size() < MOST_SHOWN) m_shown->push_back(station_render_json(entry));
    if (entry.m_is_sent) {
      m_judge.emplace(station_rule_for(*m_request, 0));
    } else if (m_judge) {
      m_judge->take(entry.m_item);
    }
  }

  // The plan knows where the answer to a raw request has its value; the words do not.
  std::optional<std::string> raw_value() const {
    if (!m_judge) return std::nullopt;
    if (m_request->m_is_frame || m_request->m_value.m_line != nullptr)
      return station_value(*m_request, m_judge->answer());
    const auto& lines = m_judge->answer().m_lines;
    const auto is_information = [](const std::string& text) { return !station_at_final(text); };
    const auto first = std::ranges::find_if(lines, is_information);
    return first == lines.end() ? std::nullopt : std::optional(*first);
  }

  std::string m_path;
  stream_form_en m_form;
  station_link_st m_link;
  std::unique_ptr<station_session_st> m_session;
  std::vector<std::string>* m_shown = nullptr;
  const station_request_st* m_request = nullptr;  // of the exchange that is going on
  std::optional<station_judge_st> m_judge;        // of the latest request that was sent
};

run_phone_st::run_phone_st(std::string pc, std::string app, unsigned baud)
    : m_pc(std::make_unique<line_st>(std::move(pc), stream_form_en::WRAPPED)),
      m_app(std::make_unique<line_st>(std::move(app), stream_form_en::BARE)),
      m_baud(baud) {}

run_phone_st::~run_phone_st() = default;

run_phone_st::line_st* run_phone_st::line_of(plan_link_en link) const {
  return link == plan_link_en::APP ? m_app.get() : m_pc.get();
}

void run_phone_st::set_capture(capture_writer_st* writer, const std::string& name) {
  m_pc->m_link.set_capture({writer, capture_link_en::PC, name});
  m_app->m_link.set_capture({writer, capture_link_en::APP, name});
}

void run_phone_st::close() {
  m_pc->close();
  m_app->close();
}

run_answer_st run_phone_st::exchange(const plan_step_st& step, const plan_request_st& request, int stop_fd) {
  run_answer_st answer;
  line_st& line = *line_of(step.m_link);
  line.m_link.set_stop_fd(stop_fd);
  answer.m_code = line.open(m_baud);
  if (answer.m_code != STATION_OK) {
    answer.m_message = line.m_link.error();
    return answer;
  }
  line.m_shown = &answer.m_exchange;
  line.m_request = &request.m_request;
  station_wishes_st wishes;
  wishes.m_timeout = std::chrono::milliseconds(step.m_timeout_ms);
  station_exchange_st exchange(&line.m_link, line.m_session.get(), line.m_form);
  const station_outcome_st outcome = exchange.run(*request.m_word, request.m_arguments, wishes);
  line.m_shown = nullptr;
  answer.m_code = outcome.m_exit;
  answer.m_message = outcome.m_message;
  answer.m_value = outcome.m_value;
  const bool is_raw = step.m_action != plan_action_en::WORD;
  if (is_raw && outcome.m_exit == STATION_OK) answer.m_value = line.raw_value();
  if (answer.m_code == STATION_PORT_GONE) line.close();
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
    // A gateway takes the connection and closes it again when no phone is plugged in.
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
