#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_INPUT_DIGEST_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_INPUT_DIGEST_H

#include <cstdint>
#include <optional>
#include <string>

// What proves that a file is the one that was read.
struct input_digest {
  // In bytes, as it is stored.
  std::uint64_t size = 0;
  // SHA-256 in lower-case hex.
  std::string sha256;
};

// Reads a file from its beginning to its end. None when it is no regular file,
// or cannot be read.
std::optional<input_digest> digest_of_file(const std::string& name);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_INPUT_DIGEST_H
