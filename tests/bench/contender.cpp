#include "tests/bench/contender.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>

#include "tests/bench/fail.h"

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> all;
  for (std::string& text : texts) all.push_back(text.data());
  all.push_back(nullptr);
  return all;
}

[[noreturn]] void become(char* const* command, char* const* environment) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  bench_pin(BENCH_CONTENDERS_PROCESSOR);
  const int null = open("/dev/null", O_RDWR);  // NOLINT(android-cloexec-open): the contender's standard streams
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, stream);
  if (null > STDERR_FILENO) close(null);
  execve(command[0], command, environment);
  _exit(127);
}

}  // namespace

void bench_pin(int processor) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<std::size_t>(processor), &set);
  sched_setaffinity(0, sizeof set, &set);  // on a machine with one processor everything shares it
}

bool bench_take_service_priority() {
  sched_param parameter = {};
  parameter.sched_priority = sched_get_priority_max(SCHED_FIFO) - 4;
  return sched_setscheduler(0, SCHED_FIFO, &parameter) == 0;
}

contender::contender(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
  std::vector<std::string> arguments = command;
  std::vector<std::string> variables = environment;
  for (char** entry = environ; *entry != nullptr; ++entry) variables.emplace_back(*entry);
  const std::vector<char*> argv = pointers(arguments);
  const std::vector<char*> envp = pointers(variables);
  m_pid = fork();
  if (m_pid < 0) bench_fail("fork");
  if (m_pid == 0) become(argv.data(), envp.data());
}

contender::~contender() {
  if (m_pid <= 0) return;
  kill(m_pid, SIGKILL);
  waitpid(m_pid, nullptr, 0);
}

std::chrono::nanoseconds contender::processor_time() const {
  clockid_t clock = 0;
  timespec time = {};
  if (clock_getcpuclockid(m_pid, &clock) != 0 || clock_gettime(clock, &time) != 0) bench_fail("a contender has ended");
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}
