#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TIME_ZONE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TIME_ZONE_H

#include <string>

// Makes a time zone, such as Europe/Berlin or CET-1CEST, that of the run's
// local times. Returns false when there is none of that name; the C library
// would take it for UTC.
bool set_time_zone(const std::string& zone);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TIME_ZONE_H
