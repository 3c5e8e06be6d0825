#ifndef CHRONEX_UTIL_CHRONEX_REPORT_FILE_PROGRESS_H
#define CHRONEX_UTIL_CHRONEX_REPORT_FILE_PROGRESS_H

#include "util/chronex/input/input_file.h"

// Reports that a file is being processed. Returns false when the report does
// not show files.
bool report_file_begin(const input_file& file);

// Reports what the headers of all kinds of files say: version, byte order and
// character set. Needs a report stream.
void report_file_version(const input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_FILE_PROGRESS_H
