// A line at work: one plan of 20 steps on many virtual phones at once, and what a station adds to a bare request.
#include <fmt/format.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "station/plan/load.h"
#include "station/plan/request.h"
#include "station/run/unit.h"
#include "station/words/exchange.h"
#include "tests/bench/fail.h"
#include "tests/bench/process-facts.h"
#include "tests/bench/series.h"
#include "tests/spawn.h"

namespace {

namespace fs = std::filesystem;
using steady = std::chrono::steady_clock;
using std::chrono::milliseconds;
using microseconds = std::chrono::duration<double, std::micro>;
using texts = std::vector<std::string>;

constexpr int STEPS = 20;
constexpr int RUNS = 3;  // of each number of phones
constexpr int ROUNDS = 25;
constexpr std::array COUNTS = {1, 10, 50, 200};

void expect(bool condition, const std::string& what) {
  if (!condition) bench_fail(what);
}

// A program beside this one, its output in a file.
class program_st {
 public:
  program_st(const texts& command, const fs::path& output) : m_pid(spawn_into_file(command, output)) {
    expect(m_pid > 0, "cannot start " + command[0]);
  }
  ~program_st() {
    if (m_pid == 0) return;
    ::kill(m_pid, SIGTERM);
    ::waitpid(m_pid, nullptr, 0);
  }
  program_st(program_st&& other) noexcept : m_pid(std::exchange(other.m_pid, 0)) {}
  program_st(const program_st&) = delete;
  program_st& operator=(const program_st&) = delete;

  pid_t pid() const { return m_pid; }
  // What it used until its end, of processor time and, at most, of memory.
  struct used_st {
    int m_status = 0;
    double m_processor_us = 0;
    long m_resident_kb = 0;
  };
  used_st wait() {
    used_st used;
    rusage facts{};
    int status = 0;
    // What the system keeps for after the end would include this program's own memory.
    while (::wait4(m_pid, &status, WNOHANG, &facts) == 0) {
      used.m_resident_kb = std::max(used.m_resident_kb, memory_of(m_pid).m_resident_kb);
      std::this_thread::sleep_for(milliseconds(20));
    }
    m_pid = 0;
    used.m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    const auto us = [](const timeval& time) {
      return 1e6 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec);
    };
    used.m_processor_us = us(facts.ru_utime) + us(facts.ru_stime);
    return used;
  }

 private:
  pid_t m_pid = 0;
};

