#include "station/program/results-commands.h"

#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>

#include "station/record/record-file.h"
#include "station/record/record.h"
#include "station/report/report.h"
#include "station/store/record-reader.h"
#include "station/store/sender.h"
#include "station/store/times.h"
#include "station/wire/exit-code.h"

namespace {

using texts = std::vector<std::string>;

struct options_st {
  std::string m_db;
  std::string m_records;
  std::string m_since;
  std::string m_until;
  texts m_verdicts;
  store_filter_st m_filter;
  std::string m_run_id;
  std::string m_form;
  std::string m_output;
  std::size_t m_limit = 0;
  bool m_is_json = false;
};

struct form_row_st {
  const char* m_name;
  report_form_en m_form;
};
constexpr form_row_st FORMS[] = {{"json", report_form_en::JSON},
                                 {"csv", report_form_en::CSV},
                                 {"junit", report_form_en::JUNIT},
                                 {"html", report_form_en::HTML}};

int fail(const station_io_st& io, int code, const std::string& why) {
  *io.m_err << "amt-station: " << why << std::endl;
  return code;
}

// Nothing here is left half done by a signal, and a database that hangs must not keep its user.
void let_signals_end_it() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

std::string read_time(const std::string& text, std::int64_t* time) {
  if (text.empty()) return {};
  const auto parsed = store_parse_time(text);
  if (parsed) *time = *parsed;
  return parsed ? "" : fmt::format("{} is no time: 2026-11-22 or 2026-11-22T08:42:00Z", text);
}

// What is wrong with the options together; fills the filter.
std::string read_options(options_st* options) {
  std::string wrong = read_time(options->m_since, &options->m_filter.m_since_ms);
  if (wrong.empty()) wrong = read_time(options->m_until, &options->m_filter.m_until_ms);
  for (const auto& name : options->m_verdicts) {
    const auto verdict = verdict_from_name(name);
    if (!verdict) return fmt::format("{} is no verdict: {}", name, verdict_names());
    options->m_filter.m_verdicts.push_back(*verdict);
  }
  if (options->m_records.empty()) options->m_records = record_default_folder();
  if (wrong.empty() && options->m_records.empty()) wrong = "there is no HOME with results: give --records DIR";
  if (options->m_db.empty()) options->m_db = results_default_store(options->m_records);
  return wrong;
}

int send(const options_st& options, const station_io_st& io) {
  store_outbox_st outbox(options.m_db, options.m_records);
  const store_sent_st sent = outbox.send([] { return false; });
  *io.m_out << fmt::format("records sent: {}\n", sent.m_sent);
  if (sent.m_already != 0) *io.m_out << fmt::format("in the store already: {}\n", sent.m_already);
  if (sent.m_running != 0) *io.m_out << fmt::format("still running: {}\n", sent.m_running);
  if (sent.m_waiting != 0) *io.m_out << fmt::format("still waiting: {}\n", sent.m_waiting);
  io.m_out->flush();
  for (const auto& wrong : sent.m_wrong) fail(io, 0, "not sent: " + wrong);
  if (!sent.m_failure.empty()) return fail(io, RESULTS_NO_STORE, sent.m_failure);
  return sent.m_wrong.empty() ? RESULTS_OK : RESULTS_NOTHING;
}

// The exit status of a report on the output.
int finish(const station_io_st& io, const std::string& failed) {
  io.m_out->flush();
  if (!failed.empty()) return fail(io, RESULTS_NO_STORE, failed);
  if (!io.m_out->good()) return fail(io, RESULTS_NO_OUTPUT, "the output could not be written");
  return RESULTS_OK;
}

int list(const options_st& options, const station_io_st& io, store_st* store) {
  return finish(io, report_list(store, options.m_filter, options.m_limit, io.m_out));
}

// The runs whose ids begin so; without an id the newest one that the filter lets through.
std::string find(const options_st& options, store_st* store, std::vector<std::string>* run_ids) {
  if (!options.m_run_id.empty()) return store->find(options.m_run_id, run_ids);
  return store->visit(options.m_filter, false, 1, [&](const result_st& one) {
    run_ids->assign({one.m_run_id});
    return true;
  });
}

int show(const options_st& options, const station_io_st& io, store_st* store) {
  std::vector<std::string> run_ids;
  std::string document;
  std::string failed = find(options, store, &run_ids);
  if (failed.empty() && run_ids.size() == 1) failed = store->document(run_ids[0], &document);
  if (!failed.empty()) return fail(io, RESULTS_NO_STORE, failed);
  if (run_ids.empty()) {
    const std::string what = options.m_run_id.empty() ? "" : options.m_run_id + ": ";
    return fail(io, RESULTS_NOTHING, what + "there is no such run");
  }
  if (run_ids.size() > 1) return fail(io, RESULTS_NOTHING, options.m_run_id + ": more than one run begins so");
  result_st result;
  failed = store_read_record(document, &result);
  if (!failed.empty()) return fail(io, RESULTS_NO_STORE, "a record in the store is none: " + failed);
  if (options.m_is_json) {
    *io.m_out << document;
  } else {
    report_show(result, io.m_out);
  }
  return finish(io, {});
}

int yield(const options_st& options, const station_io_st& io, store_st* store) {
  std::vector<store_yield_st> plans;
  const std::string failed = store->yield(options.m_filter, &plans);
  report_yield(plans, io.m_out);
  return finish(io, failed);
}

std::string now() {
  return record_time_text(std::chrono::system_clock::now());
}

// The file is written aside, so that an earlier one stays until this one is whole.
int export_to_file(const options_st& options, const station_io_st& io, report_form_en form, store_st* store) {
  const std::string aside = fmt::format("{}.{}.part", options.m_output, ::getpid());
  std::ofstream out(aside, std::ios::binary | std::ios::trunc);
  const std::string failed = out ? report_write(form, store, options.m_filter, now(), &out) : "";
  out.close();
  const bool is_written = out.good() && failed.empty() && std::rename(aside.c_str(), options.m_output.c_str()) == 0;
  if (!is_written) ::unlink(aside.c_str());
  if (!failed.empty()) return fail(io, RESULTS_NO_STORE, failed);
  return is_written ? RESULTS_OK : fail(io, RESULTS_NO_OUTPUT, options.m_output + " could not be written");
}

int export_report(const options_st& options, const station_io_st& io, store_st* store) {
  const auto* row =
      std::ranges::find(FORMS, options.m_form, [](const form_row_st& one) { return std::string(one.m_name); });
  if (!options.m_output.empty()) return export_to_file(options, io, row->m_form, store);
  return finish(io, report_write(row->m_form, store, options.m_filter, now(), io.m_out));
}

void add_store(CLI::App* app, options_st* options) {
  app->add_option("--db", options->m_db,
                  "The store: postgresql://... or a file; results.db in the folder of the records otherwise")
      ->type_name("URL");
  app->add_option("--records", options->m_records, "The folder of the records; below the user's data otherwise")
      ->type_name("DIR");
}

void add_filter(CLI::App* app, options_st* options, bool with_verdict) {
  app->add_option("--since", options->m_since, "Runs that started then or later, UTC")->type_name("TIME");
  app->add_option("--until", options->m_until, "Runs that started before, UTC")->type_name("TIME");
  app->add_option("--serial", options->m_filter.m_serial, "Runs of this unit")->type_name("SERIAL");
  app->add_option("--plan", options->m_filter.m_plan, "Runs of the plan of this name")->type_name("NAME");
  if (!with_verdict) return;
  app->add_option("--verdict", options->m_verdicts, "Runs with this verdict; can be repeated")
      ->type_name("VERDICT")
      ->allow_extra_args(false);
}

using reader = int (*)(const options_st&, const station_io_st&, store_st*);

struct commands_st {
  CLI::App m_app{"Works with the results that runs have left", "amt-station results"};
  options_st m_options;
  std::vector<std::pair<CLI::App*, reader>> m_readers;  // null: send

