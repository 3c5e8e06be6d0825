#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_PATH_PART_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_PATH_PART_H

#include <string>
#include <string_view>

// A text as a part of a path that every system and engine takes: each byte but
// ASCII letters, digits, '_', '-' and an inner '.' becomes %XX. What would be
// too long for the name of a file is cut.
std::string path_part(std::string_view text);

// The base name of a file, without ".gz", as a part of a path; that of "-" is
// stdin.
std::string base_name_part(std::string_view file_name);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_PATH_PART_H
