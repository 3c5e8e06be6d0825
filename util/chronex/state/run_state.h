#ifndef CHRONEX_UTIL_CHRONEX_STATE_RUN_STATE_H
#define CHRONEX_UTIL_CHRONEX_STATE_RUN_STATE_H

// What a run carries from one action to the next, written down so that another
// run goes on where it stopped: sessions with their memos and what was shown of
// them, databases, data sets and keys, images that wait, the numbers of the
// logs, and the place. doc/state-file.md describes the bytes.
//
// Nothing that was deciphered is in them: images of encrypted data sets stand
// as they were stored, and keys as the log has them. So the run must have had
// trail::keeps_stored from its beginning on.

#include <memory>
#include <string>
#include <vector>

#include "util/chronex/filter/name_check.h"
#include "util/chronex/forward_log/fwlog.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/state/state_bytes.h"
#include "util/chronex/trail/trail.h"

// The parts of a run that are written down.
struct run_parts {
  trail& events;
  fwlog_reader& forward_logs;
  int& charset_id;
  // Null: no names are looked for.
  name_check* names = nullptr;
  // Takes the inputs of earlier runs that something still refers to. They have
  // no stream.
  std::vector<std::unique_ptr<input_file>>& earlier_files;
};

// To be called between two actions: within an output's action_done(), or when
// the reader of a file has returned.
void save_run(const run_parts& run, state_writer& state);

// Puts a state into a run that has processed nothing yet. Returns 0, or -1 with
// what is wrong in `problem`: empty = the bytes are no state. Messages of what
// was told before are not repeated.
int restore_run(const run_parts& run, state_reader& state,
                std::string& problem);

// The character set id of the run that was written down.
int charset_of_state(state_reader state);

#endif  // CHRONEX_UTIL_CHRONEX_STATE_RUN_STATE_H
