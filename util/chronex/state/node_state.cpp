#include <utility>

#include "util/chronex/keys/node_crypt.h"
#include "util/chronex/state/table_state.h"

namespace {

// What a node has besides its name.
enum class node_data : std::uint8_t { none, schema, keys };

void save_keys(const db_key_context& keys, state_writer& state) {
  state.u8(static_cast<std::uint8_t>(node_data::keys));
  state.bytes(node_key_payload(keys));
  state.u32(static_cast<std::uint32_t>(node_key_count(keys)));
}

void save_node(const node_entry& entry, state_writer& state) {
  state.i32(entry.node_id);
  state.i32(entry.type);
  state.i32(entry.db_node_id);
  state.text(entry.name);
  state.flag(entry.context_pending);
  if (entry.keys) return save_keys(*entry.keys, state);
  if (!entry.set) return state.u8(static_cast<std::uint8_t>(node_data::none));
  state.u8(static_cast<std::uint8_t>(node_data::schema));
  state.bytes(entry.set->list_bytes());
}

// The beginning of a node, up to its data.
struct saved_node {
  std::int32_t node_id = 0;
  int type = 0;
  std::int32_t db_node_id = 0;
  std::string_view name;
  bool context_pending = false;
  std::uint8_t data = 0;
};

saved_node read_node(state_reader& state) {
  saved_node node;
  node.node_id = state.i32();
  node.type = state.i32();
  node.db_node_id = state.i32();
  node.name = state.text();
  node.context_pending = state.flag();
  node.data = state.u8();
  return node;
}

void tell_lost_keys(const node_entry& entry, std::size_t before,
                    std::size_t now, std::string& problem) {
  problem = "Of the keys of database " + std::string(node_name2(entry, true)) +
            ", " + std::to_string(before) + " could be used, and " +
            std::to_string(now) + " can now; unlock the same master keys (-M)";
}

bool restore_node_keys(const run_parts& run, node_entry& entry,
                       state_reader& state, std::string& problem) {
  db_key_context_ptr keys = restore_keys(run, state.bytes());
  const std::uint32_t count = state.u32();
  if (state.has_failed() || !keys) return false;
  const std::size_t now = node_key_count(*keys);
  if (now < count) tell_lost_keys(entry, count, now, problem);
  node_set_keys(entry, std::move(keys));
  return problem.empty();
}

bool restore_node(const run_parts& run, state_reader& state,
                  std::string& problem) {
  const saved_node node = read_node(state);
  const auto data = static_cast<node_data>(node.data);
  if (state.has_failed() || data > node_data::keys) return false;
  std::unique_ptr<set_context> set;
  if (data == node_data::schema) {
    std::string malformed;
    set = run.events.nodes.make_set(state.bytes(), malformed);
    if (!set || state.has_failed()) return false;
  }
  node_entry* const entry = run.events.nodes.node_add_entry(
      node.node_id, node.type, node.name, node.db_node_id, std::move(set));
  if (entry == nullptr) return false;
  entry->context_pending = node.context_pending;
  return data != node_data::keys ||
         restore_node_keys(run, *entry, state, problem);
}

}  // namespace

db_key_context_ptr restore_keys(const run_parts& run,
                                std::span<const std::uint8_t> payload) {
  run_messages silence;
  silence.silent = true;
  run_filter no_filter(silence);
  trail unheard(silence, no_filter);
  unheard.keeps_stored = run.events.keeps_stored;
  std::string problem;
  return node_create_db_key_context(payload, unheard, problem);
}

void save_nodes(node_table& nodes, state_writer& state) {
  std::uint64_t count = 0;
  nodes.for_each([&](const node_entry& /*entry*/) { ++count; });
  state.begin_section({'N', 'O', 'D', 'E'});
  state.u64(count);
  nodes.for_each([&](const node_entry& entry) { save_node(entry, state); });
  state.end_section();
}

bool restore_nodes(const run_parts& run, state_reader& state,
                   std::string& problem) {
  state_reader section = state.section({'N', 'O', 'D', 'E'});
  for (std::uint64_t left = section.u64(); left > 0; --left) {
    if (!restore_node(run, section, problem)) return false;
  }
  return section.is_at_end();
}