std::string read_text(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What follows the text in a line of a phone's output; empty: not yet.
std::string after(const fs::path& path, const std::string& text) {
  const std::string output = read_text(path);
  const std::size_t at = output.find(text);
  const std::size_t end = output.find('\n', at);
  if (at == std::string::npos || end == std::string::npos) return {};
  const std::size_t begin = output.find_first_not_of(' ', at + text.size());
  return output.substr(begin, end - begin);
}

// A whole virtual phone, as `handset run` makes it.
class bench_phone_st {
 public:
  bench_phone_st(const fs::path& bin, const fs::path& folder, int number)
      : m_output(folder / fmt::format("phone-{}", number)),
        m_program({bin / "handset", "run", "-q", "--name", fmt::format("bench{}-{}", ::getpid(), number)}, m_output) {}

  void wait(const fs::path& bin) {
    for (int n = 0; n < 1200 && m_port.empty(); ++n) {
      m_port = after(m_output, "PC tty:");
      if (m_port.empty()) std::this_thread::sleep_for(milliseconds(50));
    }
    expect(!m_port.empty(), "a phone does not come up: " + read_text(m_output));
    program_st station({bin / "amt-station", "--port", m_port, "wait-for-phone"}, m_output.string() + ".wait");
    expect(station.wait().m_status == 0, "a phone does not answer");
  }
  const std::string& port() const { return m_port; }
  // Of all its processes, but for pages that other phones have too.
  long private_kb() const { return private_of(m_program.pid()); }

 private:
  static long private_of(pid_t pid) {
    long sum = memory_of(pid).m_private_kb;
    std::error_code failed;
    for (const auto& task : fs::directory_iterator(fmt::format("/proc/{}/task", pid), failed)) {
      std::ifstream children(task.path() / "children");
      for (pid_t child = 0; children >> child;) sum += private_of(child);
    }
    return sum;
  }

  fs::path m_output;
  program_st m_program;
  std::string m_port;
};

// Reads, checks and figures, as a line has them; none of them needs the modem.
std::string line_plan() {
  std::string plan = "[plan]\nname = \"line\"\nrevision = \"1\"\n";
  for (int n = 0; n < STEPS; ++n) {
    plan += fmt::format("[[step]]\nname = \"step {}\"\n", n);
    switch (n % 5) {
      case 0:
        plan += "word = \"sw-version\"\nmatches = \"VX.*\"\n";
        break;
      case 1:
        plan += "word = \"adc\"\nlow = 2000\nhigh = 3000\nmarginal = 50\n";
        break;
      case 2:
        plan += "word = \"check\"\nargs = [\"wifi\"]\n";
        break;
      case 3:
        plan += "frame = 45\natoms = [\"19:int=16\"]\nvalue_atom = 18\nmatches = \"VX.*\"\n";
        break;
      default:
        plan += "word = \"bt-address\"\nmatches = \"[0-9A-F]{12}\"\n";
    }
  }
  return plan;
}

struct busy_st {
  double m_busy = 0;
  double m_all = 0;
};

// The machine's processor time since its start.
busy_st machine_time() {
  std::ifstream file("/proc/stat");
  std::string name;
  file >> name;
  busy_st time;
  double part = 0;
  for (int column = 0; column < 8 && file >> part; ++column) {
    time.m_all += part;
    if (column != 3 && column != 4) time.m_busy += part;  // idle, waiting for a disk
  }
  return time;
}

double seconds_of(const std::string& time) {
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  expect(std::sscanf(time.c_str(), "%*d-%*d-%*dT%d:%d:%lfZ", &hours, &minutes, &seconds) == 3, "a wrong time");
  return 3600 * hours + 60 * minutes + seconds;
}

struct line_st {
  double m_seconds = 0;  // from the first unit's start to the last one's end
  double m_step_ms = 0;  // median
  double m_busy = 0;     // share of the machine
  program_st::used_st m_station;
};

line_st run_line(const fs::path& bin, const fs::path& folder, std::span<const bench_phone_st> phones) {
  const fs::path records = folder / "records";
  fs::remove_all(records);
  texts command = {bin / "amt-station", "run", folder / "plan.toml", "--records", records};
  for (std::size_t n = 0; n < phones.size(); ++n) {
    command.insert(command.end(), {"--phone", fmt::format("P{}={}", n, phones[n].port())});
  }
  const busy_st before = machine_time();
  program_st station(command, folder / "run");
  line_st line;
  line.m_station = station.wait();
  const busy_st after = machine_time();
  expect(line.m_station.m_status == 0, "a unit did not pass: " + read_text(folder / "run"));
  line.m_busy = (after.m_busy - before.m_busy) / (after.m_all - before.m_all);
  double first = 1e9;
  double last = 0;
  std::vector<double> steps;
  for (const auto& entry : fs::directory_iterator(records)) {
    if (entry.path().extension() != ".json") continue;
    const auto record = nlohmann::json::parse(read_text(entry.path()));
    const double start = seconds_of(record["started"]);
    first = std::min(first, start);
    last = std::max(last, start + record["duration_ms"].get<double>() / 1000);
    for (const auto& step : record["steps"]) steps.push_back(step["duration_ms"]);
  }
  expect(steps.size() == STEPS * phones.size(), "records are missing");
  line.m_seconds = last - first;
  line.m_step_ms = median(steps);
  return line;
}

void measure_lines(const fs::path& bin, const fs::path& folder, int most) {
  fmt::print(
      "\nOne plan of {} steps on whole virtual phones at once, records on the disk and in SQLite; median of {}\n",
      STEPS, RUNS);
  fmt::print("{:>7} {:>9} {:>10} {:>16} {:>20} {:>20} {:>15} {:>13}\n", "phones", "steps/s", "step ms",
             "station us/step", "station ms/phone", "station KiB/phone", "phone's own KiB", "machine busy");
  std::vector<bench_phone_st> phones;
  double base_kb = 0;
  for (const int count : COUNTS) {
    if (count > most) break;
    const std::size_t had = phones.size();
    while (phones.size() < static_cast<std::size_t>(count))
      phones.emplace_back(bin, folder, static_cast<int>(phones.size()));
    for (std::size_t n = had; n < phones.size(); ++n) phones[n].wait(bin);
    std::vector<double> rates;
    std::vector<double> step_ms;
    std::vector<double> processor;
    std::vector<double> resident;
    std::vector<double> busy;
    for (int n = 0; n < RUNS; ++n) {
      const line_st line = run_line(bin, folder, phones);
      rates.push_back(STEPS * count / line.m_seconds);
      step_ms.push_back(line.m_step_ms);
      processor.push_back(line.m_station.m_processor_us);
      resident.push_back(static_cast<double>(line.m_station.m_resident_kb));
      busy.push_back(line.m_busy);
    }
    std::vector<double> own;
    for (const auto& phone : phones) own.push_back(static_cast<double>(phone.private_kb()));
    // The program itself is there once, whatever the number of phones.
    if (count == 1) base_kb = median(resident);
    const std::string each_kb = count == 1 ? fmt::format("{:.0f} in all", base_kb)
                                           : fmt::format("{:.0f}", (median(resident) - base_kb) / (count - 1));
    fmt::print("{:>7} {:>9.0f} {:>10.2f} {:>16.0f} {:>20.1f} {:>20} {:>15.0f} {:>12.0f}%\n", count, median(rates),
               median(step_ms), median(processor) / (STEPS * count), median(processor) / 1000 / count, each_kb,
               median(own), 100 * median(busy));
    std::fflush(stdout);
  }
}

struct cost_st {
  double m_us = 0;
  double m_processor_us = 0;  // of this thread
};

// The time since it was made.
class meter_st {
 public:
  cost_st read(int parts) const {
    return {microseconds(steady::now() - m_start).count() / parts, (processor_us() - m_processor) / parts};
  }

 private:
  static double processor_us() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e6 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_nsec);
  }

  steady::time_point m_start = steady::now();
  double m_processor = processor_us();
};

