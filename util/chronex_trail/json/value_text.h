#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H

#include <cstddef>
#include <cstdint>

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

// Elements of one item that stand side by side in a record.
struct element_run {
  const std::uint8_t* bytes;
  // Bytes of an element, and their number.
  std::uint32_t size;
  std::uint32_t count;
};

// What was written of elements: the end of their text, and whether any of them
// has a value_problem, which read_value tells.
struct values_text {
  char* end;
  bool any_problem;
};

// What texts need beside their bytes. All stay the caller's.
struct text_tools {
  const character_table& characters;
  text_scratch& scratch;
};

// Writes the values of elements as JSON, with commas between them. `out` has
// value_text_room and one more for each.
using values_writer = values_text (*)(element_run elements,
                                      const text_tools& tools, char* out);

// The writer for elements of a form and a size.
values_writer values_writer_of(value_form form, std::size_t size);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_VALUE_TEXT_H
