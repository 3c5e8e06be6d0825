#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H

#include "util/chronex/forward_log/continuity.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/trail/trail.h"

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

  // For the readers of single actions.
  trail& events;
  scratch_buffer& scratch;
  continuity numbers;
};

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H
