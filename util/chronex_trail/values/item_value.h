#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_ITEM_VALUE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_ITEM_VALUE_H

// What the bytes of an item mean, decided once for all that hand a trail on as
// data. The item's type and size decide the form of its values, never a value:
// what does not fit its form is null, and the reason is told.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "util/chronex_trail/values/byte_words.h"
#include "util/chronex_trail/values/character_table.h"
#include "util/chronex_trail/values/utf8_text.h"

// The form of an item's values.
enum class value_form : std::uint8_t {
  // I and K of 1, 2, 4 and 8 bytes.
  integer,
  natural,
  // E of 4 and 8 bytes.
  real,
  // P and Z: a number as digits.
  packed,
  zoned,
  // X and U.
  text,
  // I, K and E of other sizes: 'x' and the hex digits of the number.
  hex_number,
  // B, and letters without a form of their own: the bytes as hex digits.
  hex_bytes,
};

// `size` in bytes, at least 1.
value_form value_form_of(char type, std::size_t size);

// Why a value is null, or not all that its bytes are.
enum class value_problem : std::uint8_t {
  none,
  // These are null.
  bad_digits,
  nan,
  infinite,
  // U+FFFD stands for some bytes of the text.
  undecodable,
};

// The word for a problem, as the notes of events have it.
std::string_view problem_name(value_problem problem);

// A value: the field that its form says is set, unless it is null.
struct item_value {
  // Of form integer, or natural.
  std::int64_t integer = 0;
  std::uint64_t natural = 0;
  // Of form real; of a 4-byte item it is exactly a float.
  double real = 0;
  // Of all other forms: UTF-8, valid as long as the bytes and until the next
  // value is read. Numbers have no leading zeros and '-' only when negative.
  std::string_view text{};
  value_problem problem = value_problem::none;

  bool is_null() const {
    return problem != value_problem::none &&
           problem != value_problem::undecodable;
  }
};

// Reads one element of an item; of form integer, natural and real it must have
// one of their sizes.
item_value read_value(value_form form, std::span<const std::uint8_t> bytes,
                      const character_table& characters, text_scratch& scratch);

// The bytes of a character item without the blanks and NULs at their end. Those
// are the two bytes that are zero without the bit of a blank.
inline std::span<const std::uint8_t> without_padding(
    std::span<const std::uint8_t> bytes) {
  const auto end_in = [](std::uint64_t word) {
    const std::uint64_t text = word & ~word_of(' ');
    return WORD - static_cast<std::size_t>(std::countl_zero(text)) / 8;
  };
  std::size_t begin = bytes.size();
  while (begin >= WORD) {
    begin -= WORD;
    const std::size_t length = end_in(load_word(bytes.data() + begin));
    if (length > 0) return bytes.first(begin + length);
  }
  return bytes.first(end_in(load_short_word(bytes.data(), begin)));
}

// A number in the byte order of the machine, which is that of all inputs.
template <typename number>
number stored_number(std::span<const std::uint8_t> bytes) {
  number value;
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

// The value of an element of form integer.
inline std::int64_t stored_integer(std::span<const std::uint8_t> bytes) {
  switch (bytes.size()) {
    case 1:
      return stored_number<std::int8_t>(bytes);
    case 2:
      return stored_number<std::int16_t>(bytes);
    case 4:
      return stored_number<std::int32_t>(bytes);
    default:
      return stored_number<std::int64_t>(bytes);
  }
}

// The value of an element of form natural.
inline std::uint64_t stored_natural(std::span<const std::uint8_t> bytes) {
  switch (bytes.size()) {
    case 1:
      return bytes[0];
    case 2:
      return stored_number<std::uint16_t>(bytes);
    case 4:
      return stored_number<std::uint32_t>(bytes);
    default:
      return stored_number<std::uint64_t>(bytes);
  }
}

// Writes two lower-case hex digits a byte; returns the end.
char* put_hex_digits(std::span<const std::uint8_t> bytes, char* out);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_ITEM_VALUE_H
