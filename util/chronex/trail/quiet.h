#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_QUIET_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_QUIET_H

// Quiet mode: set while the forward-log reader passes over actions that it has
// already processed. Tables are kept up to date as usual, but sign-ons,
// sign-offs, schemas and operations are neither reported nor written.
extern bool f_skip_action;

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_QUIET_H
