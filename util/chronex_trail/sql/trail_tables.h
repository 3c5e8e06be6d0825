#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TRAIL_TABLES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TRAIL_TABLES_H

// The tables that every trail has. doc/sql.md describes them.

#include <string>
#include <vector>

#include "util/chronex_trail/sql/table_form.h"

// Their places among the tables.
enum trail_table : unsigned char {
  INPUT_TABLE,
  SESSION_TABLE,
  DATA_SET_TABLE,
  ITEM_TABLE,
  CHANGE_TABLE,
  MEMO_TABLE,
  NOTICE_TABLE,
  RUN_TABLE,
};

const std::vector<table_form>& trail_tables();
std::vector<std::string> names_of_trail_tables();

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TRAIL_TABLES_H
