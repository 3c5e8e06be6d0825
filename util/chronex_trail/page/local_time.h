#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_LOCAL_TIME_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_LOCAL_TIME_H

// Hours, days and months in the time zone of the run. Times are seconds since
// the epoch.

#include <cstdint>
#include <vector>

// An hour of local time.
struct calendar_hour {
  // When it begins; clocks that are put back begin it a second time.
  std::int64_t begin = 0;
  // 0 = Monday from 0:00, 167 = Sunday from 23:00.
  std::uint8_t of_week = 0;
};

class calendar_hours {
 public:
  // The hour that a time is in. Changes of a trail follow one another closely,
  // so the calendar is asked once a quarter of an hour: all time zones are
  // whole quarters away from UTC.
  const calendar_hour& of(std::uint32_t timestamp);

 private:
  calendar_hour hour_;
  std::uint32_t quarter_ = 0;
  bool known_ = false;
};

// When the local day and the local month begin that a time is in.
std::int64_t begin_of_day(std::int64_t time);
std::int64_t begin_of_month(std::int64_t time);

// From `from` on, local time is UTC and `offset` seconds.
struct zone_offset {
  std::int64_t from = 0;
  std::int32_t offset = 0;
};

// The offsets from `first` to `last`, the first of them in force at `first`.
std::vector<zone_offset> offsets_between(std::int64_t first, std::int64_t last);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_LOCAL_TIME_H
