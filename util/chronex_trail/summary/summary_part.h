#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_SUMMARY_PART_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_SUMMARY_PART_H

// The figures of a trail as parts, each a list of rows: the one form that
// tables, CSV and JSON are made of. doc/stats.md describes the parts.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/stats/figures.h"

struct summary_cell {
  enum class kind { none, text, number, time, flag };

  kind is = kind::none;
  // UTF-8, borrowed for the time of a call.
  std::string_view text{};
  // Also a time, in seconds since the epoch, or a flag, 0 or 1.
  std::int64_t number = 0;
};

// Makers of cells.
inline summary_cell no_cell() { return {}; }
inline summary_cell text_cell(std::string_view text) {
  return {summary_cell::kind::text, text};
}
// Counts are far from the limit of the signed number that a cell has.
template <typename Number>
summary_cell number_cell(Number number) {
  return {summary_cell::kind::number, {}, static_cast<std::int64_t>(number)};
}
inline summary_cell time_cell(std::uint32_t time) {
  return {summary_cell::kind::time, {}, time};
}
inline summary_cell flag_cell(bool flag) {
  return {summary_cell::kind::flag, {}, flag ? 1 : 0};
}

struct summary_column {
  std::string_view name;
  // Where a window is too narrow, the columns with the highest number go first;
  // 0 = it stays. DATA_ONLY: tables never have it.
  int leaves = 0;

  static constexpr int DATA_ONLY = 99;
};

// Takes the rows of a part, cell by cell in the order of its columns.
class row_sink {
 public:
  row_sink() = default;
  row_sink(const row_sink&) = delete;
  row_sink& operator=(const row_sink&) = delete;
  virtual ~row_sink() = default;
  virtual void row(std::span<const summary_cell> cells) = 0;
};

// How many rows of a part there are, and how many were given to the sink.
struct row_counts {
  std::size_t all = 0;
  std::size_t given = 0;
};

inline constexpr std::size_t ALL_ROWS = static_cast<std::size_t>(-1);

struct summary_part {
  // As in CSV and JSON, and the heading of its table.
  std::string_view name;
  std::string_view title;
  std::span<const summary_column> columns;
  // Gives at most `limit` rows to the sink, which may throw.
  row_counts (*rows)(const trail_figures& figures, std::size_t limit,
                     row_sink& sink);
  enum class shown_in { all, data, tables } where = shown_in::all;
  // It has one row, which a table shows as lines.
  bool has_one_row = false;
  // The largest come first; else rows are in an order of their own.
  bool is_ranked = false;
  // A table leaves out the earlier rows, not the later.
  bool keeps_last = false;
  // What stands below its table; null: nothing.
  std::string (*note)(const trail_figures& figures) = nullptr;
};

// All parts, in the order in which they are shown.
std::span<const summary_part* const> summary_parts();

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_SUMMARY_PART_H
