#ifndef CHRONEX_UTIL_CHRONEX_TABLES_NODE_H
#define CHRONEX_UTIL_CHRONEX_TABLES_NODE_H

// The table of databases and data sets, each under the node id that the server
// gave it, and the schemas of the data sets. Entries live for the whole run.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "common/owned_bytes.h"

inline constexpr int NODE_DATABASE = 2;
inline constexpr int NODE_DATA_SET = 3;

// Bit of item_descriptor::fmt: the item is stored encrypted.
inline constexpr std::uint32_t ITEM_FMT_ENCRYPTED = 0x100000;

// One item of a data set.
struct item_descriptor {
  // Place of the name in set_context::names.
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

// A data set's schema. Its items lie in the record one after another, each
// count * size bytes.
struct set_context {
  // Different for every schema created in a run, and never 0: what is derived
  // from a schema can be kept under it.
  std::uint64_t schema_id = 0;
  // Size of the schema in bytes as the server counts it.
  std::uint32_t data_sz = 0;
  std::int16_t item_cnt = 0;
  // Record size in bytes: the sum of count * size over the items.
  std::int16_t rec_sz = 0;
  // Size of the record as the server stores it.
  std::int32_t media_sz = 0;
  // Offset of the encrypted part in the stored record; -1: nothing encrypted.
  std::int32_t enc_offs = -1;
  std::unique_ptr<item_descriptor[]> items;
  owned_bytes names;

  std::span<const item_descriptor> item_list() const {
    return {items.get(), static_cast<std::size_t>(item_cnt)};
  }
  std::string_view item_name(const item_descriptor& item) const;
};

// The decryption keys of a database; what is in it is known where records are
// decrypted. It is released by the cleanup function that came with it.
struct db_key_context;
using db_key_context_ptr =
    std::unique_ptr<db_key_context, void (*)(db_key_context*)>;

struct node_entry {
  std::unique_ptr<node_entry> next;
  std::uint32_t hash = 0;

  std::int32_t node_id = 0;
  // A data set's schema or a database's keys; at most one of the two is there.
  std::unique_ptr<set_context> set;
  db_key_context_ptr keys{nullptr, nullptr};
  int type = 0;
  // Node id of a data set's database; 0 = none.
  std::int32_t db_node_id = 0;
  // The node's own name in upper case.
  std::string name;
  // The printable name with the id, and how much of it is the name, as they
  // were at this node_names_version().
  mutable std::string printable;
  mutable std::size_t printable_name_length = 0;
  mutable std::uint64_t printable_version = 0;
  // The schema must still be shown and written before the next operation.
  bool context_pending = false;
};

// Returns the entry of a node, which stays the table's, or null.
node_entry* node_get_entry(std::int32_t node_id);

// Registers or redefines a node. `name` ends at its first zero byte, if any.
// `set` is taken over; null for a database. An identical definition changes
// nothing. Without memory the node is dropped with a message and the run goes
// on.
void node_add_entry(std::int32_t node_id, int type, std::string_view name,
                    std::int32_t db_node_id, std::unique_ptr<set_context> set);

// Makes a schema from an item list: for each item a u8 name length, the name, a
// u8 type letter, a u16 element count, a u16 element size and u32 format flags.
// Returns null on failure: for a malformed list `problem` then says in one
// line, without line end, what is wrong; without memory it stays empty and the
// message has been printed.
std::unique_ptr<set_context> node_create_set_context(
    std::span<const std::uint8_t> item_list, std::string& problem);

// Releases a node's schema or keys.
void node_cleanup_data(node_entry& entry);

// Gives a node keys in place of its present data.
void node_set_keys(node_entry& entry, db_key_context_ptr keys);

// The printable name: a data set's database and ".", if that is known, and the
// node's own name; with the flag also " (#%d)" with the node id. The text is
// the entry's and valid until a node is registered or redefined.
std::string_view node_name2(const node_entry& entry, bool with_id);
std::string_view node_name(const node_entry& entry);

// A number that changes whenever a node is registered or redefined, and with it
// possibly the printable name of any node.
std::uint64_t node_names_version();

// Shows and writes a node's schema if that is still due. Returns 0, or -1 when
// the audit file could not be written (the message has been printed).
int write_node_context(node_entry& entry);

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_NODE_H
