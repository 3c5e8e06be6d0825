#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_DATA_SET_NAME_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_DATA_SET_NAME_H

#include <optional>
#include <string_view>

struct node_entry;

// The name of a data set in two parts, in the character sets of the inputs that
// they were read from: that of the data set is node_entry::charset.
struct data_set_name {
  // None: it is not known.
  std::optional<std::string_view> database;
  int database_charset = -1;
  std::string_view data_set;
};

// The name of a node. Audit files have both parts in one text, which is then
// taken apart at its last dot. The texts are the node table's and valid until a
// node is registered or redefined.
data_set_name data_set_name_of(const node_entry& node, bool from_audit_file);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_DATA_SET_NAME_H
