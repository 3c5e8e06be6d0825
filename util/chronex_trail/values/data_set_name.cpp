#include "util/chronex_trail/values/data_set_name.h"

#include <cstddef>

#include "util/chronex/tables/node.h"

data_set_name data_set_name_of(const node_entry& node, bool from_audit_file) {
  const std::string_view name = node.name;
  if (from_audit_file) {
    const std::size_t dot = name.rfind('.');
    if (dot == name.npos) return {.data_set = name};
    return {name.substr(0, dot), node.charset, name.substr(dot + 1)};
  }
  const node_entry* const database =
      node.db_node_id == 0 ? nullptr
                           : node.table->node_get_entry(node.db_node_id);
  if (database == nullptr) return {.data_set = name};
  return {node_name2(*database, false), database->charset, name};
}
