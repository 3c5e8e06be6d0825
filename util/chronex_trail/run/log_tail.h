#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_LOG_TAIL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_LOG_TAIL_H

#include <cstdint>
#include <optional>
#include <string>

#include "common/md5.h"

// The digest of what stands in a log in front of a byte (decompressed): it
// tells whether the log is still the one that was read so far, without reading
// it again. Nothing when there are not so many bytes, or the log is no file.
std::optional<md5_digest> digest_of_tail(const std::string& name,
                                         std::uint64_t position);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_LOG_TAIL_H
