// What is uncertain since actions were lost, and what has to be known of damage
// to go on behind it.

#include <vector>

#include "util/chronex/state/table_state.h"

namespace {

constexpr section_name LOSS_SECTION{'L', 'O', 'S', 'S'};

using id_list = std::vector<std::int32_t>;

void save_ids(const id_list& ids, state_writer& state) {
  state.u64(ids.size());
  for (const std::int32_t id : ids) state.i32(id);
}

id_list uncertain_sessions(session_table& sessions) {
  id_list ids;
  sessions.for_each([&ids](const session_entry& entry) {
    if (entry.is_uncertain) ids.push_back(entry.session_id);
  });
  return ids;
}

id_list uncertain_nodes(node_table& nodes) {
  id_list ids;
  nodes.for_each([&ids](const node_entry& entry) {
    if (entry.is_uncertain) ids.push_back(entry.node_id);
  });
  return ids;
}

// Marks as uncertain what `find` finds under the ids that follow.
template <typename Find>
bool restore_uncertain(state_reader& state, const Find& find) {
  for (std::uint64_t left = state.u64(); left > 0; --left) {
    auto* const entry = find(state.i32());
    if (state.has_failed() || entry == nullptr) return false;
    entry->is_uncertain = true;
  }
  return true;
}

bool restore_unknown_sets(fwlog_reader& reader, state_reader& state) {
  for (std::uint64_t left = state.u64(); left > 0; --left) {
    reader.unknown_sets.insert(state.i32());
    if (state.has_failed()) return false;
  }
  return true;
}

// Where a log stands that is not at its end.
void save_care(const log_position& position, state_writer& state) {
  state.u8(position.last.tag);
  state.u32(position.last.number);
  state.u32(position.last.timestamp);
  state.flag(position.open_damage.has_value());
  if (!position.open_damage) return;
  state.u64(position.open_damage->from);
  state.u64(position.open_damage->to);
  state.u32(position.open_damage->last_number);
  state.text(position.open_damage->reason);
}

void restore_care(log_position& position, state_reader& state) {
  position.last.tag = state.u8();
  position.last.number = state.u32();
  position.last.timestamp = state.u32();
  if (!state.flag()) return;
  damaged_bytes& damage = position.open_damage.emplace();
  damage.from = state.u64();
  damage.to = state.u64();
  damage.last_number = state.u32();
  damage.reason = state.text();
}

}  // namespace

void save_losses(const run_parts& run, state_writer& state) {
  const fwlog_reader& reader = run.forward_logs;
  state.begin_section(LOSS_SECTION);
  state.flag(run.events.has_lost_actions);
  state.flag(reader.numbers.has_passed_over());
  save_ids(uncertain_sessions(run.events.sessions), state);
  save_ids(uncertain_nodes(run.events.nodes), state);
  save_ids({reader.unknown_sets.begin(), reader.unknown_sets.end()}, state);
  save_care(reader.position, state);
  state.end_section();
}

bool restore_losses(const run_parts& run, state_reader& state) {
  // States of version 1 know no losses.
  if (!state.is_section(LOSS_SECTION)) return !state.has_failed();
  state_reader section = state.section(LOSS_SECTION);
  run.events.has_lost_actions = section.flag();
  if (section.flag()) run.forward_logs.numbers.set_passed_over();
  const bool is_known =
      restore_uncertain(section,
                        [&run](std::int32_t id) {
                          return run.events.sessions.session_get_entry(id);
                        }) &&
      restore_uncertain(section,
                        [&run](std::int32_t id) {
                          return run.events.nodes.node_get_entry(id);
                        }) &&
      restore_unknown_sets(run.forward_logs, section);
  restore_care(run.forward_logs.position, section);
  return is_known && section.is_at_end();
}
