#ifndef CHRONEX_UTIL_CHRONEX_FILTER_SELECTION_H
#define CHRONEX_UTIL_CHRONEX_FILTER_SELECTION_H

#include "util/chronex/filter/filter_context.h"

// Results of select_event.
inline constexpr int EVENT_SELECTED = 1;
inline constexpr int EVENT_REJECTED = 0;

// Applies the run's filter to an event: EVENT_SELECTED (also when there is no
// filter), EVENT_REJECTED, or -1 when it could not be evaluated; the message
// has been printed.
int select_event(const filter_context& context);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_SELECTION_H
