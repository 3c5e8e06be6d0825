#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_RUN_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_RUN_H

// A run of the stages that chronex has, too, up to the outputs; each command
// adds its own.

#include <optional>

#include "util/chronex/audit_file/audit_reader.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/filter/item_names.h"
#include "util/chronex/filter/name_check.h"
#include "util/chronex/forward_log/fwlog.h"
#include "util/chronex/input/charset.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/run/inputs.h"
#include "util/chronex/run/progress.h"
#include "util/chronex/trail/trail.h"
#include "util/chronex_trail/run/shared_options.h"

struct trail_run {
  run_messages messages;
  run_filter filter{messages};
  item_name_list item_names{messages};
  // Set once the run is prepared.
  std::optional<name_check> names;
  trail events{messages, filter};
  scratch_buffer scratch{messages};
  fwlog_reader forward_logs{events, scratch};
  audit_reader audit_files{events, scratch};
  // NO_CHARSET until an input header fixes it.
  int charset_id = NO_CHARSET;
  input_list inputs{messages, charset_id};
  progress_mode progress = progress_mode::automatic;
};

// Unlocks master keys, opens the inputs and reads their headers, and compiles
// the filter: all that can fail before something is written. Returns 0, or -1
// with a message.
int prepare_run(trail_run& run, const shared_options& options);

// Processes all inputs, and says on standard error which names of the filter
// and of -I none of them has. Returns the exit status, 0 or 1; messages have
// been printed.
int process_inputs(trail_run& run);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_RUN_H
