#ifndef CHRONEX_UTIL_CHRONEX_TABLES_SET_CONTEXT_H
#define CHRONEX_UTIL_CHRONEX_TABLES_SET_CONTEXT_H

// Schemas of data sets.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "common/owned_bytes.h"
#include "util/chronex/messages/messages.h"

// Bit of item_descriptor::fmt: the item is stored encrypted.
inline constexpr std::uint32_t ITEM_FMT_ENCRYPTED = 0x100000;

// One item of a data set.
struct item_descriptor {
  // Place of the name in the item list.
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

// What follows from an item list; data sets may have it in common.
struct item_layout {
  owned_bytes list;
  std::unique_ptr<item_descriptor[]> items;
  std::size_t item_count = 0;
  // See set_context.
  std::int16_t rec_sz = 0;
  std::int32_t media_sz = 0;
  std::int32_t enc_offs = -1;
  // Of the item list.
  std::size_t hash = 0;
  // See set_context::layout_id; 0 = none yet.
  std::uint64_t id = 0;

  std::span<const item_descriptor> item_list() const {
    return {items.get(), item_count};
  }
  bool is_of(std::span<const std::uint8_t> item_list) const;
};

// A data set's schema. Its items lie in the record one after another, each
// count * size bytes.
struct set_context {
  set_context() = default;
  explicit set_context(std::shared_ptr<item_layout> layout_of_set) noexcept;

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
  // The item list that the schema was made from.
  std::span<const std::uint8_t> list_bytes() const {
    return layout->list.bytes();
  }
  std::string_view item_name(const item_descriptor& item) const;
};

// What every operation asks of the schema of its data set.
struct set_brief {
  set_brief() = default;
  explicit set_brief(const set_context& set);

  // See set_context; -1: there is no schema.
  std::int16_t rec_sz = -1;
  std::uint16_t media_sz = 0;
  // 0: it is too large a number for this.
  std::uint32_t layout_id = 0;

  bool is_known() const { return rec_sz >= 0; }
  // The stored form of an encrypted record is always the longer one.
  bool is_encrypted() const { return media_sz != rec_sz; }
  std::size_t record_size() const { return static_cast<std::size_t>(rec_sz); }
};

// The hash under which layouts of equal item lists are found.
std::size_t item_list_hash(std::span<const std::uint8_t> item_list);

// Makes a schema from an item list: for each item a u8 name length, the name, a
// u8 type letter, a u16 element count, a u16 element size and u32 format flags.
// Returns null on failure: for a malformed list `problem` then says in one
// line, without line end, what is wrong; without memory it stays empty and the
// message has been printed.
std::unique_ptr<set_context> node_create_set_context(
    std::span<const std::uint8_t> item_list, std::string& problem,
    run_messages& messages);

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_SET_CONTEXT_H
