#include "station/program/plan-commands.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <iostream>
#include <set>

#include "station/plan/example.h"
#include "station/plan/load.h"
#include "station/program/capture-options.h"
#include "station/program/results-commands.h"
#include "station/record/record-file.h"
#include "station/run/run.h"
#include "station/store/address.h"
#include "station/web/server.h"

namespace {

using texts = std::vector<std::string>;

struct options_st {
  std::string m_plan;
  std::string m_variant;
  texts m_phones;
  texts m_serials;
  texts m_variables;
  std::string m_work_order;
  std::string m_records;
  std::string m_db;
  std::string m_station;
  std::string m_capture;
  std::optional<web_address_st> m_web;
  unsigned m_baud = 0;
  bool m_is_loop = false;
  bool m_is_dry = false;
};

// "NAME=VALUE"; returns whether the text has that form.
bool split(const std::string& text, std::string* name, std::string* value) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) return false;
  *name = text.substr(0, equals);
  *value = text.substr(equals + 1);
  return true;
}

// A name becomes a part of the records' file names.
bool is_phone_name(const std::string& name) {
  constexpr std::size_t LONGEST = 64;
  const auto is_plain = [](unsigned char one) { return std::isalnum(one) != 0 || one == '_' || one == '-'; };
  return name.size() <= LONGEST && std::ranges::all_of(name, is_plain);
}

