#include "util/chronex_trail/commands/temporary_database.h"

#include "util/chronex_trail/sql/sqlite_engine.h"

namespace {

// Tells of the data sets without an operation. Which would have had one that
// passes a filter is not known.
void add_idle_sets(trail_run& run, sql_output& output) {
  if (run.filter.has_filter_expr()) return;
  const event_place place{run.inputs.files().back().get(), 0};
  run.events.nodes.for_each([&](const node_entry& node) {
    if (node.set && node.context_pending) output.schema(node, place);
  });
}

}  // namespace

std::optional<int> load_temporary(trail_run& run, sql_database& database,
                                  kept_rows kept) {
  try {
    database.open("");
    sqlite_engine engine(database, false);
    sql_output output(run.messages, engine, &run.item_names, kept);
    output.begin({});
    run.events.add_output(output);
    const int status = process_inputs(run);
    if (kept == kept_rows::no_images) add_idle_sets(run, output);
    if (!output.failure().empty()) return std::nullopt;
    output.end(status);
    return status;
  } catch (const sql_error& error) {
    run.messages.print("The temporary database could not be filled: %s\n",
                       error.what());
    return std::nullopt;
  }
}
