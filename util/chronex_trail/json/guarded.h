#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_GUARDED_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_GUARDED_H

#include <new>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/json/event_line.h"

// Calls what writes an event on the line and returns its result. Without memory
// the event is dropped, and the result is -1 with a message.
template <typename Event>
int guarded(event_line& line, run_messages& messages, const Event& event) {
  try {
    return event();
  } catch (const std::bad_alloc&) {
    line.abandon();
    messages.perror("malloc");
    messages.print("Unable to allocate event\n");
    return -1;
  }
}

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_GUARDED_H
