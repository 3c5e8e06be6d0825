#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_CHECK_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_CHECK_OUTPUT_H

#include <functional>
#include <string>

#include "util/chronex_trail/run/trail_run.h"

// Refuses an output that is a file which the run reads, also while it is being
// written.
// Returns 0, or -1 with a message.
int check_output(trail_run& run, const shared_options& options);

// The same for logs that are found while a run goes on, by their names. Both
// stay the caller's.
std::function<int(const std::string&)> check_of_logs(
    trail_run& run, const shared_options& options);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_CHECK_OUTPUT_H
