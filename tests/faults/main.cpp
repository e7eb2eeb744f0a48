// Every call of the service failed once: `make faults`. First each session without a failure, to learn how often each
// function is called; then once more for every call and every way in which it can fail. Prints a line for each finding
// and a table of the functions, and fails if there is a finding.
//
//   faults-campaign                                    every call
//   faults-campaign --short                            a sample, spread over the functions; a minute at most
//   faults-campaign --session app --fault "0 read 3 5" one of them, with the service's log (functions.h)
//   --jobs N  phones at a time      --function NAME  only this one
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include "handset/wire/error.h"
#include "tests/faults/campaign.h"

namespace {

using namespace faults;

constexpr std::size_t JOBS = 16;  // phones at a time: they wait for most of their time
constexpr std::size_t SAMPLE = 110;
constexpr std::chrono::seconds SHORT_TIME{35};  // no further phone is started after that

struct arguments {
  bool is_short = false;
  std::size_t jobs = JOBS;
  std::string session;
  std::string function;
  std::string fault;
};

struct job {
  const session_plan* plan;
  fault wanted;
  const complaints* usual;
};

struct function_facts {
  std::size_t failed = 0;
  std::size_t missed = 0;  // the call did not come this time
  std::size_t ended = 0;   // the service ended by itself
  std::size_t by_design = 0;
  std::size_t findings = 0;
};

struct learnt {
  const session_plan* plan;
  counts called{};
  complaints usual;
};

std::size_t function_named(const std::string& name) {
  const auto found = std::find(NAMES.begin(), NAMES.end(), name);
  if (found == NAMES.end()) throw handset::error("there is no function " + name);
  return static_cast<std::size_t>(found - NAMES.begin());
}

// Twice, because threads take turns as they like: all calls of both, but only the words that both have.
learnt learn(const session_plan& plan) {
  learnt known;
  known.plan = &plan;
  for (int round = 0; round < 2; ++round) {
    const report found = play(plan, std::nullopt, nullptr);
    for (const auto& each : found.findings)
      throw handset::error(std::string(plan.name) + ", nothing fails: " + each + "\n" + found.log);
    for (std::size_t process = 0; process < PROCESSES; ++process) {
      for (std::size_t index = 0; index < FUNCTIONS; ++index) {
        auto& most = known.called[process][index];
        most = std::max(most, found.called[process][index]);
      }
    }
    if (round == 0) {
      known.usual = found.said;
      continue;
    }
    std::erase_if(known.usual, [&](const auto& line) { return !found.said.contains(line.first); });
    for (auto& [line, times] : known.usual) times = std::min(times, found.said.at(line));
  }
  return known;
}

void add_jobs(std::vector<job>& jobs, const learnt& known, const std::string& only) {
  for (std::size_t process = 0; process < PROCESSES; ++process) {
    for (const failure_row& row : failures()) {
      if (!only.empty() && row.function != only) continue;
      const std::size_t index = function_named(std::string(row.function));
      for (std::uint32_t number = 1; number <= known.called[process][index]; ++number) {
        jobs.push_back({known.plan, {process, index, number, row.error}, &known.usual});
      }
    }
  }
}

// A place in the sample that has nothing to do with how often other calls were made.
std::uint32_t place_of(const job& each) {
  std::uint32_t place = 2166136261;
  for (const char byte : each.plan->name + show(each.wanted)) {
    place = (place ^ static_cast<unsigned char>(byte)) * 16777619;
  }
  return place;
}

// The first of every function, then further ones; the same every time, but for calls that are not always made.
std::vector<job> sample_of(std::vector<job> jobs) {
  std::sort(jobs.begin(), jobs.end(), [](const job& one, const job& other) { return place_of(one) < place_of(other); });
  std::set<std::size_t> functions;
  std::stable_partition(jobs.begin(), jobs.end(),
                        [&](const job& each) { return functions.insert(each.wanted.function).second; });
  jobs.resize(std::min(jobs.size(), SAMPLE));
  return jobs;
}

class campaign {
 public:
  explicit campaign(std::vector<job> jobs) : m_jobs(std::move(jobs)) {}

  void run(std::size_t phones, std::optional<std::chrono::steady_clock::time_point> end) {
    std::vector<std::thread> players;
    for (std::size_t index = 0; index < phones; ++index) {
      players.emplace_back([this, end] { play_all(end); });
    }
    for (auto& player : players) player.join();
  }

  std::size_t print() const {
    function_facts all;
    std::printf("%-20s %6s %6s %6s %6s %8s\n", "function", "failed", "missed", "ended", "design", "findings");
    for (const auto& [index, facts] : m_facts) {
      print_row(std::string(NAMES[index]).c_str(), facts);
      all.failed += facts.failed;
      all.missed += facts.missed;
      all.ended += facts.ended;
      all.by_design += facts.by_design;
      all.findings += facts.findings;
    }
    print_row("all", all);
    for (const auto& [reason, times] : m_reasons) std::printf("by design, %d times: %s\n", times, reason.c_str());
    return all.findings;
  }

