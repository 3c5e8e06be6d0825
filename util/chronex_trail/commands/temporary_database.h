#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_TEMPORARY_DATABASE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_TEMPORARY_DATABASE_H

#include <optional>

#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/sql_output.h"

// Processes all inputs of a run into a new database, which goes away with its
// connection. Without the rows of data sets, it has also those data sets that
// no operation is about. Returns the exit status of the run, or nothing when
// the database could not be filled; messages have been printed.
std::optional<int> load_temporary(trail_run& run, sql_database& database,
                                  kept_rows kept);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_TEMPORARY_DATABASE_H
