// Texts as the forms of a report take them. Pure.
#pragma once

#include <string>
#include <string_view>

// Without what XML and HTML cannot hold: control characters, halves of characters and code points that are none show as
// U+FFFD. Line feeds and tabs stay.
std::string report_clean(std::string_view text);

// A cell of a CSV line (RFC 4180), in quotes where it must be. A text that a spreadsheet would compute gets an
// apostrophe in front; a number never does.
std::string report_csv_cell(std::string_view text);

// "1 min 5.0 s", "12.3 s", "45 ms"
std::string report_duration(double milliseconds);
