#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SET_PIECE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SET_PIECE_H

// What the events of a data set have in common.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/tables/event_place.h"
#include "util/chronex/tables/node.h"
#include "util/chronex_trail/json/piece_cache.h"
#include "util/chronex_trail/json/value_text.h"
#include "util/chronex_trail/values/item_view.h"

// Keys are copied so many bytes at a time, whatever their length: behind the
// last one there are as many more.
inline constexpr std::size_t KEY_STEP = 32;

// A chosen item, and its name as an object's key.
struct keyed_item {
  item_view item;
  // Writes its values.
  values_writer put_values = nullptr;
  // Place of `,"NAME":` in set_piece::keys; the first one opens the object,
  // `{"NAME":`.
  std::uint32_t key_begin = 0;
  std::uint32_t key_length = 0;
  // The room that the key, copied in steps, and the value need at most.
  std::size_t room = 0;
};

struct set_piece {
  // The schema that it was made of.
  std::uint64_t schema_id = 0;
  // The character sets of values, and of the names of items.
  int charset = 0;
  int names_charset = 0;

  // The node's name as it was at this node_table::names_version(), in one file.
  std::uint64_t names_version = 0;
  bool from_audit_file = false;
  // `,"database":"SHOP","dataset":"CUSTOMER","node":2`, and what could not be
  // decoded in it; each note begins with a comma.
  std::string head;
  std::string notes;
  // `dataset=SHOP.CUSTOMER`, part of the path of what is split by data sets.
  std::string path_part;

  std::vector<keyed_item> items;
  std::string keys;
  // The room that the text of an image needs at most.
  std::size_t image_room = 0;

  // `,"NAME":`, or `{"NAME":`
  std::string_view key(const keyed_item& item) const {
    return {keys.data() + item.key_begin, item.key_length};
  }
  // `"NAME"`
  std::string_view quoted_name(const keyed_item& item) const {
    return {keys.data() + item.key_begin + 1, item.key_length - 2};
  }

  std::size_t footprint() const;
};

class set_pieces {
 public:
  // The list is the caller's; null: all items are chosen.
  explicit set_pieces(const item_name_list* listed) : listed_(listed) {}

  // The piece of a data set, whose schema is there, in an event at that place
  // with values in that character set; valid until the next call.
  const set_piece& of(const node_entry& node, int charset,
                      const event_place& place);

 private:
  static constexpr std::size_t KEPT_BYTES = std::size_t{8} << 20;

  set_piece& items_of_schema(const node_entry& node, int charset);

  const item_name_list* listed_;
  piece_cache<set_piece> kept_{KEPT_BYTES};
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SET_PIECE_H
