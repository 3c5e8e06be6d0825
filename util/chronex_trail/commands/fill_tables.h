#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_FILL_TABLES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_FILL_TABLES_H

#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/sql/sql_output.h"

// Sends the trail of a prepared run to tables. `earlier` is what is in front of
// a piece of the trail; null: it is no piece. Returns the exit status. Throws
// what the tables' engine throws.
int fill_tables(trail_run& run, sql_output& output, const run_facts& facts,
                const earlier_rows* earlier);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_FILL_TABLES_H
