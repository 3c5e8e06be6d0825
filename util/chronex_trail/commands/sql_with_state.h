#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_SQL_WITH_STATE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_SQL_WITH_STATE_H

#include <string>

#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/sql/sql_output.h"

// Adds the trail to a database in place, behind what the run before added,
// whose state is in a file, and leaves its own state there. A run that is not
// prepared yet is prepared. `follows`: the logs are read on as they are
// written, and rows and state become valid a part at a time. Returns the exit
// status.
int sql_with_state(trail_run& run, const shared_options& options,
                   const std::string& state_name, const run_facts& facts,
                   bool follows);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_SQL_WITH_STATE_H
