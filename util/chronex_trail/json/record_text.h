#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_RECORD_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_RECORD_TEXT_H

// The images of an operation as JSON objects.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "util/chronex_trail/json/line_writer.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/values/item_value.h"

// One image of an operation.
struct record_image {
  // "before" or "after".
  std::string_view name;
  // As long as the record; without data = there is none.
  std::span<const std::uint8_t> bytes{};
  // The encrypted items have fill values, for want of a key.
  bool sealed = false;
  // Whether they have is not known.
  bool may_be_sealed = false;

  bool exists() const { return bytes.data() != nullptr; }
};

class record_text {
 public:
  // `notes` takes what has to be told about values, each note behind a comma.
  // All stay the caller's.
  record_text(line_writer& out, std::string& notes)
      : out_(out), notes_(notes) {}

  // Writes the image as an object; null when there is none.
  void put(const set_piece& set, const record_image& image);
  // Writes the names of the items that differ as an array.
  void put_changed(const set_piece& set, const record_image& before,
                   const record_image& after);

 private:
  // An item of an image that is being written.
  struct item_place {
    const set_piece& set;
    const record_image& image;
    const keyed_item& keyed;
    const character_table& characters;
  };

  void put_item(const item_place& place);
  void put_elements(const item_place& place);
  void put_element(const item_place& place, std::size_t k);
  void put_value(const item_view& item, const item_value& value);
  void note(const item_place& place, std::string_view why);
  void note_element(const item_place& place, std::size_t k,
                    value_problem problem);
  void begin_note(const item_place& place);

  line_writer& out_;
  std::string& notes_;
  text_scratch scratch_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_RECORD_TEXT_H
