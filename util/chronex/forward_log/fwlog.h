#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "util/chronex/forward_log/action_extent.h"
#include "util/chronex/forward_log/continuity.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/keys/sealed_origin.h"
#include "util/chronex/trail/trail.h"

// Where the reading of forward logs stands: in front of the next action.
struct log_position {
  // The log whose turn came last; null = none so far.
  const input_file* file = nullptr;
  // The names of all logs of that generation and sequence that had their turn.
  std::vector<std::string> names;
  // Nothing of it is left to be read, or to be told.
  bool is_done = false;
  // The number of the next action was checked; its body had not come yet.
  bool is_number_checked = false;
  // Of what the log is when decompressed.
  std::uint64_t byte = 0;
  // What was being read when a growing log ended; empty = it did not.
  std::string missing;
  // The action before, where actions are read with care; none has number 0.
  action_head last;
  // A growing log ended in the midst of these; it is not known how far they
  // reach.
  std::optional<damaged_bytes> open_damage;
};

// Reads the forward logs of a run, one after the other. Numbers are followed
// from file to file.
class fwlog_reader {
 public:
  // Both are the run's and outlive the reader.
  fwlog_reader(trail& trail_of_run, scratch_buffer& scratch_of_run)
      : events(trail_of_run), scratch(scratch_of_run), numbers(trail_of_run) {}

  // Processes a forward log whose header has been read: its actions become
  // sessions, databases, data sets, keys, memos and record operations. Returns
  // 1 when the file is done, complete or not, or -1 after a failure that ends
  // the run; its message has been printed.
  int fwlog_process_file(input_file& file);

  // The same for the rest of the log that `position` is in the midst of; the
  // stream stands at that byte.
  int fwlog_go_on(input_file& file);

  // Tells that the log of `position` has ended in the midst of an action or of
  // damage, as nothing more of it will come.
  void tell_missing_rest();

  // Where actions break the format, or bytes are none, reading goes on with the
  // next ones; what was known before counts as uncertain then.
  bool passes_over_damage = false;
  // Actions are processed only once they are there as a whole.
  bool awaits_whole_actions = false;

  // A growing file was left within its actions because the run is to end; what
  // came of it is whole.
  bool was_interrupted = false;

  // For the readers of single actions.
  trail& events;
  scratch_buffer& scratch;
  continuity numbers;
  sealed_origins origins;

  log_position position;
  // The log is still being written: that it ends in the midst of an action is
  // no loss, and `position` stays in front of that action.
  bool is_growing = false;
  // What is wrong with a malformed action, where damage is passed over.
  std::string problem;
  // Data sets of which was told that their operations are passed over.
  std::set<std::int32_t> unknown_sets;

 private:
  void begin_log(const input_file& file);
  int process_actions(input_file& file);
};

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H
