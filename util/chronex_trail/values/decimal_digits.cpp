#include "util/chronex_trail/values/decimal_digits.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::uint8_t PACKED_NEGATIVE = 0xD;

std::size_t put_zero(char* out) {
  *out = '0';
  return 1;
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
  const std::uint8_t last = v.back();
  const std::uint8_t sign = last & 0x0F;
  if (last >> 4 > 9 || sign <= 9) return 0;
  byte_run leading = v.first(v.size() - 1);
  while (!leading.empty() && leading.front() == 0) leading = leading.subspan(1);
  if (leading.empty() && last >> 4 == 0) return put_zero(out);

  char* end = out;
  if (sign == PACKED_NEGATIVE) *end++ = '-';
  char* const first_digit = end;
  for (const std::uint8_t byte : leading) {
    if (byte > 0x99 || (byte & 0x0F) > 9) return 0;
    // The first byte may begin with a zero.
    if (end != first_digit || byte >> 4 != 0) *end++ = digit(byte >> 4);
    *end++ = digit(byte & 0x0F);
  }
  *end++ = digit(last >> 4);
  return static_cast<std::size_t>(end - out);
}

std::size_t zoned_digits(byte_run v, char* out) {
  const zoned_end last = end_of(v.back());
  if (!is_digit(last.digit)) return 0;
  byte_run leading = v.first(v.size() - 1);
  while (!leading.empty() && leading.front() == '0') {
    leading = leading.subspan(1);
  }
  if (leading.empty() && last.digit == '0') return put_zero(out);

  char* end = out;
  if (last.negative) *end++ = '-';
  for (const std::uint8_t byte : leading) {
    if (!is_digit(byte)) return 0;
    *end++ = static_cast<char>(byte);
  }
  *end++ = static_cast<char>(last.digit);
  return static_cast<std::size_t>(end - out);
}
