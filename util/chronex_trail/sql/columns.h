#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COLUMNS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COLUMNS_H

// Which columns a data set's table has.

#include <cstddef>
#include <string>
#include <vector>

#include "util/chronex_trail/json/set_piece.h"

// What a column keeps of an item.
enum class column_kind : std::uint8_t { integer, real, bytes, text, array };

// The type by which the engine declares it.
const char* column_type_name(column_kind kind);

// An element of an item, after and before an operation.
struct column_pair {
  // Place of the item in set_piece::items.
  std::size_t item = 0;
  // From 0; whole items are 0, too.
  std::size_t element = 0;
  column_kind kind = column_kind::text;
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

// What all tables of data sets begin with, and what they end with if items are
// too many.
inline constexpr const char* FIXED_COLUMNS[] = {"_n", "_ts", "_op", "_recno",
                                                "_session"};
inline constexpr const char* MORE_COLUMN = "_more";
inline constexpr const char* MORE_BEFORE_COLUMN = "_more_before";

// Items have their columns among this number of first ones.
inline constexpr std::size_t MAX_ITEM_COLUMNS = 1900;

column_plan plan_columns(const set_piece& set);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COLUMNS_H
