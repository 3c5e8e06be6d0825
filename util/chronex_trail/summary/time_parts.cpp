// When the changes were made.

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/summary/part_rows.h"

namespace {

constexpr std::array<std::string_view, 7> WEEKDAYS = {
    "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr std::size_t HOURS_OF_DAY = 24;

constexpr summary_column DAY_COLUMNS[] = {{"day"},  {"weekday"}, {"changes"},
                                          {"puts"}, {"updates"}, {"deletes"}};

std::string_view weekday_of(std::int32_t day) {
  const std::chrono::weekday weekday{
      std::chrono::sys_days{std::chrono::days{day}}};
  return WEEKDAYS[weekday.iso_encoding() - 1];
}

// YYYY-MM-DD
std::string date_of(std::int32_t day) {
  const std::chrono::year_month_day date{
      std::chrono::sys_days{std::chrono::days{day}}};
  return format_text("%04d-%02u-%02u", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()),
                     static_cast<unsigned>(date.day()));
}

// The last rows.
row_counts day_rows(const trail_figures& figures, std::size_t limit,
                    row_sink& sink) {
  const std::size_t all = figures.days.size();
  std::size_t left_out = all > limit ? all - limit : 0;
  const row_counts counts{all, all - left_out};
  for (const auto& [day, count] : figures.days) {
    if (left_out > 0) {
      --left_out;
      continue;
    }
    const std::string date = date_of(day);
    cells row = {text_cell(date), text_cell(weekday_of(day))};
    append_counts(row, count);
    sink.row(row);
  }
  return counts;
}

constexpr summary_column HOUR_COLUMNS[] = {
    {"weekday"}, {"hour"}, {"changes"}, {"puts"}, {"updates"}, {"deletes"}};

// Hours without changes have no row.
row_counts hour_rows(const trail_figures& figures, std::size_t /*limit*/,
                     row_sink& sink) {
  std::size_t given = 0;
  for (std::size_t i = 0; i < figures.hours.size(); ++i) {
    const op_counts& count = figures.hours[i];
    if (count.total() == 0) continue;
    cells row = {text_cell(WEEKDAYS[i / HOURS_OF_DAY]),
                 number_cell(i % HOURS_OF_DAY)};
    append_counts(row, count);
    sink.row(row);
    ++given;
  }
  return {given, given};
}

constexpr summary_column WEEK_COLUMNS[] = {{"hour"}, {"Mon"}, {"Tue"}, {"Wed"},
                                           {"Thu"},  {"Fri"}, {"Sat"}, {"Sun"}};

// A row an hour of the day, with a column a weekday; of hours without changes
// those between others are shown.
row_counts week_rows(const trail_figures& figures, std::size_t /*limit*/,
                     row_sink& sink) {
  std::vector<cells> rows;
  std::size_t used = 0;
  for (std::size_t hour = 0; hour < HOURS_OF_DAY; ++hour) {
    cells row = {number_cell(hour)};
    std::uint64_t changes = 0;
    for (std::size_t day = 0; day < WEEKDAYS.size(); ++day) {
      const std::uint64_t count =
          figures.hours[day * HOURS_OF_DAY + hour].total();
      row.push_back(count == 0 ? no_cell() : number_cell(count));
      changes += count;
    }
    if (changes > 0 || !rows.empty()) rows.push_back(row);
    if (changes > 0) used = rows.size();
  }
  rows.resize(used);
  return give_rows(rows, used, sink, [](const cells& row) { return row; });
}

}  // namespace

const summary_part DAYS_PART = {.name = "days",
                                .title = "Days",
                                .columns = DAY_COLUMNS,
                                .rows = day_rows,
                                .keeps_last = true};
const summary_part HOURS_PART = {.name = "hours",
                                 .title = "Hours of the week",
                                 .columns = HOUR_COLUMNS,
                                 .rows = hour_rows,
                                 .where = summary_part::shown_in::data};
const summary_part WEEK_PART = {.name = "week",
                                .title = "Changes by hour and weekday",
                                .columns = WEEK_COLUMNS,
                                .rows = week_rows,
                                .where = summary_part::shown_in::tables};
