#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_ITEM_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_ITEM_TEXT_H

// Values of items as the page has them: JSON, as in the events, but that a
// value which is not there says why, and long ones are cut:
//
//   {"why":"bad_digits","raw":"1f"}   no value
//   {"cut":"the beginning","size":N}  the first part of N bytes
//   [1,2,{"more":N}]                  the first of some elements, and N more

#include <string>

#include "util/chronex_trail/json/shown_image.h"
#include "util/chronex_trail/values/character_table.h"
#include "util/chronex_trail/values/item_view.h"
#include "util/chronex_trail/values/utf8_text.h"

class item_text {
 public:
  static constexpr std::size_t MAX_BYTES = 400;
  static constexpr std::size_t MAX_ELEMENTS = 64;

  // Appends the value that an item has in an image which is there.
  void append(std::string& out, const item_view& item, const shown_image& image,
              const character_table& characters);

 private:
  void append_element(std::string& out, const item_view& item,
                      std::span<const std::uint8_t> bytes,
                      const character_table& characters);
  void append_value(std::string& out, value_form form,
                    std::span<const std::uint8_t> bytes,
                    const character_table& characters);

  text_scratch scratch_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_ITEM_TEXT_H
