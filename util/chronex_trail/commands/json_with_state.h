#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_WITH_STATE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_WITH_STATE_H

#include <string>

#include "util/chronex_trail/run/trail_run.h"

// Writes the trail as JSON Lines behind what the run before wrote, whose state
// is in a file, and leaves its own state there. A run that is not prepared yet
// is prepared. `follows`: the logs are read on as they are written, and the
// state is left from time to time, too. Returns the exit status.
int json_with_state(trail_run& run, const shared_options& options,
                    const std::string& state_name, bool follows);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_WITH_STATE_H
