#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H

#include "util/chronex/input/input_file.h"

// Processes a forward log whose header has been read: its actions become
// sessions, databases, data sets, keys, memos and record operations. Tables and
// pending before-images carry over from one file to the next. Returns 1 when
// the file is done, complete or not, or -1 after a failure that ends the run;
// its message has been printed.
int fwlog_process_file(input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_H
