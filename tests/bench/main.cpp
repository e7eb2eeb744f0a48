// Measures the service beside minimal programs, all in one run. The contenders take turns, round by round. It prints
// the medians of each round's ratio to the minimal relay, with quartiles. The minimal relay takes part twice, so that
// its second row shows the noise.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <thread>
#include <tuple>

#include "amt/amt-convert/frame.h"
#include "amt/amt-convert/wrap.h"
#include "tests/bench/exchange.h"
#include "tests/bench/fail.h"
#include "tests/bench/process-facts.h"
#include "tests/bench/series.h"
#include "tests/bench/services.h"

namespace {

using bytes = std::vector<std::uint8_t>;
using entrants = std::vector<entrant_ptr>;

constexpr unsigned TIME_LIMIT_S = 120;  // for one table
constexpr std::size_t BLOCK_SIZE = 64;
constexpr int IDLE_SECONDS = 10;

int g_rounds = 31;
int g_trips = 300;
int g_stream_blocks = 500;

struct measured_st {
  std::vector<double> m_time;       // microseconds
  std::vector<double> m_processor;  // microseconds of processor time for each trip
};

bytes to_bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

bytes wrapped(const amt_message_st& message) {
  amt_message_st copy = message;
  std::ignore = amt_wrap(&copy);
  return {copy.m_buf_a.begin(), copy.m_buf_a.begin() + copy.m_buf_len};
}

// The version of the whole: a frame that the service answers without any file.
bytes version_request() {
  amt_message_st message{};
  amt_frame_init(&message.m_buf_a, 45);
  amt_frame_add_int(&message.m_buf_a, 19, 64);
  return wrapped(message);
}

// A text that no command takes: it passes every check on its way to the modem.
bytes text_block() {
  bytes block = to_bytes("AT^BENCH=");
  while (block.size() < BLOCK_SIZE - 1) block.push_back(static_cast<std::uint8_t>('0' + block.size() % 10));
  block.push_back('\r');
  return block;
}

// Runs all rounds. In each round every contender has its turn; who is first changes.
void take_turns(const entrants& all, const std::function<void(std::size_t)>& turn) {
  for (int round = 0; round < g_rounds; ++round) {
    alarm(TIME_LIMIT_S);
    for (std::size_t i = 0; i < all.size(); ++i) turn((i + static_cast<std::size_t>(round)) % all.size());
  }
  alarm(0);
}

std::vector<measured_st> measure_trips(const entrants& all, const std::function<double(const entrant&)>& time) {
  std::vector<measured_st> measured(all.size());
  take_turns(all, [&](std::size_t index) {
    const entrant& one = *all[index];
    const auto before = one.m_program->processor_time();
    measured[index].m_time.push_back(time(one));
    const std::chrono::duration<double, std::micro> used = one.m_program->processor_time() - before;
    measured[index].m_processor.push_back(used.count() / g_trips);
  });
  return measured;
}

void print_trips(const entrants& all, const std::vector<measured_st>& measured) {
  fmt::print("{:<42} {:>9} {:>20} {:>9} {:>20}\n", "", "median us", "ratio (quartiles)", "cpu us", "cpu ratio");
  for (std::size_t i = 0; i < all.size(); ++i) {
    const measured_st& row = measured[i];
    fmt::print("{:<42} {:>9.1f} {:>20} {:>9.1f} {:>20}\n", all[i]->m_name, median(row.m_time),
               show_ratio(row.m_time, measured[0].m_time), median(row.m_processor),
               show_ratio(row.m_processor, measured[0].m_processor));
  }
  std::fflush(stdout);
}

entrants start_relaying(const programs_st& programs) {
  entrants all;
  all.push_back(start_relay(programs, "minimal relay, two blocking threads", "threads"));
  all.push_back(start_relay(programs, "minimal relay once more (noise)", "threads"));
  all.push_back(start_relay(programs, "poll relay", "poll"));
  all.push_back(start_socat(false));
  all.push_back(start_ser2net(programs, false));
  all.push_back(start_service(programs, "service, log filtered", true));
  all.push_back(start_socat(true));
  all.push_back(start_ser2net(programs, true));
  all.push_back(start_service(programs, "service, every line written to /dev/null", false));
  all.erase(std::remove(all.begin(), all.end(), nullptr), all.end());
  alarm(TIME_LIMIT_S);
  for (const auto& one : all) {
    if (!wait_until_relaying(one->m_pc, one->m_modem, text_block())) bench_fail(one->m_name + " does not relay");
  }
  return all;
}

void measure_relaying(const entrants& all, const bytes& block, const char* what) {
  fmt::print("\nRound trip PC -> modem -> PC, {} bytes, {}; {} rounds of {}\n", block.size(), what, g_rounds, g_trips);
  print_trips(all, measure_trips(all, [&](const entrant& one) {
                return time_round_trips(one.m_pc, one.m_modem, block, g_trips);
              }));
}

void measure_streams(const entrants& all) {
  std::vector<std::vector<double>> down(all.size());
  std::vector<std::vector<double>> up(all.size());
  take_turns(all, [&](std::size_t index) {
    const entrant& one = *all[index];
    down[index].push_back(measure_stream(one.m_pc, one.m_modem, g_stream_blocks));
    up[index].push_back(measure_stream(one.m_modem, one.m_pc, g_stream_blocks));
  });
  fmt::print("\nThroughput, 4000-byte blocks, every byte compared; {} rounds of {} blocks\n", g_rounds,
             g_stream_blocks);
  fmt::print("{:<42} {:>9} {:>20} {:>9} {:>20}\n", "", "PC>modem", "ratio (quartiles)", "modem>PC", "ratio");
  for (std::size_t i = 0; i < all.size(); ++i) {
    fmt::print("{:<42} {:>4.0f} MB/s {:>20} {:>4.0f} MB/s {:>20}\n", all[i]->m_name, median(down[i]) / 1e6,
               show_ratio(down[i], down[0]), median(up[i]) / 1e6, show_ratio(up[i], up[0]));
  }
  std::fflush(stdout);
}

// A request that the service answers itself, against a program that writes the same bytes in the same pieces: the first
// piece has first_size bytes.
void measure_answers(const programs_st& programs, const char* what, const bytes& request, std::size_t first_size) {
  entrants services;
  services.push_back(start_service(programs, "service, log filtered", true));
  services.push_back(start_service(programs, "service, every line written to /dev/null", false));
  alarm(TIME_LIMIT_S);
  const bytes answer = learn_answer(services[0]->m_pc, request);
  if (learn_answer(services[1]->m_pc, request) != answer) bench_fail("two services, two answers");
  const auto split = answer.begin() + static_cast<std::ptrdiff_t>(std::min(first_size, answer.size()));
  std::vector<bytes> pieces{{answer.begin(), split}};
  if (split != answer.end()) pieces.emplace_back(split, answer.end());

  entrants all;
  all.push_back(start_replier(programs, "bare program that writes the same bytes", pieces));
  all.push_back(start_replier(programs, "bare program once more (noise)", pieces));
  for (auto& one : all) learn_answer(one->m_pc, request);
  std::move(services.begin(), services.end(), std::back_inserter(all));

  fmt::print("\n{}; {} + {} bytes; {} rounds of {}\n", what, request.size(), answer.size(), g_rounds, g_trips);
  print_trips(all,
              measure_trips(all, [&](const entrant& one) { return time_answers(one.m_pc, request, answer, g_trips); }));
}

// Allocations, memory and wake-ups of one service over ten thousand requests of each kind.
void examine_service(const programs_st& programs, bool filtered) {
  constexpr int FEW = 100;
  constexpr int MANY = 10000;
  const std::filesystem::path counter_path = programs.m_folder / (filtered ? "counter-filtered" : "counter");
  allocation_counter counter(counter_path);
  const auto service = start_service(programs, "", filtered,
                                     {"LD_PRELOAD=" + (programs.m_libraries / "libamt-bench-count.so").string(),
                                      "AMT_BENCH_COUNTER=" + counter_path.string()});
  alarm(TIME_LIMIT_S);
  const terminal& pc = service->m_pc;
  const bytes request = version_request();
  const bytes block = text_block();
  const bytes answer = learn_answer(pc, request);
  const auto serve = [&](int count) {
    time_answers(pc, request, answer, count / 2);
    time_round_trips(pc, service->m_modem, block, count / 2);
  };
  const unsigned long at_start = counter.count();
  if (at_start == 0) bench_fail("the allocation counter does not count");
  serve(FEW);
  const unsigned long at_few = counter.count();
  const memory_st few = memory_of(service->m_program->pid());
  serve(MANY - FEW);
  const memory_st many = memory_of(service->m_program->pid());
  fmt::print("\nOne service, {}; half of the requests are version frames, half pass through\n",
             filtered ? "log filtered" : "every line written to /dev/null");
  fmt::print("  allocations: {} to start and in the first requests, {} in requests 1 to {}, {} in requests {} to {}\n",
             at_start, at_few - at_start, FEW, counter.count() - at_few, FEW + 1, MANY);
  fmt::print("  resident after {} requests {} KiB, after {} requests {} KiB\n", FEW, few.m_resident_kb, MANY,
             many.m_resident_kb);
  fmt::print("  private  after {} requests {} KiB, after {} requests {} KiB\n", FEW, few.m_private_kb, MANY,
             many.m_private_kb);

  const auto before = waits_of(service->m_program->pid());
  std::this_thread::sleep_for(std::chrono::seconds(IDLE_SECONDS));
  std::string per_thread;
  for (const auto& [thread, count] : waits_of(service->m_program->pid())) {
    per_thread += fmt::format(" {:.1f}", static_cast<double>(count - before.at(thread)) / IDLE_SECONDS);
  }
  fmt::print("  wake-ups a second while idle, for each thread:{}\n", per_thread);
  alarm(0);
}

// Many services, each asked for its version again as soon as it has answered: requests a second in all, and memory.
void measure_many(const programs_st& programs) {
  constexpr int PASSES = 8000;  // requests for each row, shared by the services
  const bytes request = version_request();
  fmt::print("\nServices at once on one processor, version frames, log filtered\n");
  fmt::print("{:>9} {:>18} {:>24} {:>24}\n", "services", "requests/s in all", "private KiB for each",
             "resident KiB for each");
  for (const int count : {1, 10, 50, 100, 200}) {
    entrants all;
    for (int i = 0; i < count; ++i) all.push_back(start_service(programs, "", true));
    alarm(TIME_LIMIT_S);
    std::size_t size = 0;
    for (const auto& one : all) size = learn_answer(one->m_pc, request).size();
    bytes answer(size);
    const auto start = std::chrono::steady_clock::now();
    for (int pass = 0; pass < PASSES / count; ++pass) {
      for (const auto& one : all) one->m_pc.write(request);
      for (const auto& one : all) one->m_pc.read(answer);
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::vector<double> private_kb;
    std::vector<double> resident_kb;
    for (const auto& one : all) {
      const memory_st memory = memory_of(one->m_program->pid());
      private_kb.push_back(static_cast<double>(memory.m_private_kb));
      resident_kb.push_back(static_cast<double>(memory.m_resident_kb));
    }
    fmt::print("{:>9} {:>18.0f} {:>24.0f} {:>24.0f}\n", count, PASSES / count * count / time.count(),
               median(private_kb), median(resident_kb));
    std::fflush(stdout);
  }
  alarm(0);
}

// The words on the command line choose tables; none: all of them.
bool is_wanted(int argc, char* argv[], std::string_view table) {
  return argc <= 2 || std::any_of(argv + 2, argv + argc, [table](const char* word) { return word == table; });
}

int number_from_environment(const char* name, int usual) {
  const char* text = std::getenv(name);
  return text == nullptr ? usual : std::atoi(text);
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 2) {
    std::puts("usage: amt-bench EMPTY-FOLDER-WITH-A-SHORT-NAME [relay stream version at service many]");
    return 2;
  }
  g_rounds = number_from_environment("BENCH_ROUNDS", g_rounds);
  g_trips = number_from_environment("BENCH_TRIPS", g_trips);
  const std::filesystem::path bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const programs_st programs{bin / "vx-kro-amt", bin / "amt-bench-peer", bin.parent_path() / "lib",
                             std::filesystem::absolute(argv[1])};
  bench_pin(BENCH_OWN_PROCESSOR);
  fmt::print("scheduling: {}\n", bench_take_service_priority() ? "real time for all, as the service takes it"
                                                               : "usual for all (real time is not permitted)");
  if (is_wanted(argc, argv, "relay") || is_wanted(argc, argv, "stream")) {
    const entrants all = start_relaying(programs);
    if (is_wanted(argc, argv, "relay")) measure_relaying(all, text_block(), "AT text");
    if (is_wanted(argc, argv, "stream")) measure_streams(all);
  }
  if (is_wanted(argc, argv, "version")) {
    measure_answers(programs, "Version frame: pre-response, then answer", version_request(), AMT_PRE_RESPONSE.size());
  }
  if (is_wanted(argc, argv, "at")) {
    measure_answers(programs, "AT command without a file (AT^DWIFIADDR=?)", to_bytes("AT^DWIFIADDR=?\r"), SIZE_MAX);
    measure_answers(programs, "AT command that looks for a file (AT^DAMT1=2)", to_bytes("AT^DAMT1=2\r"), SIZE_MAX);
  }
  if (is_wanted(argc, argv, "service")) {
    examine_service(programs, true);
    examine_service(programs, false);
  }
  if (is_wanted(argc, argv, "many")) measure_many(programs);
  return 0;
}
