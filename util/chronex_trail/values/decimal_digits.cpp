#include "util/chronex_trail/values/decimal_digits.h"

#include <cstring>

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::uint8_t PACKED_NEGATIVE = 0xD;

// Ends a number whose digits, at least one, stand behind a place for the sign.
std::size_t finish(char* out, std::size_t digits, bool negative) {
  const char* const begin = out + 1;
  std::size_t zeros = 0;
  while (zeros + 1 < digits && begin[zeros] == '0') ++zeros;
  const std::size_t length = digits - zeros;
  const bool is_zero = length == 1 && begin[zeros] == '0';
  const std::size_t sign = negative && !is_zero ? 1 : 0;
  if (sign != 0) out[0] = '-';
  std::memmove(out + sign, begin + zeros, length);
  return sign + length;
}

char digit(int number) { return static_cast<char>('0' + number); }

// The last byte of a zoned decimal: its digit as a character, and its sign.
struct zoned_end {
  std::uint8_t digit;
  bool negative;
};

zoned_end end_of(std::uint8_t last) {
  if (last >= '0' && last <= '9') return {last, false};
  if (last == '{') return {'0', false};
  if (last == '}') return {'0', true};
  if (last < 'J') return {static_cast<std::uint8_t>(last - 0x10), false};
  return {static_cast<std::uint8_t>(last - 0x19), true};
}

bool is_digit(std::uint8_t character) {
  return character >= '0' && character <= '9';
}

}  // namespace

std::size_t packed_digits(byte_run v, char* out) {
  char* end = out + 1;
  for (const std::uint8_t byte : v.first(v.size() - 1)) {
    if (byte > 0x99 || (byte & 0x0F) > 9) return 0;
    *end++ = digit(byte >> 4);
    *end++ = digit(byte & 0x0F);
  }
  const std::uint8_t last = v.back();
  const std::uint8_t sign = last & 0x0F;
  if (last >> 4 > 9 || sign <= 9) return 0;
  *end++ = digit(last >> 4);
  return finish(out, static_cast<std::size_t>(end - out) - 1,
                sign == PACKED_NEGATIVE);
}

std::size_t zoned_digits(byte_run v, char* out) {
  char* end = out + 1;
  for (const std::uint8_t byte : v.first(v.size() - 1)) {
    if (!is_digit(byte)) return 0;
    *end++ = static_cast<char>(byte);
  }
  const zoned_end last = end_of(v.back());
  if (!is_digit(last.digit)) return 0;
  *end++ = static_cast<char>(last.digit);
  return finish(out, v.size(), last.negative);
}
