#include "util/chronex/report/local_time.h"

#include <ctime>

namespace {

constexpr std::uint32_t QUARTER_SECONDS = 900;

std::tm local_calendar(std::uint32_t timestamp) {
  static const bool zone_is_set = [] {
    tzset();
    return true;
  }();
  static_cast<void>(zone_is_set);
  const std::time_t time = timestamp;
  std::tm calendar{};
  localtime_r(&time, &calendar);
  return calendar;
}

// Seconds since local midnight.
int seconds_of_day(const std::tm& calendar) {
  return (calendar.tm_hour * 60 + calendar.tm_min) * 60 + calendar.tm_sec;
}

void put_two_digits(char* place, int number) {
  place[0] = static_cast<char>('0' + number / 10);
  place[1] = static_cast<char>('0' + number % 10);
}

}  // namespace

void local_time::format_calendar(const std::tm& calendar) {
  text_length_ =
      std::strftime(text_.data(), text_.size(), "%Y-%m-%d %H:%M:%S", &calendar);
}

// Converts the quarter's first second; the quarter is of use only if its last
// second lies in the same local hour and as far on as it should.
local_time::calm_quarter local_time::enter_quarter(std::uint32_t begin) {
  calm_quarter quarter;
  const std::tm first = local_calendar(begin);
  const std::tm last = local_calendar(begin + QUARTER_SECONDS - 1);
  if (first.tm_yday != last.tm_yday || first.tm_hour != last.tm_hour ||
      seconds_of_day(last) - seconds_of_day(first) !=
          static_cast<int>(QUARTER_SECONDS) - 1) {
    return quarter;
  }
  quarter = {true, begin, first.tm_min, first.tm_sec};
  format_calendar(first);
  return quarter;
}

std::string_view local_time::text(std::uint32_t timestamp) {
  const std::uint32_t begin = timestamp - timestamp % QUARTER_SECONDS;
  if (!quarter_.known || quarter_.begin != begin)
    quarter_ = enter_quarter(begin);
  if (!quarter_.known) {
    format_calendar(local_calendar(timestamp));
  } else {
    const int second = quarter_.second + static_cast<int>(timestamp - begin);
    const int minute = quarter_.minute + second / 60;
    // Date and hour stand already; only minute and second run on.
    put_two_digits(text_.data() + text_length_ - 5, minute);
    put_two_digits(text_.data() + text_length_ - 2, second % 60);
  }
  return {text_.data(), text_length_};
}
