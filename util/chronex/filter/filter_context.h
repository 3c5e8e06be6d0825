#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_CONTEXT_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_CONTEXT_H

// The event that a filter expression is evaluated for.

#include <cstdint>

#include "util/chronex/tables/record_image.h"

struct node_entry;
struct session_entry;

// A memo event has the session and the time only; every other field stays as it
// is here. Everything is borrowed.
struct filter_context {
  const session_entry* session = nullptr;  // always set
  const node_entry* node = nullptr;        // the data set
  std::uint32_t layout_id = 0;  // of its schema; 0: to be looked up there
  std::uint32_t timestamp = 0;  // seconds since the epoch
  char operation = '\0';        // '2' a put, '1' an update, '3' a delete
  std::uint32_t record_number = 0;
  record_image before_image{};
  record_image after_image{};
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_CONTEXT_H
