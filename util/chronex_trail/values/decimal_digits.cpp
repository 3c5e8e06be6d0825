#include "util/chronex_trail/values/decimal_digits.h"

#include <array>

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

// The two digits of a byte as a number; NO_DIGITS where one is none.
constexpr std::uint8_t NO_DIGITS = 100;

constexpr std::array<std::uint8_t, 256> make_digit_pairs() {
  std::array<std::uint8_t, 256> pairs{};
  for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
    const std::size_t high = byte >> 4;
    const std::size_t low = byte & 0x0F;
    pairs[byte] = high > 9 || low > 9
                      ? NO_DIGITS
                      : static_cast<std::uint8_t>(high * 10 + low);
  }
  return pairs;
}

constexpr std::array<std::uint8_t, 256> DIGIT_PAIRS = make_digit_pairs();

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

std::optional<std::int64_t> packed_number(byte_run v) {
  const std::uint8_t last = v.back();
  const std::uint8_t sign = last & 0x0F;
  if (last >> 4 > 9 || sign <= 9) return std::nullopt;
  std::int64_t number = 0;
  for (const std::uint8_t byte : v.first(v.size() - 1)) {
    const std::uint8_t digits = DIGIT_PAIRS[byte];
    if (digits == NO_DIGITS) return std::nullopt;
    number = number * 100 + digits;
  }
  number = number * 10 + (last >> 4);
  return sign == PACKED_NEGATIVE ? -number : number;
}

std::optional<std::int64_t> zoned_number(byte_run v) {
  const zoned_end last = end_of(v.back());
  if (!is_digit(last.digit)) return std::nullopt;
  std::int64_t number = 0;
  for (const std::uint8_t byte : v.first(v.size() - 1)) {
    if (!is_digit(byte)) return std::nullopt;
    number = number * 10 + (byte - '0');
  }
  number = number * 10 + (last.digit - '0');
  return last.negative ? -number : number;
}
