#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_HEADER_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_HEADER_H

#include <cstdint>
#include <span>

#include "util/chronex/input/input_file.h"

// Whether a file that begins with these bytes, as many as there are, may be a
// forward log.
bool may_be_forward_log(std::span<const std::uint8_t> bytes);

// Reads the header of a newly opened input. The result is 0 for a forward log;
// 1 when the file is something else, of which the signature block has then been
// read; -1 when the header is bad or cannot be read; the message has been
// printed. The first header that names a character set fixes that of the run,
// `charset_id` (charset.h), and every further forward log must have the same.
int fwlog_read_file_header(input_file& file, int& charset_id);

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_HEADER_H
