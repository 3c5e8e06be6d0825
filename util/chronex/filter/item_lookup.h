#ifndef CHRONEX_UTIL_CHRONEX_FILTER_ITEM_LOOKUP_H
#define CHRONEX_UTIL_CHRONEX_FILTER_ITEM_LOOKUP_H

// The item names of filter expressions.
//
//   QTY      an item with one element
//   QTY[2]   the second element of an item with several
//   -QTY     either of them, in the before-image
//   +QTY     either of them, in the after-image
//
// Names ignore case; a subscript is a plain decimal number from 1 on.

#include <cstddef>
#include <string_view>

struct item_descriptor;
struct set_context;

// The name without the sign that it may begin with.
std::string_view without_image_sign(std::string_view name);

// One element of an item of a schema.
struct item_element {
  const item_descriptor* item = nullptr;  // the schema's; null: not found
  std::size_t element = 0;                // from 0
};

// Finds what `name`, without sign, stands for: the first item in schema order.
item_element find_item(const set_context& set, std::string_view name);

// The same for a name that asks for an item with several elements without a
// subscript, or with one that is none of its elements: the item; null: not
// found.
const item_descriptor* find_item_with_elements(const set_context& set,
                                               std::string_view name);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_ITEM_LOOKUP_H
