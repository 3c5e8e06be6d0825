#include "util/chronex/tables/node.h"

#include <algorithm>
#include <cctype>
#include <new>

#include "common/chained_table.h"
#include "common/recent_entries.h"
#include "common/same_text.h"
#include "util/chronex/report/report.h"

namespace {

constexpr std::size_t INITIAL_BUCKETS = 128;

// A data set's database may itself name a parent. A log that makes a node its
// own ancestor must not send the name around in circles.
constexpr int MAX_NAME_LEVELS = 16;

chained_table<node_entry> node_hash(INITIAL_BUCKETS);
recent_entries<node_entry> recent;
std::uint64_t names_version = 1;

std::uint32_t hash_of(std::int32_t node_id) {
  return keyed_hash(static_cast<std::uint32_t>(node_id));
}

bool same_schema(const set_context* a, const set_context* b) {
  if (a == nullptr || b == nullptr) return a == b;
  const auto a_items = a->item_list();
  const auto b_items = b->item_list();
  return std::equal(a_items.begin(), a_items.end(), b_items.begin(),
                    b_items.end()) &&
         std::ranges::equal(a->names.bytes(), b->names.bytes());
}

bool is_repeat(const node_entry& entry, int type, std::string_view name,
               std::int32_t db_node_id, const set_context* set) {
  return entry.type == type && same_text(entry.name, name) &&
         entry.db_node_id == db_node_id && entry.keys == nullptr &&
         same_schema(entry.set.get(), set);
}

// An upper-cased copy of a name; false without memory.
bool upper_case_copy(std::string_view name, std::string& copy) {
  try {
    copy.assign(name);
  } catch (const std::bad_alloc&) {
    return false;
  }
  for (char& character : copy) {
    character =
        static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
  }
  return true;
}

void append_name(const node_entry& entry, int levels, std::string& text) {
  if (entry.db_node_id != 0 && levels > 1) {
    const node_entry* parent = node_get_entry(entry.db_node_id);
    if (parent != nullptr) {
      append_name(*parent, levels - 1, text);
      text += '.';
    }
  }
  text += entry.name;
}

}  // namespace

node_entry* node_get_entry(std::int32_t node_id) {
  node_entry* const known = recent.find(node_id);
  if (known != nullptr) return known;
  node_entry* found = node_hash.find(
      hash_of(node_id),
      [node_id](const node_entry& entry) { return entry.node_id == node_id; });
  if (found != nullptr) recent.remember(node_id, found);
  return found;
}

void node_add_entry(std::int32_t node_id, int type, std::string_view name,
                    std::int32_t db_node_id, std::unique_ptr<set_context> set) {
  name = name.substr(0, name.find('\0'));
  node_entry* entry = node_get_entry(node_id);
  if (entry != nullptr &&
      is_repeat(*entry, type, name, db_node_id, set.get())) {
    return;
  }

  std::unique_ptr<node_entry> created;
  if (entry == nullptr) {
    if (node_hash.reserve()) created = try_make<node_entry>();
    if (!created) {
      message_perror("malloc");
      message("Unable to allocate node entry #%d\n", node_id);
      return;
    }
    created->node_id = node_id;
    entry = created.get();
  }
  // A new definition makes what was known before void, even when there is no
  // memory for its name: the node then stands without name and data, and its
  // operations are passed over.
  node_cleanup_data(*entry);
  entry->name.clear();
  ++names_version;
  if (!upper_case_copy(name, entry->name)) {
    message_perror("malloc");
    message("Unable to allocate node name #%d\n", node_id);
    return;
  }
  entry->type = type;
  entry->db_node_id = db_node_id;
  entry->set = std::move(set);
  entry->context_pending = true;
  if (created) node_hash.insert(hash_of(node_id), std::move(created));
}

void node_cleanup_data(node_entry& entry) {
  entry.set.reset();
  entry.keys.reset();
}

void node_set_keys(node_entry& entry, db_key_context_ptr keys) {
  node_cleanup_data(entry);
  entry.keys = std::move(keys);
}

std::string_view node_name2(const node_entry& entry, bool with_id) {
  if (entry.printable_version != names_version) {
    entry.printable.clear();
    append_name(entry, MAX_NAME_LEVELS, entry.printable);
    entry.printable_name_length = entry.printable.size();
    entry.printable += " (#" + std::to_string(entry.node_id) + ")";
    entry.printable_version = names_version;
  }
  const std::string_view text = entry.printable;
  return with_id ? text : text.substr(0, entry.printable_name_length);
}

std::string_view node_name(const node_entry& entry) {
  return node_name2(entry, true);
}

std::uint64_t node_names_version() { return names_version; }
