#include "util/chronex_trail/values/decimal_digits.h"

#include <array>
#include <bit>

#include "util/chronex_trail/values/byte_words.h"

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

// The bytes of a packed decimal as one number, of which the last digit is the
// sign.
std::uint64_t packed_word(byte_run v) {
  const std::uint64_t word = load_short_word(v.data(), v.size());
  return reversed_word(word) >> (WORD - v.size()) * 8;
}

// Whether any of the 16 digits is more than 9.
bool has_bad_digit(std::uint64_t packed) {
  constexpr std::uint64_t EIGHTS = word_of(0x88);
  return (packed & (packed << 1 | packed << 2) & EIGHTS) != 0;
}

// Of at most eight bytes. How many digits there are changes from value to value
// and is no matter for branches.
inline std::size_t short_packed_digits(byte_run v, char* out) {
  const std::uint64_t word = packed_word(v);
  const std::uint64_t sign = word & 0x0F;
  const std::uint64_t digits = word >> 4;
  if (sign <= 9 || has_bad_digit(digits)) return 0;
  if (digits == 0) return put_zero(out);
  *out = '-';
  const std::size_t length = sign == PACKED_NEGATIVE ? 1 : 0;
  const int leading = std::countl_zero(digits) / 4;
  const std::uint64_t first = reversed_word(digits << leading * 4);
  store_word(half_bytes(static_cast<std::uint32_t>(first)) | word_of('0'),
             out + length);
  store_word(half_bytes(static_cast<std::uint32_t>(first >> 32)) | word_of('0'),
             out + length + WORD);
  return length + 16 - static_cast<std::size_t>(leading);
}

// The first byte is not zero.
std::size_t long_packed_digits(byte_run v, char* out) {
  const std::uint8_t last = v.back();
  const std::uint8_t sign = last & 0x0F;
  if (last >> 4 > 9 || sign <= 9) return 0;
  char* end = out;
  if (sign == PACKED_NEGATIVE) *end++ = '-';
  char* const first_digit = end;
  for (const std::uint8_t byte : v.first(v.size() - 1)) {
    if (byte > 0x99 || (byte & 0x0F) > 9) return 0;
    // The first byte may begin with a zero.
    if (end != first_digit || byte >> 4 != 0) *end++ = digit(byte >> 4);
    *end++ = digit(byte & 0x0F);
  }
  *end++ = digit(last >> 4);
  return static_cast<std::size_t>(end - out);
}

// Whether all bytes of a word are digits as text.
bool are_digits(std::uint64_t text) {
  constexpr std::uint64_t HIGH = word_of(0xF0);
  return ((text & HIGH) | ((text + word_of(0x06)) & HIGH) >> 4) ==
         word_of(0x33);
}

// The number of zeros that a word of digits begins with.
std::size_t leading_zeros(std::uint64_t text) {
  return static_cast<std::size_t>(std::countr_zero(text ^ word_of('0'))) / 8;
}

// The last eight digits of a zoned decimal whose last digit is known; for those
// that it does not have there are zeros before them.
std::uint64_t zoned_tail(byte_run v, std::uint8_t last) {
  constexpr int LAST_BYTE = 56;
  std::uint64_t text = 0;
  if (v.size() >= WORD) {
    text = load_word(v.data() + v.size() - WORD);
  } else {
    const std::size_t missing = (WORD - v.size()) * 8;
    text = load_short_word(v.data(), v.size()) << missing |
           word_of('0') >> (64 - missing);
  }
  return (text & ~(std::uint64_t{0xFF} << LAST_BYTE)) | std::uint64_t{last}
                                                            << LAST_BYTE;
}

// Of at most sixteen bytes: two words, which may overlap.
inline std::size_t short_zoned_digits(byte_run v, char* out) {
  const zoned_end last = end_of(v.back());
  const std::uint64_t tail = zoned_tail(v, last.digit);
  if (!are_digits(tail)) return 0;
  *out = '-';
  const std::size_t sign = last.negative ? 1 : 0;
  if (v.size() > WORD) {
    const std::uint64_t head = load_word(v.data());
    if (!are_digits(head)) return 0;
    const std::size_t zeros = leading_zeros(head);
    const std::size_t before_tail = v.size() - WORD;
    if (zeros < before_tail) {
      store_word(head >> zeros * 8, out + sign);
      store_word(tail, out + sign + before_tail - zeros);
      return sign + v.size() - zeros;
    }
  }
  const std::size_t zeros = leading_zeros(tail);
  if (zeros == WORD) return put_zero(out);
  store_word(tail >> zeros * 8, out + sign);
  return sign + WORD - zeros;
}

// The first byte is not a zero.
std::size_t long_zoned_digits(byte_run v, char* out) {
  const zoned_end last = end_of(v.back());
  if (!is_digit(last.digit)) return 0;
  char* end = out;
  if (last.negative) *end++ = '-';
  for (const std::uint8_t byte : v.first(v.size() - 1)) {
    if (!is_digit(byte)) return 0;
    *end++ = static_cast<char>(byte);
  }
  *end++ = static_cast<char>(last.digit);
  return static_cast<std::size_t>(end - out);
}

}  // namespace

std::size_t packed_digits(byte_run v, char* out) {
  while (v.size() > WORD && v.front() == 0) v = v.subspan(1);
  return v.size() <= WORD ? short_packed_digits(v, out)
                          : long_packed_digits(v, out);
}

std::size_t zoned_digits(byte_run v, char* out) {
  while (v.size() > 2 * WORD && v.front() == '0') v = v.subspan(1);
  return v.size() <= 2 * WORD ? short_zoned_digits(v, out)
                              : long_zoned_digits(v, out);
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
