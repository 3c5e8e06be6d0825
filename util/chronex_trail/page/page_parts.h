#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_PARTS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_PARTS_H

// The parts of a page that are the same in all: made of the files in web/ and
// of the chart library when the program is built.

#include <string_view>

// What stands in <body> before the data.
extern const std::string_view PAGE_BODY;
extern const std::string_view PAGE_STYLE;
// The page's own script.
extern const std::string_view PAGE_SCRIPT;
// The chart library with its licence in front of it.
extern const std::string_view CHART_LIBRARY;

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_PARTS_H
