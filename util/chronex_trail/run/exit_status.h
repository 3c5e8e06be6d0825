#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_EXIT_STATUS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_EXIT_STATUS_H

// The exit statuses of the program, besides 0.

inline constexpr int EXIT_ERROR = 1;
inline constexpr int EXIT_USAGE = 2;
// The run is complete but for what was passed over as damage.
inline constexpr int EXIT_DAMAGED = 3;

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_EXIT_STATUS_H