double median_of(const std::vector<cost_st>& costs, double cost_st::*part) {
  std::vector<double> values;
  for (const auto& cost : costs) values.push_back(cost.*part);
  return median(values);
}

// One phone's line in this process: the bytes of a request and nothing else, or the same as steps of a plan.
class one_phone_st {
 public:
  one_phone_st(std::string port, const std::string& keys) : m_port(std::move(port)) {
    std::string text = "[plan]\nname = \"one\"\nrevision = \"1\"\n";
    for (int n = 0; n < STEPS; ++n) text += fmt::format("[[step]]\nname = \"step {}\"\n{}\n", n, keys);
    m_plan = plan_load_text(text, "plan", nullptr, "").m_plan;
    const plan_step_st& step = m_plan.m_groups[0].m_steps[0];
    plan_request_st request;
    const auto no_value = [](const std::string&) { return std::optional<std::string>(); };
    expect(plan_make_request(step, no_value, &request).empty(), "no request");
    m_request = station_wire_bytes(request.m_request, plan_form(step));
    learn_answer();
  }

  // For each request.
  cost_st time_bare() {
    station_link_st link;
    expect(link.open(m_port) == STATION_OK, link.error());
    const meter_st meter;
    for (int n = 0; n < STEPS; ++n) {
      send(&link);
      for (std::size_t got = 0; got < m_answer_size;) got += receive(&link, steady::now() + PATIENCE);
    }
    return meter.read(STEPS);
  }

  // For each step, with its share of the unit's start and end.
  cost_st time_steps(const fs::path& records) {
    run_setting_st setting;
    setting.m_plan = &m_plan;
    setting.m_given = &m_given;
    setting.m_order = &m_order;
    setting.m_records = records;
    const run_unit_phone_st unit{"P", m_port, "", ""};
    run_phone_st phone(m_port, "", 0);
    const meter_st meter;
    const run_result_st result = run_unit(setting, unit, &phone, {});
    const cost_st cost = meter.read(STEPS);
    expect(result.m_record.verdict() == verdict_en::PASS && result.m_record_failure.empty(), "a unit did not pass");
    return cost;
  }

