#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_JSON_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_JSON_TEXT_H

// Texts as JSON strings have them.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// The most characters that one byte of a text becomes: \u001f.
inline constexpr std::size_t LONGEST_ESCAPE = 6;

// Writes well-formed UTF-8 with quotes, backslashes and control characters
// escaped, and without the quotes around it. `out` has room for LONGEST_ESCAPE
// characters for each byte of `utf8`, and 8 more. Returns the end.
char* put_json_text(std::string_view utf8, char* out);

// Writes the first `length` of `bytes`, behind which there are blanks and NULs
// only, as they are, if they are ASCII without anything to escape; returns the
// end, or null if they are not. `out` has room for 8 characters more.
char* put_plain_ascii(std::span<const std::uint8_t> bytes, std::size_t length,
                      char* out);

// Appends a whole JSON string, quotes included.
void append_json_string(std::string& out, std::string_view utf8);

// Appends `,"KEY":"TEXT"`, for objects that already have a member. The key
// needs no escapes.
void append_json_member(std::string& out, std::string_view key,
                        std::string_view utf8);
// The same with a whole number.
void append_json_member(std::string& out, std::string_view key,
                        std::int64_t number);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_JSON_TEXT_H
