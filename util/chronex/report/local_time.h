#ifndef CHRONEX_UTIL_CHRONEX_REPORT_LOCAL_TIME_H
#define CHRONEX_UTIL_CHRONEX_REPORT_LOCAL_TIME_H

// Time stamps as text, in local time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>

class local_time {
 public:
  // Formats seconds since the epoch as "YYYY-MM-DD HH:MM:SS" in local time. The
  // text is valid until the next call. The time zone is looked up once, and the
  // calendar once per quarter of an hour of log time.
  std::string_view text(std::uint32_t timestamp);

 private:
  // A quarter of an hour during which the local time runs on without a jump.
  struct calm_quarter {
    bool known = false;
    std::uint32_t begin = 0;
    // Local minute of the hour and second of the minute at `begin`.
    int minute = 0;
    int second = 0;
  };

  calm_quarter enter_quarter(std::uint32_t begin);
  void format_calendar(const std::tm& calendar);

  calm_quarter quarter_;
  std::array<char, 40> text_;
  std::size_t text_length_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_LOCAL_TIME_H
