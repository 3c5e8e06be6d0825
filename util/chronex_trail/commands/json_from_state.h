#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_FROM_STATE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_FROM_STATE_H

#include <string>

#include "util/chronex_trail/run/trail_run.h"

// Writes the piece of a trail that begins with a state of `states` as JSON
// Lines. A run that is not prepared yet is prepared. Returns the exit status.
int json_from_state(trail_run& run, const shared_options& options,
                    const std::string& state_name);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_JSON_FROM_STATE_H
