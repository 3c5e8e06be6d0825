#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_HEADER_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_HEADER_H

#include "util/chronex/input/input_file.h"

// Reads the header of a newly opened input. The result is 0 for a forward log;
// 1 when the file is something else, of which the signature block has then been
// read; -1 when the header is bad or cannot be read; the message has been
// printed. The first header that names a character set fixes that of the run,
// `charset_id` (charset.h), and every further forward log must have the same.
int fwlog_read_file_header(input_file& file, int& charset_id);

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_HEADER_H
