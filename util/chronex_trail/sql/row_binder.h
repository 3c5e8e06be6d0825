#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BINDER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BINDER_H

// The images of an operation as columns of its data set's table.

#include <cstddef>
#include <string>
#include <vector>

#include "util/chronex_trail/json/record_text.h"
#include "util/chronex_trail/sql/set_tables.h"

class row_binder {
 public:
  // `notes` takes what has to be told about values, as in record_text; it stays
  // the caller's.
  explicit row_binder(std::string& notes) : notes_(notes) {}

  // Binds the values of an image; those of one that is not there stay as they
  // are.
  void bind_before(set_table& table, const set_piece& set,
                   const shown_image& image);
  void bind_after(set_table& table, const set_piece& set,
                  const shown_image& image);

  // The names of the items that differ, as a JSON array; valid until the next
  // call.
  const std::string& changed(const set_piece& set, const shown_image& before,
                             const shown_image& after);

 private:
  // An item of an image.
  struct item_place {
    const set_piece& set;
    const shown_image& image;
    const keyed_item& keyed;
    const character_table& characters;
  };

  void bind_image(set_table& table, const set_piece& set,
                  const shown_image& image, int first);
  void bind_pair(row_writer& row, int at, const column_pair& pair,
                 const item_place& place);
  void bind_encrypted(row_writer& row, int at, const column_pair& pair,
                      const item_place& place);
  void bind_element(row_writer& row, int at, const column_pair& pair,
                    const item_place& place);
  void bind_more(set_table& table, const set_piece& set,
                 const shown_image& image, int at);
  bool put_sealed(const item_place& place);
  void note_fill(const item_place& place);
  void note_problem(const item_place& place, std::size_t k,
                    value_problem problem);
  void bind_any(row_writer& row, int at, const column_pair& pair,
                const item_place& place);
  void append_item(const item_place& place);
  void append_element(const item_place& place, std::size_t k);

  std::string& notes_;
  text_scratch scratch_;
  // An array or object that is being put together.
  std::string json_;
  std::string changed_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ROW_BINDER_H
