#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COLUMNS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COLUMNS_H

// Which columns a data set's table has.

#include <cstddef>
#include <string>
#include <vector>

#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/sql/engine.h"
#include "util/chronex_trail/sql/table_form.h"

// An element of an item, after and before an operation.
struct column_pair {
  // Place of the item in set_piece::items.
  std::size_t item = 0;
  // From 0; whole items are 0, too.
  std::size_t element = 0;
  // json: the whole of an array.
  column_kind kind = column_kind::text;
  // See table_column.
  std::size_t size = 0;
  // Name of the column of after-images, and of before-images.
  std::string name;
  std::string before_name;
};

struct column_plan {
  std::vector<column_pair> pairs;
  // The items from this one on have no columns of their own, but a member each
  // of one JSON object.
  std::size_t first_more = 0;
  bool has_more = false;
};

// The column of an item's values after an operation, or before it.
table_column column_of(const column_pair& pair, bool before);

// The pair of columns that ends a table whose items are too many.
const column_pair& more_columns();

column_plan plan_columns(const set_piece& set, const sql_engine& engine);

// The table of a data set, which has that name.
table_form form_of_table(const std::string& name, const column_plan& plan);

// Items have their columns behind so many others.
inline constexpr std::size_t FIXED_COLUMNS = 5;

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COLUMNS_H
