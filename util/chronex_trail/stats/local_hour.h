#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_LOCAL_HOUR_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_LOCAL_HOUR_H

#include <cstdint>

// The day and the hour of the week of a time, in local time.
struct local_hour {
  // Days since 1970-01-01 on the calendar.
  std::int32_t day = 0;
  // From Monday 0:00.
  std::uint32_t hour_of_week = 0;
};

// Tells local hours. Operations of a log follow one another closely, so the
// calendar is asked once a quarter of an hour of log time.
class local_hours {
 public:
  // Whether the hour of a time, in seconds since the epoch, is that of the
  // latest call of enter().
  bool is_in(std::uint32_t timestamp) const {
    return timestamp - begin_ < length_;
  }
  // The hour of a time.
  local_hour enter(std::uint32_t timestamp);

 private:
  std::uint32_t begin_ = 0;
  std::uint32_t length_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_LOCAL_HOUR_H
