#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_CELL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_CELL_H

// The values of an answer, as texts of several kinds. Columns are counted from
// 0.

#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/sql/database.h"

std::vector<std::string> column_names(const sql_statement& rows);

// Gives names that an earlier one has a number behind them.
void make_distinct(std::vector<std::string>& names);

// The value as well-formed UTF-8; NULL is empty.
std::string cell_text(const sql_statement& rows, int column);
// Whether it is a number, which columns show at their right edge.
bool is_number(const sql_statement& rows, int column);

// Appends the value to a line of CSV.
void append_csv_cell(std::string& line, const sql_statement& rows, int column);

// Appends `"NAME":VALUE`.
void append_json_cell(std::string& line, std::string_view name,
                      const sql_statement& rows, int column);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_ANSWER_CELL_H
