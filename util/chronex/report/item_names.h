#ifndef CHRONEX_UTIL_CHRONEX_REPORT_ITEM_NAMES_H
#define CHRONEX_UTIL_CHRONEX_REPORT_ITEM_NAMES_H

// The item names of -I, which narrow the item view of a record.

#include <string_view>

// Adds the names of a list, separated by white space and commas, each cut to
// its first 16 characters. Returns false, with a message on standard error,
// when there is no memory.
bool item_names_add_list(std::string_view list);

// The number of names added; 0 means that no list was given.
extern int has_item_name_list;

// The bucket, 0 to 16, of a name. Upper and lower case give the same bucket.
int item_name_key(std::string_view name);

// -1 when there is no list, 1 when the name is in it (ignoring case), else 0.
int item_name_in_list(std::string_view name);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_ITEM_NAMES_H
