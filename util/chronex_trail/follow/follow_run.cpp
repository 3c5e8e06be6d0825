#include "util/chronex_trail/follow/follow_run.h"

#include "util/libmkey/mkey.h"

int follow_run::prepare(const shared_options& options) {
  if (options.use_master_keys && ko_mkey_init() != 0) return -1;
  take_damage_option(run_, options);
  run_.forward_logs.awaits_whole_actions = true;
  if (follower.open(options.operands) != 0) return -1;
  first_ = follower.next();
  if (follower.has_failed()) return -1;
  return prepare_selection(run_, options);
}

int follow_run::process_logs() {
  for (input_file* log = first_; log != nullptr; log = follower.next()) {
    if (run_.forward_logs.fwlog_process_file(*log) < 0) return -1;
  }
  return follower.has_failed() ? -1 : 0;
}

int follow_run::process() {
  return guarded_run(run_, [this] { return process_logs(); });
}
