#include "util/chronex/tables/node.h"

#include <algorithm>
#include <new>

#include "common/same_text.h"

namespace {

// A data set's database may itself name a parent. A log that makes a node its
// own ancestor must not send the name around in circles.
constexpr int MAX_NAME_LEVELS = 16;

bool same_schema(const std::optional<set_context>& a, const set_context* b) {
  if (!a || b == nullptr) return a.has_value() == (b != nullptr);
  return a->layout == b->layout || a->layout->is_of(b->list_bytes());
}

bool is_repeat(const node_entry& entry, int type, std::string_view name,
               std::int32_t db_node_id, const set_context* set) {
  return entry.type == type && same_text(entry.name, name) &&
         entry.db_node_id == db_node_id && entry.keys == nullptr &&
         same_schema(entry.set, set);
}

// An upper-cased copy of a name; false without memory.
bool upper_case_copy(std::string_view name, std::string& copy) {
  try {
    copy.assign(name);
  } catch (const std::bad_alloc&) {
    return false;
  }
  for (char& character : copy) {
    if (character >= 'a' && character <= 'z') character -= 'a' - 'A';
  }
  return true;
}

void append_name(const node_entry& entry, int levels, std::string& text) {
  if (entry.db_node_id != 0 && levels > 1) {
    const node_entry* parent = entry.table->node_get_entry(entry.db_node_id);
    if (parent != nullptr) {
      append_name(*parent, levels - 1, text);
      text += '.';
    }
  }
  text += entry.name;
}

}  // namespace

node_entry* node_table::new_entry(std::int32_t node_id) {
  node_entry* const entry = node_hash_.add(node_id);
  if (entry == nullptr) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate node entry #%d\n", node_id);
    return nullptr;
  }
  entry->table = this;
  entry->node_id = node_id;
  return entry;
}

// Data sets are often made alike. Those that have their items in common need
// less memory and time, and what was worked out for one of them serves the
// others.
std::unique_ptr<set_context> node_table::make_set(
    std::span<const std::uint8_t> item_list, std::string& problem) {
  const std::size_t hash = item_list_hash(item_list);
  std::shared_ptr<item_layout> known = layouts_[hash % layouts_.size()].lock();
  if (known && known->is_of(item_list)) {
    std::unique_ptr<set_context> set = try_make<set_context>(std::move(known));
    if (set) return set;
  }
  return node_create_set_context(item_list, problem, messages_);
}

void node_table::keep_layout(set_context& set) {
  item_layout& layout = *set.layout;
  if (layout.id == 0) {
    layout.id = ++last_layout_id_;
    layouts_[layout.hash % layouts_.size()] = set.layout;
  }
  set.layout_id = layout.id;
}

node_entry* node_table::node_add_entry(std::int32_t node_id, int type,
                                       std::string_view name,
                                       std::int32_t db_node_id,
                                       std::unique_ptr<set_context> set) {
  name = name.substr(0, name.find('\0'));
  node_entry* entry = node_get_entry(node_id);
  if (entry != nullptr) entry->is_uncertain = false;
  if (entry != nullptr &&
      is_repeat(*entry, type, name, db_node_id, set.get())) {
    return nullptr;
  }
  ++names_version_;
  // A new definition makes what was known before void, even when there is no
  // memory for its name: the node then stands without name and data, and its
  // operations are passed over.
  if (entry != nullptr) {
    node_cleanup_data(*entry);
    entry->name.clear();
  }
  std::string upper_name;
  if (!upper_case_copy(name, upper_name)) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate node name #%d\n", node_id);
    return nullptr;
  }
  if (entry == nullptr) entry = new_entry(node_id);
  if (entry == nullptr) return nullptr;
  entry->type = type;
  entry->name = std::move(upper_name);
  entry->db_node_id = db_node_id;
  if (set) {
    keep_layout(*set);
    set->schema_id = ++last_schema_id_;
    set_schema(*entry, std::move(*set));
  }
  entry->context_pending = true;
  return entry;
}

void node_table::set_schema(node_entry& entry, std::optional<set_context> set) {
  entry.set = std::move(set);
  node_hash_.set_brief(entry.node_id,
                       entry.set ? set_brief(*entry.set) : set_brief());
}

void node_cleanup_data(node_entry& entry) {
  if (entry.set) entry.table->set_schema(entry, std::nullopt);
  entry.keys.reset();
}

void node_set_keys(node_entry& entry, db_key_context_ptr keys) {
  node_cleanup_data(entry);
  entry.keys = std::move(keys);
}

std::string_view node_name2(const node_entry& entry, bool with_id) {
  if (entry.printable_version != entry.table->names_version()) {
    entry.printable.clear();
    append_name(entry, MAX_NAME_LEVELS, entry.printable);
    entry.printable_name_length =
        static_cast<std::uint32_t>(entry.printable.size());
    entry.printable += " (#" + std::to_string(entry.node_id) + ")";
    entry.printable_version = entry.table->names_version();
  }
  const std::string_view text = entry.printable;
  return with_id ? text : text.substr(0, entry.printable_name_length);
}

std::string_view node_name(const node_entry& entry) {
  return node_name2(entry, true);
}
