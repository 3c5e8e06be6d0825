#include "util/chronex/filter/date_time.h"

#include <ctime>
#include <optional>

namespace {

constexpr int FIRST_YEAR = 1970;
constexpr int LAST_YEAR = 2038;

struct date_fields {
  int year = 0;
  int month = 0;
  int day = 0;
};

struct clock_fields {
  int hour = 0;
  int minute = 0;
  int second = 0;
};

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// A position in the literal that never runs past its end.
class field_cursor {
 public:
  explicit field_cursor(std::string_view text, std::size_t position = 0)
      : text_(text), position_(position) {}

  std::size_t position() const { return position_; }

  bool skip(char c) {
    if (position_ >= text_.size() || text_[position_] != c) return false;
    ++position_;
    return true;
  }

  // Reads all digits that follow; none unless there are 2, or 4 if `or_four`.
  std::optional<int> number(bool or_four) {
    std::size_t end = position_;
    int value = 0;
    for (; end < text_.size() && is_digit(text_[end]); ++end) {
      if (end - position_ >= 4) return std::nullopt;
      value = value * 10 + (text_[end] - '0');
    }
    const std::size_t digits = end - position_;
    if (digits != 2 && !(or_four && digits == 4)) return std::nullopt;
    position_ = end;
    return value;
  }

 private:
  std::string_view text_;
  std::size_t position_;
};

std::optional<date_fields> read_date(field_cursor& cursor) {
  const std::optional<int> first = cursor.number(true);
  if (!first) return std::nullopt;
  char separator = '\0';
  for (const char candidate : {'-', '/', '.'}) {
    if (cursor.skip(candidate)) {
      separator = candidate;
      break;
    }
  }
  if (separator == '\0') return std::nullopt;
  const std::optional<int> second = cursor.number(false);
  if (!second || !cursor.skip(separator)) return std::nullopt;
  const std::optional<int> third = cursor.number(true);
  if (!third) return std::nullopt;
  if (separator == '-') return date_fields{*first, *second, *third};
  if (separator == '/') return date_fields{*third, *first, *second};
  return date_fields{*third, *second, *first};
}

std::optional<clock_fields> read_clock(field_cursor& cursor) {
  if (!cursor.skip(' ')) return std::nullopt;
  const std::optional<int> hour = cursor.number(false);
  if (!hour || !cursor.skip(':')) return std::nullopt;
  const std::optional<int> minute = cursor.number(false);
  if (!minute) return std::nullopt;
  if (!cursor.skip(':')) return clock_fields{*hour, *minute, 0};
  const std::optional<int> second = cursor.number(false);
  if (!second) return std::nullopt;
  return clock_fields{*hour, *minute, *second};
}

int full_year(int year) {
  if (year > 99) return year;
  return year < 70 ? 2000 + year : 1900 + year;
}

bool in_range(const date_fields& date, const clock_fields& clock) {
  return date.year >= FIRST_YEAR && date.year <= LAST_YEAR && date.month >= 1 &&
         date.month <= 12 && date.day >= 1 && date.day <= 31 &&
         clock.hour <= 23 && clock.minute <= 59 && clock.second <= 59;
}

std::optional<std::int64_t> to_seconds(const date_fields& date,
                                       const clock_fields& clock) {
  std::tm fields = {};
  fields.tm_year = date.year - 1900;
  fields.tm_mon = date.month - 1;
  fields.tm_mday = date.day;
  fields.tm_hour = clock.hour;
  fields.tm_min = clock.minute;
  fields.tm_sec = clock.second;
  fields.tm_isdst = -1;
  // -1 is also the second before the epoch, which the first day of 1970 holds
  // east of Greenwich; only a conversion that worked sets the day of the week.
  fields.tm_wday = -1;
  const std::time_t seconds = std::mktime(&fields);
  if (seconds == -1 && fields.tm_wday == -1) return std::nullopt;
  return seconds;
}

}  // namespace

date_time_literal scan_date_time(std::string_view text) {
  field_cursor cursor(text);
  std::optional<date_fields> date = read_date(cursor);
  if (!date) return {};
  date->year = full_year(date->year);

  field_cursor clock_cursor = cursor;
  const std::optional<clock_fields> clock = read_clock(clock_cursor);
  if (clock) cursor = clock_cursor;

  const clock_fields time_of_day = clock.value_or(clock_fields{});
  if (!in_range(*date, time_of_day)) {
    return {date_time_status::out_of_range, 0, 0};
  }
  const std::optional<std::int64_t> seconds = to_seconds(*date, time_of_day);
  if (!seconds) return {date_time_status::out_of_range, 0, 0};
  return {date_time_status::found, *seconds, cursor.position()};
}