 private:
  static void print_row(const char* name, const function_facts& facts) {
    std::printf("%-20s %6zu %6zu %6zu %6zu %8zu\n", name, facts.failed, facts.missed, facts.ended, facts.by_design,
                facts.findings);
  }

  void play_all(std::optional<std::chrono::steady_clock::time_point> end) {
    for (std::size_t index = m_next++; index < m_jobs.size(); index = m_next++) {
      if (end && std::chrono::steady_clock::now() > *end) return;
      const job& each = m_jobs[index];
      report found;
      try {
        found = play(*each.plan, each.wanted, each.usual);
      } catch (const std::exception& wrong) {
        found.findings.emplace_back(wrong.what());
        found.made = "?";
      }
      take(each, found);
    }
  }

  void take(const job& each, const report& found) {
    const std::lock_guard lock(m_mutex);
    function_facts& facts = m_facts[each.wanted.function];
    ++(found.made.empty() ? facts.missed : facts.failed);
    if (found.has_ended_early) ++facts.ended;
    facts.findings += found.findings.size();
    facts.by_design += found.by_design.size();
    for (const auto& reason : found.by_design) ++m_reasons[reason];
    for (const auto& what : found.findings) {
      std::printf("%s, %s: %s\n    %s", each.plan->name, show(each.wanted).c_str(), what.c_str(),
                  found.made.empty() ? "(nothing was made to fail)\n" : found.made.c_str());
    }
    std::fflush(stdout);
  }

  const std::vector<job> m_jobs;
  std::atomic<std::size_t> m_next{0};
  std::mutex m_mutex;
  std::map<std::size_t, function_facts> m_facts;
  std::map<std::string, int> m_reasons;
};

fault read_fault(const std::string& text) {
  std::istringstream words(text);
  fault wanted;
  std::string name;
  if (!(words >> wanted.process >> name >> wanted.number >> wanted.error)) throw handset::error("no fault: " + text);
  wanted.function = function_named(name);
  return wanted;
}

int play_one(const session_plan& plan, const std::string& text) {
  const learnt known = learn(plan);
  const report found = play(plan, read_fault(text), &known.usual);
  std::cout << found.log << "made to fail: " << found.made << "\n";
  for (const auto& what : found.findings) std::cout << "FINDING: " << what << "\n";
  for (const auto& what : found.by_design) std::cout << "by design: " << what << "\n";
  return found.findings.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

arguments read_arguments(int count, char** words) {
  arguments given;
  for (int index = 1; index < count; ++index) {
    const std::string word = words[index];
    if (word == "--short") {
      given.is_short = true;
      continue;
    }
    if (index + 1 == count) throw handset::error("unknown: " + word);
    const std::string value = words[++index];
    if (word == "--session") {
      given.session = value;
    } else if (word == "--function") {
      given.function = value;
    } else if (word == "--fault") {
      given.fault = value;
    } else if (word == "--jobs") {
      given.jobs = static_cast<std::size_t>(std::stoul(value));
    } else {
      throw handset::error("unknown: " + word);
    }
  }
  return given;
}

int run(const arguments& given) {
  const auto begin = std::chrono::steady_clock::now();
  std::vector<const session_plan*> plans;
  for (const session_plan& plan : sessions()) {
    if (given.session.empty() || given.session == plan.name) plans.push_back(&plan);
  }
  if (plans.empty()) throw handset::error("there is no session " + given.session);
  if (!given.fault.empty()) return play_one(*plans.front(), given.fault);

  std::vector<learnt> known(plans.size());
  std::vector<std::thread> learners;
  for (std::size_t index = 0; index < plans.size(); ++index) {
    learners.emplace_back([&, index] {
      try {
        known[index] = learn(*plans[index]);
      } catch (const std::exception& wrong) {
        std::fprintf(stderr, "%s\n", wrong.what());
        std::exit(EXIT_FAILURE);
      }
    });
  }
  for (auto& learner : learners) learner.join();
  std::vector<job> jobs;
  for (const learnt& each : known) add_jobs(jobs, each, given.function);
  const std::size_t calls = jobs.size();
  if (given.is_short) jobs = sample_of(jobs);
  std::printf("%zu ways for a call to fail in %zu sessions, %zu of them are played\n", calls, plans.size(),
              jobs.size());
  std::fflush(stdout);
  campaign played(std::move(jobs));
  played.run(given.jobs, given.is_short ? std::optional(begin + SHORT_TIME) : std::nullopt);
  const std::size_t findings = played.print();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
  std::printf("%zu findings in %lld s\n", findings, static_cast<long long>(seconds.count()));
  return findings == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int count, char** words) {
  try {
    return run(read_arguments(count, words));
  } catch (const std::exception& wrong) {
    std::cerr << wrong.what() << "\n";
    return EXIT_FAILURE;
  }
}
