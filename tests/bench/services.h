// The programs that take part, on terminals of their own.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/bench/contender.h"
#include "tests/bench/terminal.h"

// A contender and the two links that it serves; the modem's is unused by one that answers itself.
struct entrant {
  std::string m_name;
  terminal m_pc;
  terminal m_modem;
  std::optional<contender> m_program;
};

using entrant_ptr = std::unique_ptr<entrant>;

struct programs_st {
  std::filesystem::path m_service;
  std::filesystem::path m_peer;
  std::filesystem::path m_libraries;
  std::filesystem::path m_folder;  // for configuration files and the like
};

// The service in a folder of its own, as in simplified mode. With filtered, the platform log lets nothing through;
// otherwise every line is formatted and written (to /dev/null).
entrant_ptr start_service(const programs_st& programs, const std::string& name, bool filtered,
                          const std::vector<std::string>& environment = {});
// "threads" or "poll".
entrant_ptr start_relay(const programs_st& programs, const std::string& name, const std::string& kind);
// Null when it is not installed.
entrant_ptr start_socat(bool is_logging);
entrant_ptr start_ser2net(const programs_st& programs, bool is_logging);
// Answers each request with these pieces.
entrant_ptr start_replier(const programs_st& programs, const std::string& name,
                          const std::vector<std::vector<std::uint8_t>>& pieces);
