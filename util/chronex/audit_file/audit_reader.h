#ifndef CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_READER_H
#define CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_READER_H

// Audit files as input: their records are replayed into the same tables and
// writers as the actions of a forward log.

#include "util/chronex/input/input_file.h"

// Reads the header of an audit file whose signature block has been read.
// Returns 0, or -1 when the file cannot be used; the message has been printed.
int audit_read_file_header(input_file& file);

// Processes an audit file whose header has been read. Returns 0 at its end, or
// -1 when it could not be processed to its end; the message has been printed.
int audit_process_file(input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_READER_H
