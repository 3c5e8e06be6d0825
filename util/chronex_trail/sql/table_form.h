#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TABLE_FORM_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TABLE_FORM_H

// What tables are, whatever engine has them.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What a column keeps.
enum class column_kind : std::uint8_t {
  // 64 bits, with a sign and without.
  integer,
  natural,
  // A whole number of any size.
  decimal,
  real,
  bytes,
  text,
  // A JSON text.
  json,
  // UTC, to the second.
  time,
};

struct table_column {
  std::string name;
  column_kind kind = column_kind::text;
  // The most that a value has: digits of decimals, bytes of texts and bytes; 0
  // is not known.
  std::size_t size = 0;
  // No row is without it.
  bool is_required = false;
};

struct table_form {
  std::string name;
  std::vector<table_column> columns;
  // The first column is a number that no two rows share.
  bool has_key = true;
  // The column, from 1, with the record that a row is about; 0 = none.
  std::size_t record = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TABLE_FORM_H
