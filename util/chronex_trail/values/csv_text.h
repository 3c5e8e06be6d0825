#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_CSV_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_CSV_TEXT_H

#include <string>
#include <string_view>

// Appends a text to a line of CSV (RFC 4180), in quotes where commas, quotes,
// line ends, or being an empty text demand it.
void append_csv_text(std::string& line, std::string_view text);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_CSV_TEXT_H
