#include "util/chronex/filter/date_time.h"

#include <chrono>
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

// The seconds from the epoch to this date and time on a clock that shows UTC. A
// day that the month does not have counts on into the next.
std::int64_t utc_seconds(const date_fields& date, const clock_fields& clock) {
  using namespace std::chrono;
  const sys_days first =
      year(date.year) / month(static_cast<unsigned>(date.month)) / 1;
  const sys_days day = first + days(date.day - 1);
  return duration_cast<seconds>(day.time_since_epoch() + hours(clock.hour) +
                                minutes(clock.minute) + seconds(clock.second))
      .count();
}

// What local clocks show at an instant, less that instant: the local time's
// distance from UTC in seconds, positive in the east.
std::int64_t utc_offset(std::int64_t instant) {
  const std::time_t seconds = instant;
  std::tm fields = {};
  if (localtime_r(&seconds, &fields) == nullptr) return 0;
  return utc_seconds({fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday},
                     {fields.tm_hour, fields.tm_min, fields.tm_sec}) -
         instant;
}

// The first instant at which local clocks show `shown`, given in seconds as if
// they showed UTC. Clocks that are put forward pass over times: of such a time
// it is the instant at which a clock that was not put forward shows it.
//
// mktime is no help here: which of the two instants of a repeated hour it
// takes depends on what it was asked before.
std::int64_t first_instant(std::int64_t shown) {
  // No local time is farther from UTC than this, and no two changes of it are
  // within one step.
  constexpr std::int64_t FARTHEST = std::int64_t{26} * 3600;
  constexpr std::int64_t STEP = 3600;
  std::optional<std::int64_t> found;
  std::int64_t passed_over = 0;
  bool is_before = true;
  for (std::int64_t at = shown - FARTHEST; at <= shown + FARTHEST; at += STEP) {
    const std::int64_t offset = utc_offset(at);
    const std::int64_t candidate = shown - offset;
    is_before = is_before && at < candidate;
    if (is_before) passed_over = candidate;
    if (utc_offset(candidate) == offset && (!found || candidate < *found)) {
      found = candidate;
    }
  }
  return found.value_or(passed_over);
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
  tzset();
  return {date_time_status::found,
          first_instant(utc_seconds(*date, time_of_day)), cursor.position()};
}
