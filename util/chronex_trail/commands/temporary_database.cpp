#include "util/chronex_trail/commands/temporary_database.h"

std::optional<int> load_temporary(trail_run& run, sql_database& database,
                                  kept_rows kept) {
  sql_output output(run.messages, database, &run.item_names, kept);
  try {
    database.open("");
    output.begin(false, {});
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
