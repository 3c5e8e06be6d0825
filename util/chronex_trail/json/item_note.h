#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_ITEM_NOTE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_ITEM_NOTE_H

// Notes about values of items: `,{"image":"after","item":"RATE","why":"nan",
// "raw":"0000c07f"}`. Each begins with a comma.

#include <cstddef>
#include <string>
#include <string_view>

#include "util/chronex/tables/record_image.h"
#include "util/chronex_trail/values/item_view.h"

// What a note is about.
struct item_note {
  // "before" or "after".
  std::string_view image;
  // The item's name as a JSON string, quotes included.
  std::string_view quoted_name;
};

// Appends a note about an item as a whole.
void append_item_note(std::string& notes, const item_note& about,
                      std::string_view why);

// Appends a note about element k (from 0) of an item, with its bytes.
void append_element_note(std::string& notes, const item_note& about,
                         const item_view& item, std::size_t k,
                         record_image record, value_problem problem);

// Appends a note about an image that is not there: `no_before_image`.
void append_missing_note(std::string& notes, std::string_view image);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_ITEM_NOTE_H
