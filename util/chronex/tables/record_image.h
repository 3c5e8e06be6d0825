#ifndef CHRONEX_UTIL_CHRONEX_TABLES_RECORD_IMAGE_H
#define CHRONEX_UTIL_CHRONEX_TABLES_RECORD_IMAGE_H

#include <cstdint>
#include <span>

// The contents of a record in clear text, borrowed, as long as the record of
// its data set; or none. A record may have no bytes at all, so it is the
// pointer that tells: an image that is not there is a null pointer.
using record_image = std::span<const std::uint8_t>;

inline bool is_there(record_image image) { return image.data() != nullptr; }

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_RECORD_IMAGE_H
