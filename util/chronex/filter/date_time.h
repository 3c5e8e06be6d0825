#ifndef CHRONEX_UTIL_CHRONEX_FILTER_DATE_TIME_H
#define CHRONEX_UTIL_CHRONEX_FILTER_DATE_TIME_H

// Date/time literals of filter expressions.
//
//   2024-01-15   01/15/2024   15.01.2024      the separator gives the order
//   24-01-15 10:30   15.01.24 10:30:59        short years, a time of day
//
// Years have 2 or 4 digits, all other fields exactly 2. A time of day follows
// after a single blank; anything else there is not part of the literal.

#include <cstddef>
#include <cstdint>
#include <string_view>

enum class date_time_status {
  none,          // the text does not begin with a date
  out_of_range,  // it does, with a field that no calendar or clock has
  found,
};

struct date_time_literal {
  date_time_status status = date_time_status::none;
  std::int64_t time = 0;   // seconds since the epoch, when found
  std::size_t length = 0;  // characters of the text that were used, when found
};

// Reads the date/time literal that `text` begins with; what follows it is not
// looked at. The fields are local time. A day that its month does not have is
// carried into the next month. A time that clocks show twice is the earlier
// instant; a time that they pass over when they are put forward is the instant
// at which a clock that was not put forward shows it.
date_time_literal scan_date_time(std::string_view text);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_DATE_TIME_H
