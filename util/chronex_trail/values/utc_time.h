#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_UTC_TIME_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_UTC_TIME_H

#include <array>
#include <cstdint>
#include <string_view>

// Formats times as "YYYY-MM-DDTHH:MM:SSZ". Operations of a log follow one
// another closely, so the calendar is asked once a day of log time.
class utc_time {
 public:
  // `timestamp` in seconds since the epoch. The text is valid until the next
  // call.
  std::string_view text(std::uint32_t timestamp);

 private:
  void set_day(std::uint32_t day);

  std::array<char, 20> text_{};
  std::uint32_t second_ = 0;
  std::uint32_t day_ = 0;
  bool has_time_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_UTC_TIME_H
