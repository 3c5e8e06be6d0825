#include "util/chronex_trail/follow/follow_run.h"

#include "util/libmkey/mkey.h"

// The logs must be found by what the state knows of the last one.
int follow_run::go_on() {
  if (state_->restore() != 0) return -1;
  const input_file* const last = run_.forward_logs.position.file;
  if (last == nullptr) return 0;
  if (first_ != nullptr) return state_->damaged();
  follower.has_rest = [this](const std::string& name) {
    return state_->begins_as_known(name);
  };
  return follower.go_on_behind({.volume_set_id = last->volume_set_id,
                                .generation = last->generation,
                                .sequence = last->sequence},
                               run_.goes_on_behind->is_within);
}

int follow_run::prepare(const shared_options& options, trail_state* state) {
  state_ = state;
  if (options.use_master_keys && ko_mkey_init() != 0) return -1;
  take_damage_option(run_, options);
  run_.forward_logs.awaits_whole_actions = true;
  if (follower.open(options.operands) != 0) return -1;
  // The selection is made in the characters of the logs.
  if (run_.charset_id == NO_CHARSET) first_ = follower.next();
  if (follower.has_failed()) return -1;
  if (prepare_selection(run_, options) != 0) return -1;
  return state_ == nullptr ? 0 : go_on();
}

// Only the first log can be one that goes on.
int follow_run::process_log(input_file& log) {
  const input_file* const last = run_.forward_logs.position.file;
  if (run_.goes_on_behind && last->volume_set_id != log.volume_set_id) {
    run_.goes_on_behind.reset();
  }
  if (state_ != nullptr && turn_of(run_, log) == input_turn::continued &&
      state_->check_log(log) != 0) {
    return -1;
  }
  const int result = ::process_log(run_, log);
  run_.goes_on_behind.reset();
  return result;
}

int follow_run::process_logs() {
  input_file* log = first_ != nullptr ? first_ : follower.next();
  for (; log != nullptr; log = follower.next()) {
    if (process_log(*log) < 0) return -1;
  }
  return follower.has_failed() ? -1 : 0;
}

int follow_run::process() {
  return guarded_run(run_, [this] { return process_logs(); });
}
