#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_RECORD_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_RECORD_TEXT_H

// The images of an operation as JSON objects.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/tables/record_image.h"
#include "util/chronex_trail/json/line_writer.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/json/shown_image.h"
#include "util/chronex_trail/values/item_value.h"

class record_text {
 public:
  // `notes` takes what has to be told about values, each note behind a comma.
  // All stay the caller's.
  record_text(line_writer& out, std::string& notes)
      : out_(out), notes_(notes) {}

  // Writes the members `,"before":...,"after":...`: objects, or null for an
  // image that is not there.
  void put(const set_piece& set, const shown_image& before,
           const shown_image& after);
  // Writes the names of the items that differ as an array, for images that were
  // just written and are both there.
  void put_changed(const set_piece& set, const shown_image& before,
                   const shown_image& after);

 private:
  // An item of an image that is being written.
  struct item_place {
    const set_piece& set;
    const shown_image& image;
    const keyed_item& keyed;
    const character_table& characters;
  };
  // What was written of an item, in the buffer of `out_`.
  struct item_text {
    const char* begin = nullptr;
    const char* end = nullptr;
    bool noted = false;
  };

  void compare(const set_piece& set, const shown_image& before,
               const shown_image& after);
  void put_image(const set_piece& set, const shown_image& image);
  void put_items(const set_piece& set, const shown_image& image);
  void put_long_items(const set_piece& set, const shown_image& image);
  void put_differing(const set_piece& set, const shown_image& image);
  void put_long_item(const item_place& place);
  char* put_run(const set_piece& set, const shown_image& image,
                std::size_t first, std::size_t last, char* out);
  char* put_encrypted(const item_place& place, char* out);
  char* put_values_of(const item_place& place, char* out);
  char* put_elements(const item_place& place, std::size_t begin,
                     std::size_t end, char* out);
  void note_fill(const item_place& place);
  void note(const item_place& place, std::string_view why);
  void note_elements(const item_place& place, std::size_t begin,
                     std::size_t end);

  line_writer& out_;
  std::string& notes_;
  text_scratch scratch_;
  // Of each item of an operation with both images: whether they differ.
  std::vector<char> differs_;
  // Of each item that was written last.
  std::vector<item_text> written_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_RECORD_TEXT_H
