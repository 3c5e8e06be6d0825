#include "util/chronex_trail/commands/temporary_database.h"

#include "util/chronex_trail/sql/sqlite_engine.h"

std::optional<int> load_temporary(trail_run& run, sql_database& database,
                                  kept_rows kept) {
  try {
    database.open("");
    sqlite_engine engine(database, false);
    sql_output output(run.messages, engine, &run.item_names, kept);
    output.begin({});
    run.events.add_output(output);
    const int status = process_inputs(run);
    if (!output.failure().empty()) return std::nullopt;
    output.end(status);
    return status;
  } catch (const sql_error& error) {
    run.messages.print("The temporary database could not be filled: %s\n",
                       error.what());
    return std::nullopt;
  }
}
