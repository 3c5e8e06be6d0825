#ifndef CHRONEX_TESTS_TRAIL_SCRIPT_READER_H
#define CHRONEX_TESTS_TRAIL_SCRIPT_READER_H

// Reads the scripts of chronex-trail sql --engine as their clients do.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A value as its text; none = NULL.
using script_value = std::optional<std::string>;

struct script_table {
  std::vector<std::string> columns;
  std::vector<std::vector<script_value>> rows;
  // Blocks of rows that there were.
  int blocks = 0;
};

struct script_contents {
  // Under their names.
  std::map<std::string, script_table> tables;
  // Everything but rows, and what is no statement that is known.
  std::vector<std::string> statements;
};

script_contents read_postgresql(std::string_view script);
// Numbers in parentheses, and those that are given as bytes, have their text as
// it stands.
script_contents read_clickhouse(std::string_view script);

#endif  // CHRONEX_TESTS_TRAIL_SCRIPT_READER_H
