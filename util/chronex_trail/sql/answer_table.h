#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_TABLE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_TABLE_H

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/sql/database.h"

// Writes an answer as columns side by side. Their widths come from the first
// rows; longer values that follow push the line out. Returns 0, or -1 after a
// failed write.
int write_answer_table(sql_statement& rows, byte_sink& sink);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_TABLE_H
