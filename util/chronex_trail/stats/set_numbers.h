#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SET_NUMBERS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SET_NUMBERS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/chronex/tables/node.h"
#include "util/chronex_trail/stats/name_tally.h"
#include "util/chronex_trail/values/utf8_text.h"

// The numbers of nodes among the data sets. A node's name is looked up once, as
// long as no node is defined anew and no other wants its place; the more nodes
// want the same places, the more places there are, up to a limit.
class set_numbers {
 public:
  explicit set_numbers(set_tally& sets) : sets_(sets) {}

  // Throws std::bad_alloc.
  std::uint32_t of(const node_entry& node, const event_place& place) {
    const known_node& known = place_of(node);
    if (known.names_version != node.table->names_version() ||
        known.node_id != node.node_id || known.file != place.file) {
      return learn(node, place);
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
  static constexpr std::size_t FIRST_PLACES = 1024;
  static constexpr std::size_t MAX_PLACES = std::size_t{128} * 1024;

  // The number of places is a power of two.
  known_node& place_of(const node_entry& node) {
    return known_[static_cast<std::uint32_t>(node.node_id) &
                  (known_.size() - 1)];
  }
  std::uint32_t learn(const node_entry& node, const event_place& place);
  std::uint32_t look_up(const node_entry& node, const event_place& place);

  set_tally& sets_;
  std::vector<known_node> known_{FIRST_PLACES};
  text_scratch database_;
  text_scratch name_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SET_NUMBERS_H
