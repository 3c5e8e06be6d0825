#include "util/chronex_trail/stats/set_numbers.h"

#include <optional>
#include <string_view>

#include "util/chronex_trail/values/data_set_name.h"
#include "util/chronex_trail/values/text_origin.h"

std::uint32_t set_numbers::look_up(const node_entry& node,
                                   const event_place& place) {
  const data_set_name name = data_set_name_of(node, is_in_audit_file(place));
  std::optional<std::string_view> database;
  if (name.database) {
    database = decode_text(*name.database,
                           character_table_of(name.database_charset), database_)
                   .utf8;
  }
  return sets_.number_of(
      database,
      decode_text(name.data_set, character_table_of(node.charset), name_).utf8);
}

std::uint32_t set_numbers::learn(const node_entry& node,
                                 const event_place& place) {
  const known_node& present = place_of(node);
  const bool is_wanted_by_two =
      present.names_version == node.table->names_version() &&
      present.file == place.file;
  if (is_wanted_by_two && known_.size() < MAX_PLACES) {
    known_.assign(known_.size() * 2, {});
  }
  known_node& mine = place_of(node);
  mine = {node.table->names_version(), place.file, node.node_id,
          look_up(node, place)};
  return mine.number;
}
