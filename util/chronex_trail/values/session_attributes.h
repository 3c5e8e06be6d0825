#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_SESSION_ATTRIBUTES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_SESSION_ATTRIBUTES_H

// The key{value} pairs of a session's sign-on data.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/byte_cursor.h"

// One pair as it stands in the sign-on data: in the value a backslash makes the
// next character literal.
struct session_attribute_text {
  std::string_view key;
  std::string_view value;
};

// Walks over the pairs of all strings, from the first to the last. What is no
// pair ends its string, and a string that is cut ends them all.
class session_attribute_walk {
 public:
  explicit session_attribute_walk(std::span<const std::uint8_t> sign_on);

  // The next pair, borrowed from the sign-on data; none = that was the last.
  std::optional<session_attribute_text> next();

 private:
  bool next_string();

  byte_cursor strings_;
  std::uint16_t strings_left_ = 0;
  // What is left of the string.
  std::string_view text_;
};

// The first pair with exactly this key, but for upper and lower case.
std::optional<session_attribute_text> find_session_attribute(
    std::span<const std::uint8_t> sign_on, std::string_view key);

// A value with its backslashes resolved.
std::string unescaped(std::string_view value);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_SESSION_ATTRIBUTES_H
