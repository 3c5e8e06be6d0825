#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H

#include <cstddef>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/item_value.h"

// The room that put_value needs for an element of `size` bytes. Of all
// values those of character items grow most, by escapes; every other byte
// becomes at most three characters.
constexpr std::size_t value_text_room(std::size_t size) {
  return size * LONGEST_ESCAPE + 48;
}

// What was written of a value.
struct value_text {
  char* end;
  value_problem problem;
};

// Writes the value of an element as JSON. `out` has room for it
// (value_text_room).
value_text put_value(value_form form, std::span<const std::uint8_t> bytes,
                     const character_table& characters, text_scratch& scratch,
                     char* out);

// The same for a value of `size` bytes that was read before; returns the end.
char* put_value_text(value_form form, std::size_t size, const item_value& value,
                     char* out);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H
