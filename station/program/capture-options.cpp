#include "station/program/capture-options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "station/wire/link.h"

std::optional<int> capture_parse(CLI::App* app, const std::vector<std::string>& arguments, const station_io_st& io) {
  std::vector<std::string> rest(arguments.rbegin(), arguments.rend() - 1);  // the parser takes them from the back
  try {
    app->parse(std::move(rest));
  } catch (const CLI::ParseError& error) {
    return app->exit(error, *io.m_out, *io.m_err) == 0 ? STATION_OK : STATION_USAGE;
  }
  return std::nullopt;
}

void capture_add_link(CLI::App* app, std::string* link, const std::string& help) {
  app->add_option("--link", *link, help)
      ->check(CLI::IsMember({"pc", "app", "modem", "at"}).description(""))
      ->type_name("pc|app|modem|at");
}

std::string capture_check_baud(const std::string& text) {
  unsigned baud = 0;
  const bool is_number = CLI::detail::lexical_cast(text, baud);
  return is_number && station_is_baud(baud) ? "" : text + " is no speed of a serial line";
}

int capture_fail(const station_io_st& io, station_exit_en code, const std::string& why) {
  *io.m_err << "amt-station: " << why << std::endl;
  return code;
}

int capture_finish(const station_io_st& io, int status) {
  io.m_out->flush();
  if (io.m_out->good() || (status != STATION_OK && status != STATION_NO_OUTPUT)) return status;
  return capture_fail(io, STATION_NO_OUTPUT, "standard output failed");
}

int capture_finish_capture(const station_io_st& io, const capture_writer_st& writer, int status) {
  const std::string failure = writer.failure();
  if (failure.empty()) return status;
  *io.m_err << "amt-station: " << failure << std::endl;
  return status == STATION_OK ? STATION_NO_OUTPUT : status;
}
