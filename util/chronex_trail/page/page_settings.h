#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_SETTINGS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_SETTINGS_H

// How a page was asked for.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Days are 0 = Monday to 6 = Sunday, both included; hours 0 to 24, the last one
// excluded.
struct office_times {
  int first_hour = 8;
  int end_hour = 18;
  int first_day = 0;
  int last_day = 4;
};

// Parses "8-18". Returns false, and changes nothing, if it is no such text.
bool parse_office_hours(std::string_view text, office_times& office);
// Parses "1-5"; 1 = Monday.
bool parse_office_days(std::string_view text, office_times& office);

struct page_settings {
  office_times office;
  // Options of the run that belong into every command which the page shows.
  std::vector<std::string> filter_options;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_SETTINGS_H
