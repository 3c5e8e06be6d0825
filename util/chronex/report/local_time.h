#ifndef CHRONEX_UTIL_CHRONEX_REPORT_LOCAL_TIME_H
#define CHRONEX_UTIL_CHRONEX_REPORT_LOCAL_TIME_H

// Time stamps as text, in local time.

#include <cstdint>
#include <string_view>

// Formats seconds since the epoch as "YYYY-MM-DD HH:MM:SS" in local time. The
// text is the module's and valid until the next call. The time zone is looked
// up once per run, and the calendar once per quarter of an hour of log time.
std::string_view local_time_text(std::uint32_t timestamp);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_LOCAL_TIME_H
