#include "util/chronex_trail/run/trail_state.h"

#include <algorithm>
#include <tuple>

#include "util/chronex/state/state_file.h"
#include "util/chronex_trail/run/log_tail.h"

namespace {

constexpr section_name OPTIONS_SECTION{'O', 'P', 'T', 'S'};
constexpr section_name PIECE_SECTION{'P', 'I', 'E', 'C'};
constexpr section_name TAIL_SECTION{'T', 'A', 'I', 'L'};
constexpr section_name OUTPUT_SECTION{'O', 'U', 'T', 'P'};

void save_texts(const std::vector<std::string>& texts, state_writer& state) {
  state.u32(static_cast<std::uint32_t>(texts.size()));
  for (const std::string& text : texts) state.text(text);
}

bool are_texts(const std::vector<std::string>& texts, state_reader& state) {
  bool same = state.u32() == texts.size();
  for (std::size_t i = 0; same && i < texts.size(); ++i) {
    same = state.text() == texts[i];
  }
  return same;
}

// Nothing is told of a log that ended, or that cannot be read again.
void save_tail(const log_position& position, state_writer& state) {
  std::optional<md5_digest> digest;
  if (position.file != nullptr && !position.is_done &&
      !position.file->is_standard_input) {
    digest = digest_of_tail(position.file->name, position.byte);
  }
  state.begin_section(TAIL_SECTION);
  state.bytes(digest ? std::span<const std::uint8_t>(*digest)
                     : std::span<const std::uint8_t>());
  state.end_section();
}

}  // namespace

trail_state::trail_state(trail_run& run, const shared_options& options)
    : run_(run), options_(options) {
  run_.events.keeps_stored = true;
}

int trail_state::failure(const std::string& problem) {
  run_.messages.print("%s: %s\n", name_.c_str(), problem.c_str());
  return -1;
}

int trail_state::damaged() {
  return failure("is damaged; what is in it cannot be");
}

int trail_state::read(const std::string& name) {
  name_ = name;
  switch (read_state_file(name, file_, sections_, run_.messages)) {
    case state_found::absent:
      return 0;
    case state_found::unusable:
      return -1;
    case state_found::whole:
      break;
  }
  return begin();
}

int trail_state::read(const std::string& name,
                      std::span<const std::uint8_t> check_sum) {
  name_ = name;
  for (const std::string& candidate : {name, name + ".next"}) {
    file_.clear();
    if (read_state_file(candidate, file_, sections_, run_.messages) !=
        state_found::whole) {
      continue;
    }
    if (!std::ranges::equal(state_check_sum(file_), check_sum)) continue;
    if (candidate != name && adopt_next_state(name, run_.messages) != 0) {
      return -1;
    }
    return begin();
  }
  return failure(
      "is not the state of this database; name its own, or put it back");
}

// Learns what must be known before the run is prepared.
int trail_state::begin() {
  state_reader state(sections_);
  if (check_options(state) != 0) return -1;
  run_.charset_id = charset_of_state(state);
  return 0;
}

void trail_state::save_options(state_writer& state) const {
  state.begin_section(OPTIONS_SECTION);
  save_texts(options_.filter_texts, state);
  save_texts(options_.item_lists, state);
  state.end_section();
}

// What was shown so far depends on the filter. Reads on to the run's sections.
int trail_state::check_options(state_reader& state) {
  state_reader options = state.section(OPTIONS_SECTION);
  if (state.has_failed()) return damaged();
  if (!are_texts(options_.filter_texts, options) ||
      !are_texts(options_.item_lists, options)) {
    return failure(
        "was written with other options -e, -f or -I; go on with the same, or "
        "begin again with another state");
  }
  state_reader piece = state.section(PIECE_SECTION);
  piece_.number = piece.u32();
  piece_.count = piece.u32();
  static_cast<void>(state.section(TAIL_SECTION));
  return state.has_failed() || !piece.is_at_end() ? damaged() : 0;
}

