#include "station/program/command-line.h"

#include "station/program/completion-command.h"
#include "station/program/options.h"
#include "station/program/plan-commands.h"
#include "station/program/report.h"
#include "station/program/results-commands.h"
#include "station/program/run.h"
#include "station/program/shell.h"
#include "station/words/exchange.h"

int station_run(const std::vector<std::string>& arguments, const station_io_st& io) {
  if (const auto status = station_run_plan_command(arguments, io)) return *status;
  if (const auto status = station_run_results_command(arguments, io)) return *status;
  if (const auto status = station_run_completion_command(arguments, io)) return *status;
  station_options_st options;
  if (const auto status = station_parse(arguments, io, false, &options)) return *status;
  if (options.m_task == station_task_en::EXPLAIN) return station_print_explanation(options, io);
  station_run_st run(options, io);
  if (options.m_task == station_task_en::WAIT) return run.wait_for_phone();
  if (options.m_word != nullptr) {
    // What cannot be sent is refused before the port is touched.
    station_outcome_st outcome;
    outcome.m_message = station_check_arguments(*options.m_word, options.m_arguments, options.wishes());
    outcome.m_exit = STATION_USAGE;
    if (!outcome.m_message.empty()) return station_report_st(io, options).finish(options.m_name, outcome);
  }
  const station_exit_en opened = run.open();
  if (opened != STATION_OK) return run.fail(opened);
  return options.m_task == station_task_en::SHELL ? station_shell(options, io, &run) : run.run(options);
}
