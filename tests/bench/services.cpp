#include "tests/bench/services.h"

#include <fmt/format.h>

#include <fstream>

#include "tests/bench/fail.h"

namespace {

constexpr char SOCAT[] = "/usr/bin/socat";
constexpr char SER2NET[] = "/usr/sbin/ser2net";
constexpr char FILTER_ALL[] = "ANDROID_LOG_TAGS=*:s";
constexpr char FILTER_NONE[] = "ANDROID_LOG_TAGS=*:d";

entrant_ptr make_entrant(const std::string& name) {
  auto made = std::make_unique<entrant>();
  made->m_name = name;
  return made;
}

// One copy for all, under a short name: the service cuts the path of its configuration file. Each service has a hard
// link to it in its own folder, so that the kernel shares its pages, as it does between processes of one program.
std::filesystem::path shared_copy(const programs_st& programs) {
  const std::filesystem::path copy = programs.m_folder / "vx-kro-amt";
  if (!std::filesystem::exists(copy)) std::filesystem::copy_file(programs.m_service, copy);
  return copy;
}

}  // namespace

entrant_ptr start_service(const programs_st& programs, const std::string& name, bool filtered,
                          const std::vector<std::string>& environment) {
  static int number = 0;
  auto made = make_entrant(name);
  const std::filesystem::path folder = programs.m_folder / fmt::format("{}", ++number);
  std::filesystem::create_directories(folder);
  const std::filesystem::path program = folder / "vx-kro-amt";
  std::filesystem::create_hard_link(shared_copy(programs), program);
  std::ofstream(folder / "vx-kro-amt.cfg")
      << "vx.tty.pc = " << made->m_pc.path() << "\nvx.tty.modem = " << made->m_modem.path() << "\n";
  std::vector<std::string> variables = environment;
  variables.emplace_back(filtered ? FILTER_ALL : FILTER_NONE);
  variables.push_back("LD_LIBRARY_PATH=" + programs.m_libraries.string());
  made->m_program.emplace(std::vector<std::string>{program}, variables);
  return made;
}

entrant_ptr start_relay(const programs_st& programs, const std::string& name, const std::string& kind) {
  auto made = make_entrant(name);
  made->m_program.emplace(std::vector<std::string>{programs.m_peer, kind, made->m_pc.path(), made->m_modem.path()});
  return made;
}

entrant_ptr start_socat(bool is_logging) {
  if (!std::filesystem::exists(SOCAT)) return nullptr;
  auto made = make_entrant(is_logging ? "socat -x -v, to /dev/null" : "socat");
  std::vector<std::string> command{SOCAT};
  if (is_logging) command.insert(command.end(), {"-x", "-v"});
  command.insert(command.end(), {made->m_pc.path() + ",rawer,noctty", made->m_modem.path() + ",rawer,noctty"});
  made->m_program.emplace(command);
  return made;
}

entrant_ptr start_ser2net(const programs_st& programs, bool is_logging) {
  if (!std::filesystem::exists(SER2NET)) return nullptr;
  auto made = make_entrant(is_logging ? "ser2net, hexadecimal trace to /dev/null" : "ser2net");
  const std::filesystem::path config = programs.m_folder / (is_logging ? "ser2net-trace.yaml" : "ser2net.yaml");
  std::ofstream(config) << fmt::format(
      "%YAML 1.1\n---\n"
      "connection: &relay\n"
      "  accepter: conacc,serialdev,{},115200n81,local\n"
      "  connector: serialdev,{},115200n81,local\n",
      made->m_pc.path(), made->m_modem.path());
  if (is_logging) {
    std::ofstream(config, std::ios::app) << "  options:\n"
                                            "    trace-both: /dev/null\n"
                                            "    trace-both-hexdump: true\n"
                                            "    trace-both-timestamp: true\n";
  }
  made->m_program.emplace(std::vector<std::string>{SER2NET, "-n", "-u", "-c", config});
  return made;
}

entrant_ptr start_replier(const programs_st& programs, const std::string& name,
                          const std::vector<std::vector<std::uint8_t>>& pieces) {
  auto made = make_entrant(name);
  std::vector<std::string> command{programs.m_peer, "reply", made->m_pc.path()};
  for (const auto& piece : pieces) command.push_back(fmt::format("{:02x}", fmt::join(piece, "")));
  made->m_program.emplace(command);
  return made;
}
