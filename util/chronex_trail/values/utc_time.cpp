#include "util/chronex_trail/values/utc_time.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace {

constexpr std::uint32_t DAY = 86400;
constexpr std::string_view PATTERN = "0000-00-00T00:00:00Z";

void put_two_digits(char* out, unsigned number) {
  out[0] = static_cast<char>('0' + number / 10);
  out[1] = static_cast<char>('0' + number % 10);
}

}  // namespace

void utc_time::set_day(std::uint32_t day) {
  const std::chrono::year_month_day date{
      std::chrono::sys_days{std::chrono::days{day}}};
  const auto year = static_cast<unsigned>(static_cast<int>(date.year()));
  std::ranges::copy(PATTERN, text_.begin());
  put_two_digits(&text_[0], year / 100);
  put_two_digits(&text_[2], year % 100);
  put_two_digits(&text_[5], static_cast<unsigned>(date.month()));
  put_two_digits(&text_[8], static_cast<unsigned>(date.day()));
  day_ = day;
}

std::string_view utc_time::text(std::uint32_t timestamp) {
  const std::string_view text(text_.data(), text_.size());
  if (has_time_ && timestamp == second_) return text;
  if (!has_time_ || timestamp / DAY != day_) set_day(timestamp / DAY);
  const std::uint32_t second_of_day = timestamp % DAY;
  put_two_digits(&text_[11], second_of_day / 3600);
  put_two_digits(&text_[14], second_of_day / 60 % 60);
  put_two_digits(&text_[17], second_of_day % 60);
  second_ = timestamp;
  has_time_ = true;
  return text;
}
