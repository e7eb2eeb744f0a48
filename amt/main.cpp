// Process entry: command line, run mode, second-instance check, configuration, start of the channel core.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "amt/amt-cfg.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/service/init.h"
#include "platform/log.h"
#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/process.h"
#include "pub/util/signals.h"
#include "pub/util/thread.h"

namespace {

constexpr char PROGRAM_NAME[] = "vx-kro-amt";
constexpr char PROGRAM_VERSION[] = "001.001";
constexpr char NORMAL_MODE[] = "normal mode(with KRO platform)";
constexpr char SIMPLIFIED_MODE[] = "simplified mode(only with kernel)";
constexpr pub_log_module_st k_log{PROGRAM_NAME, "amt/main"};

constexpr std::size_t PATH_LIMIT = 59;  // with the terminator; longer paths are cut
char g_cfg_path_a[64];
char g_pid_path_a[64];

[[noreturn]] void prompt_usage(const char* name) {
  if (name == nullptr) {
    pub_print("%s(L%d)invalid parameter\n", __func__, 238);
    std::exit(-1);
  }
  pub_print(
      "\nUsage: %s [OPTION]\n"
      "  -h                     Display this help and exit.\n"
      "  -u                     For usb-insert-enter-amt.\n\n",
      name);
  std::exit(EXIT_SUCCESS);
}

void parse_options(int argc, char* argv[]) {
  g_usb_activate = 0;
  if (argc <= 1) return;
  // "h" asks for an argument, so a bare -h comes back as an error: both show the usage.
  for (int option = getopt(argc, argv, "h:u"); option != -1; option = getopt(argc, argv, "h:u")) {
    if (option != 'u') prompt_usage(argv[0]);
    g_usb_activate = 1;
  }
}

void set_paths(const char* cfg_folder, const char* pid_folder) {
  std::snprintf(g_cfg_path_a, PATH_LIMIT, "%s/%s.cfg", cfg_folder, PROGRAM_NAME);
  std::snprintf(g_pid_path_a, PATH_LIMIT, "%s/%s.pid", pid_folder, PROGRAM_NAME);
  pub_print("[%s]config file is \"%s\"\n            pid file is \"%s\"\n", PROGRAM_NAME, g_cfg_path_a, g_pid_path_a);
}

// Chooses the run mode and its paths. 1 in normal mode, else 0.
std::int32_t choose_mode() {
  if (g_usb_activate != 0) {
    set_paths("/system/etc", "/tmp");
    return 0;
  }
  char folder[256] = "";
  std::ignore = pub_util_get_process_path(folder, sizeof folder);
  pub_print("[%s]command path is \"%s\"\n", PROGRAM_NAME, folder);
  const bool is_normal = std::strstr(folder, "/system/bin") != nullptr;
  pub_print("[%s]run under %s \n", PROGRAM_NAME, is_normal ? NORMAL_MODE : SIMPLIFIED_MODE);
  set_paths(is_normal ? "/system/etc" : folder, is_normal ? "/tmp" : folder);
  return is_normal ? 1 : 0;
}

// A pid file that names this very process is an old one, whose number the system has used again.
bool is_another_running() {
  std::int32_t is_run = 0;
  std::int64_t pid = 0;
  std::ignore = pub_util_get_pid_and_check_run(g_pid_path_a, PROGRAM_NAME, &is_run, &pid);
  return is_run != 0 && pid != getpid();
}

result_code_en start_service(std::int32_t normal_mode) {
  result_code_en result = amt_cfg_init(g_cfg_path_a);
  pub_print("[%s]config over result=%d\n", PROGRAM_NAME, result);
  if (result != ERR_NONE) return result;
  result = amt_handle_init(normal_mode);
  pub_print("[%s]init over result=%d\"\n", PROGRAM_NAME, result);
  return result;
}

// A phone's build warns of what makes two builds differ; this line is there to tell them apart.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdate-time"
void log_version() {
  LOG_LINE("\n    %s, version %s\n", PROGRAM_NAME, PROGRAM_VERSION);
  LOG_LINE("    Build time: %s %s\n", __DATE__, __TIME__);
}
#pragma GCC diagnostic pop

}  // namespace

int main(int argc, char* argv[]) {
  pub_util_fill_standard_descriptors();
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // of what libraries print, a fork must find nothing pending
  platform_log_init();
  pub_util_block_signals();
  parse_options(argc, argv);
  pub_print("g_usb_activate:%d.\n", std::int32_t{g_usb_activate});
  const std::int32_t normal_mode = choose_mode();
  if (is_another_running()) {
    pub_print("%s already run.\n", PROGRAM_NAME);
    return EXIT_SUCCESS;
  }
  // Before the first wait point.
  pub_util_install_handler(SIGTERM, signal_treatment);
  pub_util_install_handler(SIGUSR2, signal_treatment);
  log_version();
  // The pid file is always made under /tmp, on purpose: also in simplified mode, where the one that is checked lies
  // elsewhere.
  pub_util_create_pid_file(PROGRAM_NAME);
  LOG_LINE("run under %s", normal_mode != 0 ? NORMAL_MODE : SIMPLIFIED_MODE);
  LOG_LINE("config file[%s], pid file[%s]", g_cfg_path_a, g_pid_path_a);
  pub_util_raise_process_priority();
  pub_util_prepare_thread_exit();
  amt_handle_watch_signals();

  const result_code_en result = start_service(normal_mode);
  if (result == ERR_NONE) pub_util_sleep_forever();
  LOG_LINE("FATAL ERROR!!!");
  pub_log_failure({k_log, 429}, result);
  pub_log_entry({k_log, "amt_deinit_resource"});
  amt_handle_end_service(result);
}
