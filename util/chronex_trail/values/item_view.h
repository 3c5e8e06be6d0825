#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_ITEM_VIEW_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_ITEM_VIEW_H

// The items of a data set as data: with names that are UTF-8 and different from
// each other, and with the form of their values.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "util/chronex/filter/item_names.h"
#include "util/chronex/tables/set_context.h"
#include "util/chronex_trail/values/character_table.h"
#include "util/chronex_trail/values/item_value.h"

struct item_view {
  // A name that an earlier item has becomes the first of NAME_2, NAME_3 ...
  // that no item of the data set has.
  std::string name;
  // The name has U+FFFD for bytes that are no characters.
  bool name_undecodable = false;
  value_form form = value_form::hex_bytes;
  bool encrypted = false;
  // It belongs to what is shown of a record.
  bool chosen = true;
  char type = 0;
  // Number of elements, and bytes of each.
  std::uint16_t count = 0;
  std::uint16_t size = 0;
  // Where the first element starts in the record.
  std::uint16_t offset = 0;

  // The item's bytes, and those of element k (from 0), of a record.
  std::span<const std::uint8_t> of(std::span<const std::uint8_t> record) const {
    return record.subspan(offset, std::size_t{count} * size);
  }
  std::span<const std::uint8_t> element(std::span<const std::uint8_t> record,
                                        std::size_t k) const {
    return record.subspan(offset + k * size, size);
  }
};

// The items of a schema in its order. Those are chosen that `listed` names, or
// an element of which it names; all, when it is null or empty.
std::vector<item_view> items_of(const set_context& set,
                                const character_table& characters,
                                const item_name_list* listed);

// Whether all bytes of an item, which is marked as encrypted, are what stands
// for values that could not be deciphered.
bool has_fill_values(const item_view& item,
                     std::span<const std::uint8_t> record);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_ITEM_VIEW_H