  commands_st() {
    m_app.require_subcommand(1);
    m_app.footer(station_exit_help(station_command_en::RESULTS));
    add("send", "Send the records that wait to the store", nullptr);
    add_filter(add("list", "List runs, the newest last", list), &m_options, true);
    m_readers.back()
        .first->add_option("--limit", m_options.m_limit, "So many of the newest; all otherwise")
        ->type_name("N");
    CLI::App* one = add("show", "Show one run with its steps; the newest without anything else", show);
    auto* run_id = one->add_option("RUN-ID", m_options.m_run_id,
                                   "The run's id, or how it begins; otherwise the newest run that the filters name");
    run_id->type_name("");
    add_filter(one, &m_options, true);
    for (const char* filter : {"--since", "--until", "--serial", "--plan", "--verdict"}) {
      one->get_option(filter)->excludes(run_id);
    }
    one->add_flag("--json", m_options.m_is_json, "The record as it is");
    CLI::App* report = add("export", "Write a report", export_report);
    report->add_option("--format", m_options.m_form, "The form of the report")
        ->required()
        ->type_name("FORM")
        ->check(CLI::IsMember({"json", "csv", "junit", "html"}));
    report->add_option("--output", m_options.m_output, "A file, instead of the output")->type_name("FILE");
    add_filter(report, &m_options, true);
    add_filter(add("yield", "Count units, first-pass yield and failing steps, by plan", yield), &m_options, false);
  }

  CLI::App* add(const char* name, const char* help, reader action) {
    CLI::App* command = m_app.add_subcommand(name, help);
    add_store(command, &m_options);
    m_readers.emplace_back(command, action);
    return command;
  }

  int run(const texts& arguments, const station_io_st& io) {
    texts rest(arguments.rbegin(), arguments.rend() - 1);  // the parser takes them from the back
    try {
      m_app.parse(std::move(rest));
    } catch (const CLI::ParseError& error) {
      return m_app.exit(error, *io.m_out, *io.m_err) == 0 ? RESULTS_OK : RESULTS_USAGE;
    }
    const std::string wrong = read_options(&m_options);
    if (!wrong.empty()) return fail(io, RESULTS_USAGE, wrong);
    let_signals_end_it();
    const auto chosen = std::ranges::find_if(m_readers, [](const auto& one) { return one.first->parsed(); });
    if (chosen->second == nullptr) return send(m_options, io);
    store_st store;
    const std::string failed = store.open(m_options.m_db, store_mode_en::READ);
    return failed.empty() ? chosen->second(m_options, io, &store) : fail(io, RESULTS_NO_STORE, failed);
  }
};

}  // namespace

std::string results_default_store(const std::string& records) {
  return records + "/results.db";
}

completion_command_st station_describe_results() {
  completion_command_st results = completion_describe(commands_st().m_app);
  results.m_name = "results";
  return results;
}

std::optional<int> station_run_results_command(const texts& arguments, const station_io_st& io) {
  if (arguments.empty() || arguments[0] != "results") return std::nullopt;
  return commands_st().run(arguments, io);
}
