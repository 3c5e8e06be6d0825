#include "util/chronex_trail/page/local_time.h"

#include <ctime>

namespace {

constexpr std::uint32_t QUARTER = 900;
constexpr std::int64_t MINUTE = 60;
constexpr std::int64_t DAY = 86400;

std::tm local(std::int64_t time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm fields{};
  localtime_r(&seconds, &fields);
  return fields;
}

std::int32_t offset_at(std::int64_t time) {
  return static_cast<std::int32_t>(local(time).tm_gmtoff);
}

std::int64_t begin_of_day(std::tm fields) {
  fields.tm_hour = 0;
  fields.tm_min = 0;
  fields.tm_sec = 0;
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

// The first second with another offset than that before, behind `before`.
std::int64_t change_between(std::int64_t before, std::int64_t behind) {
  const std::int32_t old_offset = offset_at(before);
  while (behind - before > 1) {
    const std::int64_t middle = before + (behind - before) / 2;
    (offset_at(middle) == old_offset ? before : behind) = middle;
  }
  return behind;
}

}  // namespace

const calendar_hour& calendar_hours::of(std::uint32_t timestamp) {
  const std::uint32_t quarter = timestamp / QUARTER;
  if (known_ && quarter == quarter_) return hour_;
  const std::tm fields = local(timestamp);
  const int day_of_week = (fields.tm_wday + 6) % 7;
  hour_.begin =
      std::int64_t{timestamp} - fields.tm_min * MINUTE - fields.tm_sec;
  hour_.of_week = static_cast<std::uint8_t>(day_of_week * 24 + fields.tm_hour);
  quarter_ = quarter;
  known_ = true;
  return hour_;
}

std::int64_t begin_of_day(std::int64_t time) {
  return begin_of_day(local(time));
}

std::int64_t begin_of_month(std::int64_t time) {
  std::tm fields = local(time);
  fields.tm_mday = 1;
  return begin_of_day(fields);
}

std::vector<zone_offset> offsets_between(std::int64_t first,
                                         std::int64_t last) {
  std::vector<zone_offset> offsets{{first, offset_at(first)}};
  for (std::int64_t day = first; day < last; day += DAY) {
    const std::int32_t offset = offset_at(day + DAY);
    if (offset == offsets.back().offset) continue;
    offsets.push_back({change_between(day, day + DAY), offset});
  }
  return offsets;
}
