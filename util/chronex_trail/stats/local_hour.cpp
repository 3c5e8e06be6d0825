#include "util/chronex_trail/stats/local_hour.h"

#include <chrono>
#include <ctime>

namespace {

constexpr std::uint32_t QUARTER_SECONDS = 900;

std::tm local_calendar(std::uint32_t timestamp) {
  const std::time_t time = timestamp;
  std::tm calendar{};
  localtime_r(&time, &calendar);
  return calendar;
}

// Whether local time runs on without a jump, and within one hour.
bool is_calm(const std::tm& first, const std::tm& last) {
  const int passed =
      (last.tm_min - first.tm_min) * 60 + last.tm_sec - first.tm_sec;
  return first.tm_yday == last.tm_yday && first.tm_hour == last.tm_hour &&
         passed == static_cast<int>(QUARTER_SECONDS) - 1;
}

local_hour hour_of(const std::tm& calendar) {
  const std::chrono::sys_days day{
      std::chrono::year{calendar.tm_year + 1900} /
      std::chrono::month{static_cast<unsigned>(calendar.tm_mon + 1)} /
      std::chrono::day{static_cast<unsigned>(calendar.tm_mday)}};
  // The calendar's weeks begin on Sunday.
  const int weekday = (calendar.tm_wday + 6) % 7;
  return {static_cast<std::int32_t>(day.time_since_epoch().count()),
          static_cast<std::uint32_t>(weekday * 24 + calendar.tm_hour)};
}

}  // namespace

// A quarter is entered as a whole if nothing happens within it; else only the
// one second is.
local_hour local_hours::enter(std::uint32_t timestamp) {
  begin_ = timestamp - timestamp % QUARTER_SECONDS;
  length_ = QUARTER_SECONDS;
  const std::tm first = local_calendar(begin_);
  if (is_calm(first, local_calendar(begin_ + (QUARTER_SECONDS - 1)))) {
    return hour_of(first);
  }
  begin_ = timestamp;
  length_ = 1;
  return hour_of(local_calendar(timestamp));
}
