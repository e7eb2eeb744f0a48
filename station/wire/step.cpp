#include "station/wire/step.h"

#include <array>

#include "amt/amt-convert/ids.h"

namespace {

using probes = std::array<station_request_st, 2>;

station_request_st text_probe(const char* text, const char* line) {
  station_request_st request;
  request.m_text = text;
  request.m_value.m_line = line;
  return request;
}

station_request_st version_probe(std::uint32_t module) {
  station_request_st request;
  station_start_frame(AMT_VERSION_CMD, &request);
  amt_frame_add_int(&request.m_frame.m_buf_a, AMT_ATOM_MODULE, module);
  return request;
}

probes phone_probes(stream_form_en form) {
  if (form == stream_form_en::BARE) return {version_probe(1), version_probe(32)};
  return {text_probe("AT^DAMT1=2\r", "^DAMT1:"), text_probe("AT^DSVER\r", "^DSVER:")};
}

probes modem_probes() {
  return {text_probe("AT^DGSN?\r", "^DGSN:"), text_probe("AT^DMSN\r", "^DMSN:")};
}

// Sends one probe. *is_clean: it was answered, and nothing but its answer came.
station_exit_en ask(station_session_st* session, stream_form_en form, const station_request_st& probe,
                    station_time deadline, bool* is_clean) {
  const bool had_answer = session->drain();
  const auto bytes = station_wire_bytes(probe, form);
  const station_exit_en sent = session->send(bytes, probe.m_is_frame, deadline);
  if (sent != STATION_OK) return sent;
  station_judge_st judge(station_rule_for(probe, 0));
  const station_exit_en result = session->receive(&judge, deadline, std::chrono::milliseconds::max());
  *is_clean = result == STATION_OK && !had_answer && !judge.has_strangers();
  return judge.is_answered() || result == STATION_DAMAGED ? STATION_OK : result;
}

station_exit_en ask_until_clean(station_session_st* session, stream_form_en form, const probes& all,
                                station_time deadline) {
  std::size_t clean = 0;
  for (std::size_t n = 0; clean < all.size(); ++n) {
    bool is_clean = false;
    const station_exit_en result = ask(session, form, all.at(n % all.size()), deadline, &is_clean);
    if (result != STATION_OK) return result == STATION_NO_VALUE ? STATION_NO_ANSWER : result;
    if (std::chrono::steady_clock::now() >= deadline) return STATION_NO_ANSWER;
    clean = is_clean ? clean + 1 : 0;
  }
  return STATION_OK;
}

}  // namespace

station_exit_en station_come_into_step(station_link_st* link, station_session_st* session, stream_form_en form,
                                       bool wants_modem, station_time deadline) {
  const bool is_modem_in_doubt = link->doubt() == station_doubt_en::MODEM;
  station_exit_en result = ask_until_clean(session, form, phone_probes(form), deadline);
  if (result != STATION_OK || (is_modem_in_doubt && !wants_modem)) return result;
  if (is_modem_in_doubt) result = ask_until_clean(session, form, modem_probes(), deadline);
  if (result == STATION_OK) link->set_doubt(station_doubt_en::NONE);
  return result;
}

station_exit_en station_probe(station_session_st* session, stream_form_en form, station_time deadline) {
  bool is_clean = false;
  return ask(session, form, phone_probes(form)[0], deadline, &is_clean);
}
