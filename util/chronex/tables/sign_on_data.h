#ifndef CHRONEX_UTIL_CHRONEX_TABLES_SIGN_ON_DATA_H
#define CHRONEX_UTIL_CHRONEX_TABLES_SIGN_ON_DATA_H

// The data that a client gave when it signed on, as they stand in the forward
// log, in memory and in the audit file:
//
//   u16 number of strings, then for each: u16 length | that many bytes
//
// in the byte order of the machine. Data without a byte stand for a sign-on
// without data. The strings hold attributes in the form key{value}; inside the
// braces a backslash makes the next character literal.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "common/byte_cursor.h"
#include "common/owned_bytes.h"

// Walks over the strings of sign-on data that are whole; the first one that
// the data end within ends the walk.
class sign_on_strings {
 public:
  // The data are borrowed, and with them every string.
  explicit sign_on_strings(std::span<const std::uint8_t> data);

  // Gives the next string; false when there is none.
  [[nodiscard]] bool next(std::string_view& text);

  // Strings and bytes that the walk has not come to.
  std::size_t strings_left() const { return strings_left_; }
  std::size_t bytes_left() const { return cursor_.remaining(); }

 private:
  byte_cursor cursor_;
  std::uint16_t strings_left_ = 0;
};

// Walks over the key{value} pairs of one string. A text that ends before a
// value begins, or within one, ends the walk.
class sign_on_pairs {
 public:
  explicit sign_on_pairs(std::string_view text) : rest_(text) {}

  // Gives the next key and its value as it stands in the text, backslashes
  // included; false when there is none.
  [[nodiscard]] bool next(std::string_view& key, std::string_view& value);

 private:
  std::string_view rest_;
};

// Copies a value without the backslashes that made a character literal, as far
// as the buffer has room. Returns the number of characters copied.
std::size_t sign_on_copy_value(std::string_view value, std::span<char> buffer);

// Whether the data have as many strings as they say and not a byte more; true
// of no data.
bool sign_on_is_exact(std::span<const std::uint8_t> data);

// Makes `copy` the normal form of the data: the strings that are whole, with
// their number, which is 0 where the data are too short to hold one. Of exact
// data that is a plain copy. Returns false, with errno ENOMEM, when there is no
// memory.
[[nodiscard]] bool sign_on_normal_form(std::span<const std::uint8_t> data,
                                       owned_bytes& copy);

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_SIGN_ON_DATA_H
