#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_FILE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_FILE_H

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/page/page_data.h"

// Writes a page: one HTML file that needs nothing else. No text of a trail is
// markup in it: all data stand compressed and in base64, and the script sets
// texts only. Scripts and styles run by their digests, which the page's policy
// lists; nothing else may run, and nothing may be loaded. Returns 0, or -1 as
// the sink does.
int write_page(byte_sink& sink, const page_data& data, std::size_t row_count);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_FILE_H
