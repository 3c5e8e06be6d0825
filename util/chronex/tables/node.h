#ifndef CHRONEX_UTIL_CHRONEX_TABLES_NODE_H
#define CHRONEX_UTIL_CHRONEX_TABLES_NODE_H

// The table of databases and data sets, each under the node id that the server
// gave it, with their schemas and keys. Entries live for the whole run.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/id_table.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/tables/set_context.h"

inline constexpr int NODE_DATABASE = 2;
inline constexpr int NODE_DATA_SET = 3;

// The decryption keys of a database; what is in it is known where records are
// decrypted. It is released by the cleanup function that came with it.
struct db_key_context;
using db_key_context_ptr =
    std::unique_ptr<db_key_context, void (*)(db_key_context*)>;

class node_table;

// What every selected operation looks at comes first and lies in one cache
// line, with the name that reports show.
struct alignas(CACHE_LINE) node_entry {
  std::int32_t node_id = 0;
  // The outputs must still be told the schema, before the next operation.
  bool context_pending = false;
  // Actions were lost since it was described: it may be another by now.
  bool is_uncertain = false;
  // Its table.
  node_table* table = nullptr;
  // The printable name with the id, and how much of it is the name, as they
  // were at this node_table::names_version().
  mutable std::string printable;
  mutable std::uint64_t printable_version = 0;
  mutable std::uint32_t printable_name_length = 0;
  // Id of the character set of the name, and of the items' names: that of the
  // input that they were read from; -1 = none is known.
  int charset = -1;

  // A data set's schema or a database's keys; at most one of the two is there.
  // The schema of a table's entry is changed by the functions below only.
  std::optional<set_context> set;
  int type = 0;
  // Node id of a data set's database; 0 = none.
  std::int32_t db_node_id = 0;

  db_key_context_ptr keys{nullptr, nullptr};
  // The node's own name in upper case.
  std::string name;
};

// What is found of a node without a look at its entry.
struct known_node {
  node_entry* entry = nullptr;
  set_brief set;
};

class node_table {
 public:
  explicit node_table(run_messages& messages) : messages_(messages) {}

  // Returns the entry of a node, which stays the table's, or null.
  node_entry* node_get_entry(std::int32_t node_id) {
    return node_hash_.find(node_id);
  }

  // The same with its schema in brief: an entry is far away when there are
  // many, and most operations need no more.
  known_node node_find(std::int32_t node_id) const {
    const id_place<set_brief> place = node_hash_.locate(node_id);
    return {node_hash_.entry_at(place), place.brief};
  }

  // Gives an entry a schema, or none.
  void set_schema(node_entry& entry, std::optional<set_context> set);

  // Registers or redefines a node. `name` ends at its first zero byte, if any.
  // `set` is taken over; null for a database. An identical definition changes
  // nothing. Without memory the node is dropped with a message and the run goes
  // on. Returns the entry if it is new or has changed, else null.
  node_entry* node_add_entry(std::int32_t node_id, int type,
                             std::string_view name, std::int32_t db_node_id,
                             std::unique_ptr<set_context> set);

  // Makes a schema as node_create_set_context does, from what is known already
  // where a data set has the same item list.
  std::unique_ptr<set_context> make_set(std::span<const std::uint8_t> item_list,
                                        std::string& problem);

  // Calls `visit` with every node, in no particular order.
  template <typename Visit>
  void for_each(Visit visit) {
    node_hash_.for_each(visit);
  }

  // Calls `visit` with every data set of a database that has a schema.
  template <typename Visit>
  void for_each_set(std::int32_t db_node_id, Visit visit) {
    node_hash_.for_each([&](const node_entry& entry) {
      if (entry.db_node_id == db_node_id && entry.set) visit(entry);
    });
  }

  // Actions were lost: no node is certain any more.
  void make_uncertain() {
    node_hash_.for_each([](node_entry& entry) { entry.is_uncertain = true; });
  }

  // A number that changes whenever a node is registered or redefined, and with
  // it possibly the printable name of any node.
  std::uint64_t names_version() const { return names_version_; }

 private:
  node_entry* new_entry(std::int32_t node_id);
  void keep_layout(set_context& set);

  run_messages& messages_;
  id_table<node_entry, set_brief> node_hash_;
  std::uint64_t names_version_ = 1;
  std::uint64_t last_schema_id_ = 0;
  std::uint64_t last_layout_id_ = 0;
  // Of the layouts in use those that were seen last, by their hashes.
  std::array<std::weak_ptr<item_layout>, 256> layouts_;
};

// Releases a node's schema or keys.
void node_cleanup_data(node_entry& entry);

// Gives a node keys in place of its present data.
void node_set_keys(node_entry& entry, db_key_context_ptr keys);

// The printable name: a data set's database and ".", if that is known, and the
// node's own name; with the flag also " (#%d)" with the node id. The text is
// the entry's and valid until a node is registered or redefined.
std::string_view node_name2(const node_entry& entry, bool with_id);
std::string_view node_name(const node_entry& entry);

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_NODE_H