std::string host_name() {
  std::array<char, 256> name{};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

int fail(const station_io_st& io, const std::string& why) {
  *io.m_err << "amt-station: " << why << std::endl;
  return STATION_USAGE;
}

// An exit status when the parser ends the run: after help or a wrong command line.
std::optional<int> parse(CLI::App* app, const texts& arguments, const station_io_st& io) {
  texts rest(arguments.begin() + 1, arguments.end());
  try {
    std::ranges::reverse(rest);  // the parser takes them from the back
    app->parse(std::move(rest));
  } catch (const CLI::ParseError& error) {
    return app->exit(error, *io.m_out, *io.m_err) == 0 ? STATION_OK : STATION_USAGE;
  }
  return std::nullopt;
}

void add_plan(CLI::App* app, options_st* options) {
  app->add_option("PLAN", options->m_plan, "The plan's file")->required()->type_name("");
  app->add_option("VARIANT", options->m_variant, "A file that changes limits and variables")->type_name("");
}

plan_loaded_st load(const options_st& options, std::ostream* out) {
  plan_loaded_st loaded = plan_load(options.m_plan, options.m_variant);
  for (const auto& finding : loaded.m_findings) *out << plan_finding_text(finding) << "\n";
  out->flush();
  return loaded;
}

// "revision 4, 12 steps in 3 groups and 2 in the teardown, variant two antennas"
std::string plan_size_text(const plan_st& plan) {
  std::size_t steps = 0;
  for (const auto& group : plan.m_groups) steps += group.m_steps.size();
  std::string text = fmt::format("{} revision {}, {} steps", plan.m_name, plan.m_revision, steps);
  if (!plan.m_groups.empty() && !plan.m_groups[0].m_name.empty())
    text += fmt::format(" in {} groups", plan.m_groups.size());
  if (!plan.m_teardown.empty()) text += fmt::format(", {} in the teardown", plan.m_teardown.size());
  return plan.m_variant ? fmt::format("{}, variant {}", text, plan.m_variant_name) : text;
}

int check(const texts& arguments, const station_io_st& io) {
  options_st options;
  CLI::App app{"Checks a plan and reports everything that is wrong with it", "amt-station check"};
  add_plan(&app, &options);
  app.footer(station_exit_help(station_command_en::CHECK));
  if (const auto status = parse(&app, arguments, io)) return *status;
  const plan_loaded_st loaded = load(options, io.m_out);
  if (loaded.has_errors()) return RUN_USAGE;
  *io.m_out << loaded.m_plan.m_file.m_path << ": can be run: " << plan_size_text(loaded.m_plan) << std::endl;
  return io.m_out->good() ? STATION_OK : STATION_NO_OUTPUT;
}

int print_example(const texts& arguments, const station_io_st& io) {
  CLI::App app{"Prints a plan with comments, as a start for one's own", "amt-station plan-example"};
  if (const auto status = parse(&app, arguments, io)) return *status;
  *io.m_out << plan_example() << std::flush;
  return io.m_out->good() ? STATION_OK : STATION_NO_OUTPUT;
}

// "NAME=PC-PORT[,app=APP-PORT]"; returns what is wrong with it.
std::string read_phone(const std::string& text, run_unit_phone_st* phone) {
  std::string ports;
  if (!split(text, &phone->m_name, &ports)) return fmt::format("--phone {}: must be NAME=PC-PORT[,app=APP-PORT]", text);
  if (!is_phone_name(phone->m_name))
    return fmt::format("--phone {}: a name has letters, digits, - and _, 64 at most", text);
  static constexpr std::string_view APP = ",app=";
  const std::size_t app = ports.find(APP);
  phone->m_pc = ports.substr(0, app);
  if (app != std::string::npos) phone->m_app = ports.substr(app + APP.size());
  return phone->m_pc.empty() ? fmt::format("--phone {}: the port is missing", text) : "";
}

std::string read_phones(const options_st& options, const plan_st& plan, std::vector<run_unit_phone_st>* phones) {
  std::set<std::string> names;
  std::set<std::string> ports;
  const bool needs_app = std::ranges::find(plan.m_links, plan_link_en::APP) != plan.m_links.end();
  for (const auto& text : options.m_phones) {
    run_unit_phone_st phone;
    std::string wrong = read_phone(text, &phone);
    if (!wrong.empty()) return wrong;
    if (!names.insert(phone.m_name).second) return fmt::format("--phone {}: there is another phone of this name", text);
    const bool is_free = ports.insert(phone.m_pc).second && (phone.m_app.empty() || ports.insert(phone.m_app).second);
    if (!is_free) return fmt::format("--phone {}: the port is given twice", text);
    if (needs_app && phone.m_app.empty()) return fmt::format("--phone {}: the plan needs ,app=APP-PORT too", text);
    phones->push_back(std::move(phone));
  }
  return {};
}

std::string read_serials(const options_st& options, std::vector<run_unit_phone_st>* phones) {
  for (const auto& text : options.m_serials) {
    std::string name;
    std::string serial;
    if (!split(text, &name, &serial) || serial.empty()) return fmt::format("--serial {}: must be NAME=VALUE", text);
    const auto phone = std::ranges::find(*phones, name, &run_unit_phone_st::m_name);
    if (phone == phones->end()) return fmt::format("--serial {}: there is no phone of this name", text);
    phone->m_serial = serial;
  }
  return {};
}

std::string read_options(const options_st& options, run_options_st* run) {
  std::string wrong = read_phones(options, *run->m_plan, &run->m_phones);
  if (wrong.empty()) wrong = read_serials(options, &run->m_phones);
  for (const auto& text : options.m_variables) {
    std::string name;
    std::string value;
    if (!split(text, &name, &value)) return fmt::format("--var {}: must be NAME=VALUE", text);
    run->m_variables[name] = value;
  }
  if (options.m_is_loop && !options.m_serials.empty())
    return "--loop and --serial exclude each other: each unit has its own number";
  run->m_work_order = options.m_work_order;
  run->m_records = options.m_records.empty() ? record_default_folder() : options.m_records;
  run->m_db = options.m_db.empty() ? results_default_store(run->m_records) : options.m_db;
  run->m_station = options.m_station.empty() ? host_name() : options.m_station;
  run->m_capture = options.m_capture;
  run->m_version = VX_VERSION;
  run->m_baud = options.m_baud;
  run->m_is_loop = options.m_is_loop;
  if (wrong.empty() && run->m_records.empty()) wrong = "there is no HOME to keep records in: give --records DIR";
  store_address_st ignored;
  if (wrong.empty()) wrong = store_parse_address(run->m_db, &ignored);
  return wrong;
}

void add_run_options(CLI::App* app, options_st* options) {
  add_plan(app, options);
  const auto add = [app](const char* name, auto* value, const char* help, const char* type) {
    return app->add_option(name, *value, help)->type_name(type);
  };
  add("--phone", &options->m_phones, "A phone; once for each. A port is a terminal's path or tcp://HOST:PORT",
      "NAME=PC-PORT[,app=APP-PORT]")
      ->required()
      ->allow_extra_args(false);
  add("--serial", &options->m_serials, "A phone's serial number", "NAME=VALUE")->allow_extra_args(false);
  add("--var", &options->m_variables, "A variable of the plan", "NAME=VALUE")->allow_extra_args(false);
  add("--work-order", &options->m_work_order, "A CSV file with variables for each unit, by the column serial", "FILE");
  add("--records", &options->m_records, "The folder of the records; below the user's data otherwise", "DIR");
  add("--db", &options->m_db,
      "The store of results: postgresql://... or a file; results.db beside the records otherwise", "URL");
  add("--capture", &options->m_capture, "Append every byte that passes on the ports to this file", "FILE");
  add("--station", &options->m_station, "The station's name in the records; the machine's otherwise", "NAME");
  add("--baud", &options->m_baud, "Speed of the lines, instead of the plan's", "N")->check(capture_check_baud);
  app->add_option_function<texts>(
         "--web",
         [options](const texts& given) {
           options->m_web.emplace();
           const std::string text = given.empty() || given[0].empty() ? WEB_DEFAULT_ADDRESS : given[0];
           const std::string wrong = web_parse_address(text, &*options->m_web);
           if (!wrong.empty()) throw CLI::ValidationError("--web", wrong);
         },
         "Show the run as a page for browsers, there or at 127.0.0.1:8700")
      ->expected(0, 1)
      ->type_name("[ADDRESS:PORT]");
  app->add_flag("--loop", options->m_is_loop, "Wait for the next phone at each port, until Ctrl-C");
  app->add_flag("--dry-run", options->m_is_dry, "Print what would be sent and touch no port");
}

// A run that ends by itself leaves its page until Ctrl-C, or nobody would see the verdicts.
int run_with_page(const web_address_st& address, run_options_st run, const run_io_st& io) {
  std::vector<std::string> names;
  for (const auto& phone : run.m_phones) names.push_back(phone.m_name);
  web_board_st board({run.m_plan->m_name, run.m_plan->m_revision, run.m_station}, names);
  web_server_st server(&board);
  const std::string wrong = server.start(address);
  if (!wrong.empty()) {
    *io.m_err << "amt-station: " << wrong << std::endl;
    return RUN_USAGE;
  }
  *io.m_out << "page: " << server.url() << std::endl;
  run.m_events = &board;
  const int status = run_plan(run, io);
  board.end_run();
  if (run.m_is_loop || status == RUN_ABORTED || status == RUN_USAGE) return status;
  *io.m_out << "the page stays until Ctrl-C" << std::endl;
  pollfd stop{io.m_stop_fd, POLLIN, 0};
  while (::poll(&stop, 1, -1) < 0 && errno == EINTR) {
  }
  return status;
}

int run(const texts& arguments, const station_io_st& io) {
  options_st options;
  CLI::App app{"Runs a plan on phones, all at once, and keeps a record of each", "amt-station run"};
  add_run_options(&app, &options);
  app.footer(station_exit_help(station_command_en::RUN));
  if (const auto status = parse(&app, arguments, io)) return *status;
  const plan_loaded_st loaded = load(options, io.m_err);
  if (loaded.has_errors()) return RUN_USAGE;
  run_options_st run;
  run.m_plan = &loaded.m_plan;
  const std::string wrong = read_options(options, &run);
  if (!wrong.empty()) return fail(io, wrong);
  const run_io_st run_io{io.m_out, io.m_err, io.m_in_fd, io.m_stop_fd, io.m_terminal_fd, io.m_color};
  if (options.m_is_dry) return run_dry(run, run_io);
  return options.m_web ? run_with_page(*options.m_web, std::move(run), run_io) : run_plan(run, run_io);
}

constexpr station_plan_command_st COMMANDS[] = {
    {"run", "PLAN [VARIANT] --phone NAME=PORT", "runs a plan on phones and keeps records"},
    {"check", "PLAN [VARIANT]", "checks a plan"},
    {"plan-example", "", "prints a plan with comments"},
};
constexpr int (*RUNNERS[])(const texts&, const station_io_st&) = {run, check, print_example};

// "check" is a word of the tool, too: it needs a port and names a radio.
bool is_word(const texts& arguments) {
  const auto is_port = [](const std::string& text) { return text.starts_with("--port") || text.starts_with("--app"); };
  const auto is_radio = [](const std::string& text) { return text == "wifi" || text == "gps" || text == "bt"; };
  return arguments[0] == "check" &&
         (std::ranges::any_of(arguments, is_port) || (arguments.size() > 1 && is_radio(arguments[1])));
}

}  // namespace

std::span<const station_plan_command_st> station_plan_commands() {
  return COMMANDS;
}

std::vector<completion_command_st> station_describe_plan_commands() {
  static constexpr void (*FILLERS[])(CLI::App*, options_st*) = {add_run_options, add_plan, nullptr};
  std::vector<completion_command_st> all;
  for (std::size_t n = 0; n < std::size(COMMANDS); ++n) {
    options_st options;
    CLI::App app{COMMANDS[n].m_help, COMMANDS[n].m_name};
    if (FILLERS[n] != nullptr) FILLERS[n](&app, &options);
    all.push_back(completion_describe(app));
  }
  return all;
}

std::optional<int> station_run_plan_command(const texts& arguments, const station_io_st& io) {
  if (arguments.empty() || is_word(arguments)) return std::nullopt;
  const auto* row = std::ranges::find_if(COMMANDS, [&](const auto& one) { return arguments[0] == one.m_name; });
  return row == std::end(COMMANDS) ? std::nullopt : std::optional(RUNNERS[row - std::begin(COMMANDS)](arguments, io));
}
