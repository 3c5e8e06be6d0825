#ifndef CHRONEX_UTIL_CHRONEX_TABLES_EVENT_PLACE_H
#define CHRONEX_UTIL_CHRONEX_TABLES_EVENT_PLACE_H

#include <cstdint>

struct input_file;

// Where in the inputs something stands.
struct event_place {
  // Null: no input is being processed.
  const input_file* file = nullptr;
  // Of a forward log the number of the action, of an audit file the number of
  // the record, from 1; 0 = none yet.
  std::uint32_t number = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_EVENT_PLACE_H
