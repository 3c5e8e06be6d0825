// The records changed most, the largest transactions, and the busiest sessions.

#include <array>
#include <string>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/summary/part_rows.h"

namespace {

constexpr summary_column RECORD_COLUMNS[] = {
    {"data_set"}, {"recno"}, {"changes_at_least"}, {"changes_at_most"}};

row_counts record_rows(const trail_figures& figures, std::size_t limit,
                       row_sink& sink) {
  return give_rows(
      figures.records, limit, sink,
      [&figures, name = std::string()](const record_figures& record) mutable {
        name = figures.data_sets[record.data_set].full_name();
        return std::array{text_cell(name), number_cell(record.recno),
                          number_cell(record.at_least),
                          number_cell(record.at_most)};
      });
}

std::string record_note(const trail_figures& figures) {
  if (figures.record_bound == 0) return "These counts are exact.\n";
  return format_text(
      "%llu changes or fewer may be missing from a count, and be those of a "
      "record that is not listed.\n",
      static_cast<unsigned long long>(figures.record_bound));
}

void append_worker(cells& row, const trail_figures& figures,
                   const worker_numbers& worker) {
  row.insert(row.end(), {name_cell(figures.users[worker.user]),
                         name_cell(figures.programs[worker.program]),
                         name_cell(figures.hosts[worker.host])});
}

constexpr summary_column TRANSACTION_COLUMNS[] = {
    {"user"},
    {"program", 3},
    {"host", 6},
    {"session", 5},
    {"begun"},
    {"text"},
    {"changes"},
    {"puts", 4},
    {"updates", 4},
    {"deletes", 4},
    {"first", summary_column::DATA_ONLY},
    {"last", 7},
    {"input", summary_column::DATA_ONLY},
    {"action", summary_column::DATA_ONLY},
    {"text_cut", summary_column::DATA_ONLY}};

row_counts transaction_rows(const trail_figures& figures, std::size_t limit,
                            row_sink& sink) {
  return give_rows(
      figures.transactions, limit, sink,
      [&figures](const transaction_figures& each) {
        cells row;
        append_worker(row, figures, each.worker);
        row.insert(row.end(), {number_cell(each.session_id),
                               time_cell(each.begun), text_cell(each.text)});
        append_counts(row, each.changes.count);
        append_times(row, each.changes);
        row.push_back(
            each.input == NO_INPUT
                ? no_cell()
                : text_cell(figures.completeness.inputs[each.input].name));
        row.push_back(number_cell(each.number));
        row.push_back(flag_cell(each.text_cut));
        return row;
      });
}

constexpr summary_column SESSION_COLUMNS[] = {
    {"user"},         {"program"},  {"host", 5}, {"session"},
    {"connected", 4}, {"changes"},  {"puts", 3}, {"updates", 3},
    {"deletes", 3},   {"first", 6}, {"last", 2}, {"signed_off", 7}};

row_counts session_rows(const trail_figures& figures, std::size_t limit,
                        row_sink& sink) {
  return give_rows(
      figures.sessions, limit, sink, [&figures](const session_figures& each) {
        cells row;
        append_worker(row, figures, each.worker);
        row.push_back(number_cell(each.session_id));
        row.push_back(each.connected == 0 ? no_cell()
                                          : time_cell(each.connected));
        append_counts(row, each.changes.count);
        append_times(row, each.changes);
        row.push_back(flag_cell(each.signed_off));
        return row;
      });
}

}  // namespace

const summary_part RECORDS_PART = {.name = "records",
                                   .title = "Records changed most",
                                   .columns = RECORD_COLUMNS,
                                   .rows = record_rows,
                                   .note = record_note};
const summary_part TRANSACTIONS_PART = {.name = "transactions",
                                        .title = "Largest transactions",
                                        .columns = TRANSACTION_COLUMNS,
                                        .rows = transaction_rows};
const summary_part SESSIONS_PART = {.name = "sessions",
                                    .title = "Busiest sessions",
                                    .columns = SESSION_COLUMNS,
                                    .rows = session_rows};
