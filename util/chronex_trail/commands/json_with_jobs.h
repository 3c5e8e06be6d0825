#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_WITH_JOBS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_WITH_JOBS_H

#include "util/chronex_trail/run/trail_run.h"

// Whether the inputs of a prepared run can be read by several processes.
bool can_have_jobs(const trail_run& run);

// Writes the trail of a prepared run as JSON Lines, several pieces of it at a
// time in processes of their own. Returns the exit status.
int json_with_jobs(trail_run& run, const shared_options& options);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_WITH_JOBS_H
