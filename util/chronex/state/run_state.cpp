#include "util/chronex/state/run_state.h"

#include "util/chronex/state/table_state.h"

namespace {

// What stands in front: the character set, which the inputs must have, too.
void save_run_facts(const run_parts& run, state_writer& state) {
  state.begin_section({'R', 'U', 'N', ' '});
  state.i32(run.charset_id);
  state.end_section();
}

void save_position(const run_parts& run, state_files& files,
                   state_writer& state) {
  const log_position& position = run.forward_logs.position;
  const log_numbers& numbers = run.forward_logs.numbers.known();
  state.begin_section({'P', 'L', 'A', 'C'});
  state.flag(numbers.is_first);
  state.u32(numbers.generation);
  state.u32(numbers.sequence);
  state.u32(numbers.action);
  state.u32(files.number_of(position.file));
  state.u32(static_cast<std::uint32_t>(position.names.size()));
  for (const std::string& name : position.names) state.text(name);
  state.flag(position.is_done);
  state.flag(position.is_number_checked);
  state.u64(position.byte);
  state.text(position.missing);
  state.u32(run.events.place.number);
  state.flag(run.events.f_skip_action);
  state.end_section();
}

bool restore_position(const run_parts& run, const state_files& files,
                      state_reader& state) {
  state_reader section = state.section({'P', 'L', 'A', 'C'});
  log_numbers numbers;
  numbers.is_first = section.flag();
  numbers.generation = section.u32();
  numbers.sequence = section.u32();
  numbers.action = section.u32();
  run.forward_logs.numbers.go_on(numbers);
  log_position& position = run.forward_logs.position;
  position.file = files.file(section.u32(), section);
  for (std::uint32_t left = section.u32(); left > 0; --left) {
    position.names.emplace_back(section.text());
    if (section.has_failed()) return false;
  }
  position.is_done = section.flag();
  position.is_number_checked = section.flag();
  position.byte = section.u64();
  position.missing = section.text();
  run.events.place = {.file = position.file, .number = section.u32()};
  run.events.f_skip_action = section.flag();
  return section.is_at_end() &&
         (position.file == nullptr || position.file->type == FWLOG_FILE);
}

void save_names(const run_parts& run, state_writer& state) {
  state.begin_section({'N', 'A', 'M', 'E'});
  state.flag(run.names != nullptr);
  if (run.names != nullptr) state.bytes(run.names->progress());
  state.end_section();
}

bool restore_names(const run_parts& run, state_reader& state) {
  state_reader section = state.section({'N', 'A', 'M', 'E'});
  if (section.flag()) {
    const std::span<const std::uint8_t> progress = section.bytes();
    if (run.names != nullptr && !run.names->go_on(progress)) return false;
  }
  return section.is_at_end();
}

}  // namespace

void save_run(const run_parts& run, state_writer& state) {
  // The others find out which files there are; they stand in front of them.
  state_files files;
  state_writer tables;
  save_position(run, files, tables);
  save_sessions(run.events.sessions, files, tables);
  save_nodes(run.events.nodes, tables);
  save_images(run.events.images, tables);
  save_names(run, tables);
  save_losses(run, tables);
  save_run_facts(run, state);
  files.save(state);
  state.append(tables);
}

int charset_of_state(state_reader state) {
  state_reader section = state.section({'R', 'U', 'N', ' '});
  return section.i32();
}

int restore_run(const run_parts& run, state_reader& state,
                std::string& problem) {
  state_reader facts = state.section({'R', 'U', 'N', ' '});
  run.charset_id = facts.i32();
  state_files files;
  const bool is_whole = facts.is_at_end() && files.restore(run, state) &&
                        restore_position(run, files, state) &&
                        restore_sessions(run.events.sessions, files, state) &&
                        restore_nodes(run, state, problem) &&
                        restore_images(run, state) &&
                        restore_names(run, state) && restore_losses(run, state);
  // All logs of a run have one character set.
  run.events.sessions.for_each(
      [&run](session_entry& entry) { entry.charset = run.charset_id; });
  run.events.nodes.for_each(
      [&run](node_entry& entry) { entry.charset = run.charset_id; });
  return is_whole ? 0 : -1;
}
