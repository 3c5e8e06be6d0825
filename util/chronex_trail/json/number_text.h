#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_NUMBER_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_NUMBER_TEXT_H

// Whole numbers as digits. How many there are changes from number to number and
// is no matter for branches, which would be guessed wrong.

#include <bit>
#include <cstddef>
#include <cstdint>

#include "util/chronex_trail/values/byte_words.h"

// The room that put_natural and put_integer need; what is behind the digits may
// be written, too.
inline constexpr std::size_t NUMBER_ROOM = 32;

inline constexpr std::uint64_t EIGHT_DIGITS = 100'000'000;

// The digits of a number below EIGHT_DIGITS, one a byte, the first one in the
// lowest byte: halves of four digits are divided at once, then all pairs.
constexpr std::uint64_t eight_digits(std::uint32_t number) {
  const std::uint64_t halves = number / 10000 | std::uint64_t{number % 10000}
                                                    << 32;
  const std::uint64_t hundreds = halves * 10486 >> 20 & 0x0000007F'0000007F;
  const std::uint64_t pairs = hundreds | (halves - hundreds * 100) << 16;
  const std::uint64_t tens = pairs * 103 >> 10 & 0x000F000F'000F000F;
  return tens | (pairs - tens * 10) << 8;
}

// Of EIGHT_DIGITS and more.
char* put_long_natural(std::uint64_t number, char* out);

// They return the end of the digits.
inline char* put_natural(std::uint64_t number, char* out) {
  if (number >= EIGHT_DIGITS) return put_long_natural(number, out);
  const std::uint64_t digits = eight_digits(static_cast<std::uint32_t>(number));
  // The last digit stays, also when it is zero.
  const int zeros = std::countr_zero(digits | std::uint64_t{1} << 56) / 8;
  store_word((digits | word_of('0')) >> zeros * 8, out);
  return out + WORD - zeros;
}

inline char* put_integer(std::int64_t number, char* out) {
  const auto bits = static_cast<std::uint64_t>(number);
  *out = '-';
  return number < 0 ? put_natural(0 - bits, out + 1) : put_natural(bits, out);
}

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_NUMBER_TEXT_H
