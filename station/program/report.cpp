#include "station/program/report.h"

#include <fmt/format.h>

#include <ostream>

bool station_report_st::is_broken() const {
  return !m_io.m_out->good();
}

void station_report_st::show(const station_entry_st& entry) {
  std::ostream& stream = m_options.m_value ? *m_io.m_err : *m_io.m_out;
  const station_style_st style{m_io.m_color && !m_options.m_value, m_options.m_hex};
  stream << (m_options.m_json ? station_render_json(entry) : station_render_text(entry, style)) << std::endl;
}

void station_report_st::print(const std::string& text) {
  *m_io.m_out << text << std::flush;
}

int station_report_st::finish(const std::string& word, const station_outcome_st& outcome) {
  if (outcome.m_exit != STATION_OK) {
    *m_io.m_err << "amt-station: " << outcome.m_message << '\n';
    if (!outcome.m_hint.empty()) *m_io.m_err << "  hint: " << outcome.m_hint << '\n';
    *m_io.m_err << std::flush;
  }
  if (m_options.m_json) {
    print(station_render_json_result(word, outcome) + '\n');
  } else if (m_options.m_value) {
    if (outcome.m_value) print(*outcome.m_value + '\n');
  } else {
    const std::string result = station_render_result(word, outcome);
    if (!result.empty()) print(result + '\n');
  }
  return finish_output(outcome.m_exit);
}

int station_report_st::finish_output(station_exit_en code) {
  *m_io.m_out << std::flush;
  if (!is_broken() || code != STATION_OK) return code;
  *m_io.m_err << "amt-station: standard output failed" << std::endl;
  return STATION_NO_OUTPUT;
}

int station_refuse(const station_io_st& io, const station_options_st& options, const std::string& wrong) {
  station_outcome_st outcome;
  outcome.m_exit = STATION_USAGE;
  outcome.m_message = wrong;
  return station_report_st(io, options).finish(options.m_name, outcome);
}
