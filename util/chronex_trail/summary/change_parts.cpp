// The changes: how many, on what, by whom.

#include <algorithm>
#include <array>
#include <numeric>
#include <string>

#include "util/chronex_trail/summary/part_rows.h"

namespace {

// The numbers of all, those with the most changes first, and of equals the one
// whose name comes first. Behind the first `limit` the order is any.
template <typename List, typename Name>
std::vector<std::uint32_t> ranked(const List& list, std::size_t limit,
                                  const Name& name_of) {
  struct ranked_number {
    std::uint64_t changes = 0;
    std::uint32_t number = 0;
  };
  std::vector<ranked_number> all;
  all.reserve(list.size());
  for (const auto& each : list) {
    all.push_back(
        {each.changes.count.total(), static_cast<std::uint32_t>(all.size())});
  }
  const auto end_of_order =
      all.begin() + static_cast<std::ptrdiff_t>(std::min(limit, all.size()));
  std::ranges::partial_sort(
      all, end_of_order, [&](const ranked_number& a, const ranked_number& b) {
        if (a.changes != b.changes) return a.changes > b.changes;
        return name_of(list[a.number]) < name_of(list[b.number]);
      });
  std::vector<std::uint32_t> numbers(all.size());
  std::ranges::transform(all, numbers.begin(), &ranked_number::number);
  return numbers;
}

constexpr summary_column TOTAL_COLUMNS[] = {
    {"changes"},      {"puts"},
    {"updates"},      {"deletes"},
    {"first"},        {"last"},
    {"data_sets"},    {"records"},
    {"users"},        {"programs"},
    {"hosts"},        {"sessions"},
    {"with_changes"}, {"signed_off"},
    {"transactions"}, {"record_bound", summary_column::DATA_ONLY}};

row_counts total_rows(const trail_figures& figures, std::size_t /*limit*/,
                      row_sink& sink) {
  cells row;
  append_counts(row, figures.changes.count);
  append_times(row, figures.changes);
  row.push_back(number_cell(figures.data_sets.size()));
  row.push_back(figures.record_bound == 0 ? number_cell(figures.record_count)
                                          : no_cell());
  for (const auto* names :
       {&figures.users, &figures.programs, &figures.hosts}) {
    row.push_back(
        number_cell(std::ranges::count(*names, true, &name_figures::known)));
  }
  row.insert(row.end(), {number_cell(figures.session_count),
                         number_cell(figures.working_session_count),
                         number_cell(figures.signed_off_count),
                         number_cell(figures.transaction_count),
                         number_cell(figures.record_bound)});
  sink.row(row);
  return {1, 1};
}

constexpr summary_column SET_COLUMNS[] = {
    {"data_set"},
    {"changes"},
    {"puts", 2},
    {"updates", 2},
    {"deletes", 2},
    {"first", 4},
    {"last", 3},
    {"unreadable_changes", 1},
    {"database", summary_column::DATA_ONLY},
    {"name", summary_column::DATA_ONLY}};

row_counts set_rows(const trail_figures& figures, std::size_t limit,
                    row_sink& sink) {
  return give_rows(
      ranked(figures.data_sets, limit,
             [](const set_figures& set) { return set.full_name(); }),
      limit, sink,
      [&figures, name = std::string()](std::uint32_t number) mutable {
        const set_figures& set = figures.data_sets[number];
        name = set.full_name();
        cells row = {text_cell(name)};
        append_counts(row, set.changes.count);
        append_times(row, set.changes);
        row.push_back(number_cell(set.unreadable));
        row.push_back(set.has_database ? text_cell(set.database) : no_cell());
        row.push_back(text_cell(set.name));
        return row;
      });
}

using name_list = std::deque<name_figures>;

template <name_list trail_figures::*LIST>
row_counts name_rows(const trail_figures& figures, std::size_t limit,
                     row_sink& sink) {
  const name_list& names = figures.*LIST;
  const auto name_of = [](const name_figures& name) { return name.name; };
  return give_rows(ranked(names, limit, name_of), limit, sink,
                   [&names](std::uint32_t number) {
                     const name_figures& name = names[number];
                     cells row = {name_cell(name)};
                     append_counts(row, name.changes.count);
                     row.push_back(number_cell(name.sessions));
                     append_times(row, name.changes);
                     return row;
                   });
}

// The columns of users, programs and hosts.
constexpr std::array<summary_column, 8> name_columns(std::string_view name) {
  return {{{name},
           {"changes"},
           {"puts", 2},
           {"updates", 2},
           {"deletes", 2},
           {"sessions", 1},
           {"first", 4},
           {"last", 3}}};
}

constexpr auto USER_COLUMNS = name_columns("user");
constexpr auto PROGRAM_COLUMNS = name_columns("program");
constexpr auto HOST_COLUMNS = name_columns("host");

}  // namespace

const summary_part TOTAL_PART = {.name = "total",
                                 .title = "Changes",
                                 .columns = TOTAL_COLUMNS,
                                 .rows = total_rows,
                                 .has_one_row = true};
const summary_part SETS_PART = {.name = "data_sets",
                                .title = "Data sets",
                                .columns = SET_COLUMNS,
                                .rows = set_rows,
                                .is_ranked = true};
const summary_part USERS_PART = {.name = "users",
                                 .title = "Users",
                                 .columns = USER_COLUMNS,
                                 .rows = name_rows<&trail_figures::users>,
                                 .is_ranked = true};
const summary_part PROGRAMS_PART = {.name = "programs",
                                    .title = "Programs",
                                    .columns = PROGRAM_COLUMNS,
                                    .rows = name_rows<&trail_figures::programs>,
                                    .is_ranked = true};
const summary_part HOSTS_PART = {.name = "hosts",
                                 .title = "Hosts",
                                 .columns = HOST_COLUMNS,
                                 .rows = name_rows<&trail_figures::hosts>,
                                 .is_ranked = true};
