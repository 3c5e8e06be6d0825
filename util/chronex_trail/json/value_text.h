#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H

#include <cstddef>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/item_value.h"

// The room that put_value_text needs for an element of `size` bytes. Of all
// values those of character items grow most, by escapes; every other byte
// becomes at most three characters.
constexpr std::size_t value_text_room(std::size_t size) {
  return size * LONGEST_ESCAPE + 48;
}

// Writes the value of an element of `size` bytes as JSON; returns the end.
char* put_value_text(value_form form, std::size_t size, const item_value& value,
                     char* out);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H
