#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_PART_ROWS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_PART_ROWS_H

// What the rows of all parts are made with, and the parts.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "util/chronex_trail/summary/summary_part.h"

using cells = std::vector<summary_cell>;

// All changes, and those of each kind.
inline void append_counts(cells& row, const op_counts& count) {
  row.insert(row.end(),
             {number_cell(count.total()), number_cell(count.puts),
              number_cell(count.updates), number_cell(count.deletes)});
}

// The times of the first and the last change.
inline void append_times(cells& row, const change_figures& changes) {
  const bool has_some = changes.count.total() > 0;
  row.push_back(has_some ? time_cell(changes.first) : no_cell());
  row.push_back(has_some ? time_cell(changes.last) : no_cell());
}

inline summary_cell name_cell(const name_figures& name) {
  return name.known() ? text_cell(name.name) : no_cell();
}

// Gives the first rows of a list, as they are made of its elements.
template <typename List, typename MakeRow>
row_counts give_rows(const List& list, std::size_t limit, row_sink& sink,
                     MakeRow make_row) {
  const std::size_t count = std::min(limit, list.size());
  for (std::size_t i = 0; i < count; ++i) {
    const auto row = make_row(list[i]);
    sink.row(row);
  }
  return {list.size(), count};
}

extern const summary_part COMPLETENESS_PART;
extern const summary_part INPUTS_PART;
extern const summary_part NUMBERS_PART;
extern const summary_part GAPS_PART;
extern const summary_part NOTICES_PART;
extern const summary_part TOTAL_PART;
extern const summary_part SETS_PART;
extern const summary_part USERS_PART;
extern const summary_part PROGRAMS_PART;
extern const summary_part HOSTS_PART;
extern const summary_part DAYS_PART;
extern const summary_part HOURS_PART;
extern const summary_part WEEK_PART;
extern const summary_part RECORDS_PART;
extern const summary_part TRANSACTIONS_PART;
extern const summary_part SESSIONS_PART;

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_PART_ROWS_H
