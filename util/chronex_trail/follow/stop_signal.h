#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_STOP_SIGNAL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_STOP_SIGNAL_H

// The request to end a run, by SIGTERM or SIGINT. The first one is taken as a
// request, a second one ends the process.

// Begins to take requests. Returns a descriptor that can be read once there is
// one; -1 with errno on failure.
int catch_stop_signals();

bool stop_was_requested();

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_STOP_SIGNAL_H
