#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_KNOWN_DATA_SETS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_KNOWN_DATA_SETS_H

// Data sets as the tables `data_set` and `item` describe them.

#include <cstdint>
#include <string>
#include <vector>

// The name of a data set, in UTF-8.
struct set_name {
  std::string database;
  bool has_database = false;
  std::string name;

  std::string full() const {
    return has_database ? database + '.' + name : name;
  }
  // Different for all names.
  std::string key() const;
};

// One item as the table `item` has it, but for its columns.
struct item_row {
  std::int64_t position = 0;
  std::string name;
  std::string type;
  std::int64_t elements = 0;
  std::int64_t size = 0;
  std::int64_t format = 0;

  // Items are the same when this is.
  std::string form() const;
};

// Data sets of one name have the same form when this is the same.
std::string form_of_items(std::int64_t record_size,
                          const std::vector<item_row>& rows);

struct known_data_set {
  std::int64_t id = 0;
  set_name name;
  std::string form;
  std::int64_t node = 0;
  std::int64_t version = 0;
  std::string table_name;
};

struct known_data_sets {
  std::vector<known_data_set> data_sets;
  // Names of tables and of all that shares names with them.
  std::vector<std::string> table_names;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_KNOWN_DATA_SETS_H
