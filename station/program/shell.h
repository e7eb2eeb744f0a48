// Several words on one open port, line by line: from a terminal with editing, completion and history, or from a pipe.
#pragma once

#include <string>
#include <vector>

#include "station/program/options.h"
#include "station/program/run.h"

// The words of a line, as a shell takes them apart: blanks, 'quotes', "quotes" and \ before a character; # begins a
// comment. None and *wrong when a quote stays open.
std::optional<std::vector<std::string>> station_split_line(const std::string& line, std::string* wrong);

// Until the end of the input, `exit`, a phone that is gone or an output that failed. Gives the status of the last word
// that failed, 0 when none did.
int station_shell(const station_options_st& options, const station_io_st& io, station_run_st* run);
