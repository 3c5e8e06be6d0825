#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_PIECE_START_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_PIECE_START_H

#include <string>

#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/run/trail_state.h"

// Prepares a run that makes the piece of a trail which begins with a state of
// `states`; all inputs that are named are part of the piece. The state must not
// have been read. Returns 0, or -1 with a message.
int start_piece(trail_run& run, const shared_options& options,
                const std::string& state_name, trail_state& state);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_PIECE_START_H