run_parts trail_state::parts() {
  return {.events = run_.events,
          .forward_logs = run_.forward_logs,
          .charset_id = run_.charset_id,
          .names = run_.names ? &*run_.names : nullptr,
          .earlier_files = run_.earlier_files};
}

int trail_state::restore() {
  if (is_new()) return 0;
  state_reader state(sections_);
  static_cast<void>(state.section(OPTIONS_SECTION));
  static_cast<void>(state.section(PIECE_SECTION));
  tail_ = state.section(TAIL_SECTION);
  std::string problem;
  const int charset_id = run_.charset_id;
  if (restore_run(parts(), state, problem) != 0) {
    return problem.empty() ? damaged() : failure(problem);
  }
  // The inputs have fixed it meanwhile if the state had none.
  run_.charset_id = charset_id;
  output_ = state.section(OUTPUT_SECTION);
  if (!state.is_at_end()) return damaged();
  const log_position& position = run_.forward_logs.position;
  if (position.file == nullptr) return 0;
  run_.goes_on_behind = {.generation = position.file->generation,
                         .sequence = position.file->sequence,
                         .names = position.names,
                         .is_within = !position.is_done};
  return check_logs();
}

bool trail_state::begins_as_known(const std::string& name) const {
  state_reader tail = tail_;
  const std::span<const std::uint8_t> before = tail.bytes();
  if (before.empty()) return true;
  const auto now = digest_of_tail(name, run_.forward_logs.position.byte);
  return now && std::ranges::equal(*now, before);
}

// Standard input cannot be looked at.
bool trail_state::begins_as_known(const input_file& file) const {
  return file.is_standard_input || begins_as_known(file.name);
}

int trail_state::check_log(const input_file& file) {
  if (begins_as_known(file)) return 0;
  return failure("the log " + file.name + " is not as it was up to byte " +
                 std::to_string(run_.forward_logs.position.byte) +
                 "; put the log back that was read, or begin again with "
                 "another state");
}

int trail_state::check_volume_set(const input_file& file) {
  const input_file& last = *run_.forward_logs.position.file;
  if (file.volume_set_id == last.volume_set_id) return 0;
  return failure("the log " + file.name + " is of volume set " +
                 std::to_string(file.volume_set_id) + ", but the state of " +
                 std::to_string(last.volume_set_id));
}

// The rest of the log that the state is within is the first input of its
// numbers that begins with what is known. One that does not is a log that has
// changed, and under another name one that repeats its numbers.
int trail_state::find_rest() {
  trail_run::log_place& place = *run_.goes_on_behind;
  bool has_others = false;
  for (const std::unique_ptr<input_file>& file : run_.inputs.files()) {
    if (turn_of(run_, *file) != input_turn::continued) continue;
    has_others = true;
    if (begins_as_known(*file)) {
      place.rest = file.get();
      return 0;
    }
    if (had_its_turn(run_, *file)) return check_log(*file);
  }
  if (has_others) place.is_within = false;
  return 0;
}

int trail_state::check_logs() {
  for (const std::unique_ptr<input_file>& file : run_.inputs.files()) {
    if (file->type == FWLOG_FILE && check_volume_set(*file) != 0) return -1;
  }
  return find_rest();
}

std::vector<std::uint8_t> trail_state::bytes(const state_writer& output) {
  state_writer state;
  save_options(state);
  state.begin_section(PIECE_SECTION);
  state.u32(piece_.number);
  state.u32(piece_.count);
  state.end_section();
  save_tail(run_.forward_logs.position, state);
  save_run(parts(), state);
  state.begin_section(OUTPUT_SECTION);
  state.append(output);
  state.end_section();
  return state_file_bytes(state);
}

int trail_state::write(const std::string& name, const state_writer& output) {
  return write_state_file(name, bytes(output), run_.messages);
}
