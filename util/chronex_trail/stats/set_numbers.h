#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SET_NUMBERS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SET_NUMBERS_H

#include <array>
#include <cstdint>

#include "util/chronex/tables/node.h"
#include "util/chronex_trail/stats/name_tally.h"
#include "util/chronex_trail/values/utf8_text.h"

// The numbers of nodes among the data sets. A node's name is looked up once, as
// long as no node is defined anew and no other wants its place.
class set_numbers {
 public:
  explicit set_numbers(set_tally& sets) : sets_(sets) {}

  // Throws std::bad_alloc.
  std::uint32_t of(const node_entry& node, const event_place& place) {
    known_node& known =
        known_[static_cast<std::uint32_t>(node.node_id) % PLACES];
    if (known.names_version != node.table->names_version() ||
        known.node_id != node.node_id || known.file != place.file) {
      known = {node.table->names_version(), place.file, node.node_id,
               look_up(node, place)};
    }
    return known.number;
  }

 private:
  // Which name a node has depends on the file's kind and character set.
  struct known_node {
    std::uint64_t names_version = 0;
    const input_file* file = nullptr;
    std::int32_t node_id = 0;
    std::uint32_t number = 0;
  };
  static constexpr std::size_t PLACES = 1024;

  std::uint32_t look_up(const node_entry& node, const event_place& place);

  set_tally& sets_;
  std::array<known_node, PLACES> known_{};
  text_scratch database_;
  text_scratch name_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SET_NUMBERS_H
