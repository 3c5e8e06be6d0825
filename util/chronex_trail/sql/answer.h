#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_H

// The answer of a database to a query, as text.

#include <string_view>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/sql/database.h"

enum class answer_format {
  // Columns side by side, for people; what would steer a terminal is escaped.
  table,
  // RFC 4180, with a header; NULL is empty, an empty text is "".
  csv,
  // JSON Lines: an object a row. A column whose name an earlier one has becomes
  // the first of NAME_2, NAME_3 ... that no column has.
  json,
};

// Asks one query, which only reads, and writes its answer. BLOBs are lower-case
// hex. Returns 0, or -1 after a failed write. Throws sql_error.
int write_answer(sql_database& database, std::string_view query,
                 answer_format format, byte_sink& sink);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_H