 private:
  static constexpr std::chrono::seconds PATIENCE{10};

  void send(station_link_st* link) const {
    expect(link->write_all(m_request, steady::now() + PATIENCE) == STATION_OK, link->error());
  }
  static std::size_t receive(station_link_st* link, station_time deadline) {
    std::array<std::uint8_t, 4096> chunk{};
    std::size_t count = 0;
    const station_exit_en result = link->read_some(chunk, deadline, &count);
    expect(result == STATION_OK || result == STATION_NO_ANSWER, link->error());
    return count;
  }
  void learn_answer() {
    station_link_st link;
    expect(link.open(m_port) == STATION_OK, link.error());
    send(&link);
    std::size_t got = 0;
    do {
      m_answer_size += got;
      got = receive(&link, steady::now() + milliseconds(500));
    } while (got != 0);
    expect(m_answer_size != 0, "no answer");
  }

  std::string m_port;
  plan_st m_plan;
  std::map<std::string, std::string> m_given;
  run_work_order_st m_order;
  std::vector<std::uint8_t> m_request;
  std::size_t m_answer_size = 0;
};

void measure_steps(const fs::path& bin, const fs::path& folder, const fs::path& memory) {
  struct row_st {
    const char* m_name;
    const char* m_keys;
  };
  constexpr row_st ROWS[] = {
      {"sw-version: AT text, the service answers at once", "word = \"sw-version\"\nmatches = \"VX.*\""},
      {"version frame: the service answers at once",
       "frame = 45\natoms = [\"19:int=16\"]\nvalue_atom = 18\nmatches = \"VX.*\""},
      {"imei: AT text that the modem answers", "word = \"imei\"\nmatches = \"[0-9]{15}\""},
      {"adc: the phone's converter takes 20 ms", "word = \"adc\"\nlow = 2000\nhigh = 3000"},
  };
  bench_phone_st phone(bin, folder, -1);
  phone.wait(bin);
  fmt::print("\nA step beside the bare request, one phone, units of {} steps; median of {} units\n", STEPS, ROUNDS);
  fmt::print("{:<52} {:>9} {:>9} {:>9} {:>7} {:>17} {:>9}\n", "", "bare us", "step us", "more us", "more",
             "processor more us", "disk us");
  for (const auto& row : ROWS) {
    one_phone_st one(phone.port(), row.m_keys);
    std::vector<cost_st> bare;
    std::vector<cost_st> step;
    std::vector<cost_st> on_disk;
    for (int n = 0; n < ROUNDS; ++n) {
      bare.push_back(one.time_bare());
      step.push_back(one.time_steps(memory / "records"));
      on_disk.push_back(one.time_steps(folder / "step-records"));
    }
    const double bare_us = median_of(bare, &cost_st::m_us);
    const double step_us = median_of(step, &cost_st::m_us);
    const double processor = median_of(step, &cost_st::m_processor_us) - median_of(bare, &cost_st::m_processor_us);
    fmt::print("{:<52} {:>9.0f} {:>9.0f} {:>9.0f} {:>6.1f}% {:>17.0f} {:>9.0f}\n", row.m_name, bare_us, step_us,
               step_us - bare_us, 100 * (step_us - bare_us) / bare_us, processor,
               median_of(on_disk, &cost_st::m_us) - step_us);
    std::fflush(stdout);
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    std::puts("usage: amt-bench-line EMPTY-FOLDER");
    return 2;
  }
  const char* wanted = std::getenv("BENCH_PHONES");
  const fs::path folder = fs::absolute(argv[1]) / "line";
  fs::create_directories(folder);
  std::string name = "/dev/shm/bench-XXXXXX";  // a folder in memory: nothing there waits for a disk
  expect(::mkdtemp(name.data()) != nullptr, "no folder in memory");
  std::ofstream(folder / "plan.toml") << line_plan();
  const fs::path bin = fs::read_symlink("/proc/self/exe").parent_path();
  measure_steps(bin, folder, name);
  fs::remove_all(name);
  measure_lines(bin, folder, wanted == nullptr ? COUNTS.back() : std::atoi(wanted));
  return 0;
}
