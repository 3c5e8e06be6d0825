#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_CONTEXT_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_CONTEXT_H

// The event that a filter expression is evaluated for.

#include <cstdint>
#include <span>

struct node_entry;
struct session_entry;

// A memo event has the session and the time only; every other field stays as it
// is here. Everything is borrowed.
struct filter_context {
  const session_entry* session = nullptr;  // always set
  const node_entry* node = nullptr;        // the data set
  std::uint32_t timestamp = 0;             // seconds since the epoch
  char operation = '\0';  // '2' a put, '1' an update, '3' a delete
  std::uint32_t record_number = 0;
  // The record's contents in clear text; a span without data stands for none,
  // as the first does for a put and the second for a delete.
  std::span<const std::uint8_t> before_image{};
  std::span<const std::uint8_t> after_image{};
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_CONTEXT_H
