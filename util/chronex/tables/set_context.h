#ifndef CHRONEX_UTIL_CHRONEX_TABLES_SET_CONTEXT_H
#define CHRONEX_UTIL_CHRONEX_TABLES_SET_CONTEXT_H

// Schemas of data sets.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/owned_bytes.h"
#include "util/chronex/messages/messages.h"

// Bit of item_descriptor::fmt: the item is stored encrypted.
inline constexpr std::uint32_t ITEM_FMT_ENCRYPTED = 0x100000;

// One item of a data set.
struct item_descriptor {
  // Place of the name in set_context::names().
  std::uint32_t name_off = 0;
  std::uint8_t name_len = 0;
  // Item type letter.
  std::uint8_t type = 0;
  // Number of elements (at least 1) and bytes per element (at least 1).
  std::uint16_t count = 0;
  std::uint16_t size = 0;
  std::uint32_t fmt = 0;
  // Where the item's first element starts in the record.
  std::uint16_t offset = 0;

  bool operator==(const item_descriptor&) const = default;
};

// The items of a schema; data sets may have it in common.
struct item_layout {
  std::unique_ptr<item_descriptor[]> items;
  std::size_t item_count = 0;
  owned_bytes names;
  // Of the item list that it was made of.
  std::size_t hash = 0;
  // See set_context::layout_id.
  std::uint64_t id = 0;

  std::span<const item_descriptor> item_list() const {
    return {items.get(), item_count};
  }
  bool operator==(const item_layout& other) const;
};

// A data set's schema. Its items lie in the record one after another, each
// count * size bytes.
struct set_context {
  // Different for every data set and schema that a run registers, and never 0:
  // what is derived from both can be kept under it.
  std::uint64_t schema_id = 0;
  // The same for data sets that were found to have equal items, and never 0:
  // what is derived from the items alone can be kept under it.
  std::uint64_t layout_id = 0;
  std::int16_t item_cnt = 0;
  // Record size in bytes: the sum of count * size over the items.
  std::int16_t rec_sz = 0;
  // Size of the record as the server stores it.
  std::int32_t media_sz = 0;
  // Offset of the encrypted part in the stored record; -1: nothing encrypted.
  std::int32_t enc_offs = -1;
  std::shared_ptr<item_layout> layout;

  std::span<const item_descriptor> item_list() const {
    return layout->item_list();
  }
  // The names of all items, one behind the other.
  std::span<const std::uint8_t> names() const { return layout->names.bytes(); }
  std::string_view item_name(const item_descriptor& item) const;
};

// The item list that the schema was made from.
std::vector<std::uint8_t> item_list_bytes(const set_context& set);

// Makes a schema from an item list: for each item a u8 name length, the name, a
// u8 type letter, a u16 element count, a u16 element size and u32 format flags.
// Returns null on failure: for a malformed list `problem` then says in one
// line, without line end, what is wrong; without memory it stays empty and the
// message has been printed.
std::unique_ptr<set_context> node_create_set_context(
    std::span<const std::uint8_t> item_list, std::string& problem,
    run_messages& messages);

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_SET_CONTEXT_H
