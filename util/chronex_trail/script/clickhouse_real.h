#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_CLICKHOUSE_REAL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_CLICKHOUSE_REAL_H

#include <string>

// Appends a finite number so that ClickHouse has exactly this one.
//
// The fast reader of its VALUES puts a number together from the parts before
// and behind the point, and is off by the last bit now and then. A value in
// parentheses goes to its exact but slow reader of expressions, which does not
// take numbers that are too small to be normal: those are given as bytes.
void append_clickhouse_real(std::string& out, double number);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_CLICKHOUSE_REAL_H
