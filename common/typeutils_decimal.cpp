// Zoned and packed decimal.

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "common/typeutils.h"

namespace {

// What an overpunched last byte adds to its digit, 1 to 9; 0 has bytes of its
// own.
constexpr std::uint8_t POSITIVE_OVERPUNCH = 0x10;
constexpr std::uint8_t NEGATIVE_OVERPUNCH = 0x19;
constexpr std::uint8_t POSITIVE_ZERO = '{';
constexpr std::uint8_t NEGATIVE_ZERO = '}';

constexpr std::uint8_t PACKED_POSITIVE = 0xC;
constexpr std::uint8_t PACKED_NEGATIVE = 0xD;
constexpr std::uint8_t PACKED_UNSIGNED = 0xF;

constexpr char NO_SIGN = '\0';

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }

// A decimal text, taken apart.
struct decimal_text {
  char sign = NO_SIGN;      // '+', '-' or NO_SIGN
  bool any_digit = false;   // a leading zero counts
  std::string_view digits;  // without leading zeros
};

decimal_text split_decimal(std::string_view str, const char** end_p) {
  decimal_text text;
  std::size_t pos = 0;
  if (!str.empty() && (str[0] == '+' || str[0] == '-')) text.sign = str[pos++];
  const std::size_t first = pos;
  while (pos < str.size() && str[pos] == '0') ++pos;
  const std::size_t significant = pos;
  while (pos < str.size() && is_digit(str[pos])) ++pos;
  text.any_digit = pos > first;
  text.digits = str.substr(significant, pos - significant);
  if (end_p != nullptr) *end_p = str.data() + pos;
  return text;
}

bool is_negative(const decimal_text& text) {
  return text.sign == '-' && !text.digits.empty();
}

int scan_result(const decimal_text& text, bool over) {
  if (!text.any_digit) return -1;
  return over ? 1 : 0;
}

// Text that is built in the caller's buffer and stops growing when only the
// byte for the NUL is left.
class bounded_text {
 public:
  explicit bounded_text(std::span<char> buf)
      : start_(buf.data()), next_(start_), limit_(start_ + buf.size() - 1) {}

  void put(char c) {
    if (next_ == limit_) {
      over_ = true;
    } else {
      *next_++ = c;
    }
  }
  void put_sign(char sign) {
    if (sign != NO_SIGN) put(sign);
  }

  // Ends the text; returns the result of the printing operation.
  int finish(std::size_t* length) {
    *next_ = '\0';
    if (length != nullptr) *length = static_cast<std::size_t>(next_ - start_);
    return over_ ? 1 : 0;
  }

 private:
  char* start_;
  char* next_;
  char* limit_;
  bool over_ = false;
};

// The last byte of a zoned value, decoded.
struct zoned_end {
  std::uint8_t digit;  // as a character
  char sign;           // '+', '-' or NO_SIGN
};

zoned_end decode_zoned_end(std::uint8_t last) {
  if (last >= '0' && last <= '9') return {last, NO_SIGN};
  if (last == POSITIVE_ZERO) return {'0', '+'};
  if (last == NEGATIVE_ZERO) return {'0', '-'};
  if (last < 'J') {
    return {static_cast<std::uint8_t>(last - POSITIVE_OVERPUNCH), '+'};
  }
  return {static_cast<std::uint8_t>(last - NEGATIVE_OVERPUNCH), '-'};
}

std::uint8_t overpunch(std::uint8_t digit, bool negative) {
  if (digit == '0') return negative ? NEGATIVE_ZERO : POSITIVE_ZERO;
  const int added = negative ? NEGATIVE_OVERPUNCH : POSITIVE_OVERPUNCH;
  return static_cast<std::uint8_t>(digit + added);
}

char packed_sign(std::uint8_t last) {
  switch (last & 0x0F) {
    case PACKED_POSITIVE:
      return '+';
    case PACKED_NEGATIVE:
      return '-';
    default:
      return NO_SIGN;
  }
}

// The characters of the two nibbles of every byte.
constexpr auto PACKED_DIGITS = [] {
  std::array<std::array<char, 2>, 256> digits{};
  for (std::size_t byte = 0; byte < digits.size(); ++byte) {
    digits[byte] = {static_cast<char>('0' + byte / 16),
                    static_cast<char>('0' + byte % 16)};
  }
  return digits;
}();

std::uint8_t pack(std::uint8_t high, std::uint8_t low) {
  return static_cast<std::uint8_t>(high << 4 | low);
}

// A stored decimal as the comparison sees it.
struct decimal_value {
  std::span<const std::uint8_t> leading;  // every byte but the last
  int last_digit;
  int zero_digit;          // what last_digit is when the digit is 0
  std::uint8_t zero_fill;  // what the leading bytes of zero are
  bool negative;
};

decimal_value zoned_value(std::span<const std::uint8_t> v) {
  const zoned_end end = decode_zoned_end(v.back());
  return {v.first(v.size() - 1), end.digit, '0', '0', end.sign == '-'};
}

decimal_value packed_value(std::span<const std::uint8_t> v) {
  const bool negative = packed_sign(v.back()) == '-';
  return {v.first(v.size() - 1), v.back() >> 4, 0, 0x00, negative};
}

bool is_zero(const decimal_value& v) {
  return v.last_digit == v.zero_digit &&
         std::all_of(v.leading.begin(), v.leading.end(),
                     [&v](std::uint8_t byte) { return byte == v.zero_fill; });
}

// Byte order is numeric order because both values have the same width and the
// same fill for leading zeros.
int compare_decimal(decimal_value a, decimal_value b) {
  if (a.negative != b.negative) {
    if (a.negative && is_zero(a)) a.negative = false;
    if (b.negative && is_zero(b)) b.negative = false;
    if (a.negative != b.negative) return a.negative ? -1 : 1;
  }
  const int sign = a.negative ? -1 : 1;
  for (std::size_t i = 0; i < a.leading.size(); ++i) {
    const int difference = a.leading[i] - b.leading[i];
    if (difference != 0) return difference * sign;
  }
  return (a.last_digit - b.last_digit) * sign;
}

}  // namespace

int idb__scan_zoned(std::span<std::uint8_t> buf, const char** end_p,
                    std::string_view str) {
  const std::size_t buf_sz = buf.size();
  assert(buf_sz > 0);
  const decimal_text text = split_decimal(str, end_p);
  const std::size_t kept = std::min(text.digits.size(), buf_sz);
  const std::size_t fill = buf_sz - kept;
  for (std::size_t i = 0; i < fill; ++i) buf[i] = '0';
  for (std::size_t i = 0; i < kept; ++i) {
    buf[fill + i] = static_cast<std::uint8_t>(text.digits[i]);
  }
  if (text.sign != NO_SIGN) {
    buf.back() = overpunch(buf.back(), is_negative(text));
  }
  return scan_result(text, kept < text.digits.size());
}

int idb__scan_packed(std::span<std::uint8_t> buf, const char** end_p,
                     std::string_view str) {
  std::size_t buf_sz = buf.size();  // bytes not yet written
  assert(buf_sz > 0);
  const decimal_text text = split_decimal(str, end_p);
  const std::size_t needed = text.digits.size() / 2 + 1;
  std::uint8_t* out = buf.data();
  for (; buf_sz > needed; --buf_sz) *out++ = 0x00;

  // With an even number of digits the first one finds a 0 before it in its
  // byte, which counts as a waiting nibble like any other.
  int nbl = text.digits.size() % 2 == 0 ? 1 : 0;
  std::uint8_t waiting = 0;
  bool over = false;
  for (const char c : text.digits) {
    const auto digit = static_cast<std::uint8_t>(c - '0');
    if (nbl == 0) {
      waiting = digit;
      nbl = 1;
      continue;
    }
    if (buf_sz == 1) {
      over = true;
      break;
    }
    *out++ = pack(waiting, digit);
    --buf_sz;
    nbl = 0;
  }
  assert(nbl == 1);
  assert(buf_sz == 1);
  std::uint8_t sign = PACKED_UNSIGNED;
  if (text.sign != NO_SIGN) {
    sign = is_negative(text) ? PACKED_NEGATIVE : PACKED_POSITIVE;
  }
  *out = pack(waiting, sign);
  return scan_result(text, over);
}

int idb__fmt_zoned(std::span<char> buf, std::span<const std::uint8_t> v,
                   std::size_t* length) {
  const std::size_t buf_sz = buf.size();
  const std::size_t v_len = v.size();
  assert(buf_sz > 0 && v_len > 0);
  const zoned_end end = decode_zoned_end(v.back());
  bounded_text text(buf);
  std::size_t i = 0;
  while (i < v_len - 1 && v[i] == '0') ++i;
  text.put_sign(end.sign);
  for (; i < v_len - 1; ++i) text.put(static_cast<char>(v[i]));
  text.put(static_cast<char>(end.digit));
  return text.finish(length);
}

char* idb__write_packed(std::span<const std::uint8_t> v, char* place) {
  const std::size_t last = v.size() - 1;
  std::size_t i = 0;
  while (i < last && v[i] == 0x00) ++i;
  const char sign = packed_sign(v[last]);
  *place = sign;
  if (sign != NO_SIGN) ++place;
  if (i < last && v[i] >> 4U == 0) {
    *place++ = PACKED_DIGITS[v[i]][1];
    ++i;
  }
  for (; i < last; ++i, place += 2) {
    std::memcpy(place, PACKED_DIGITS[v[i]].data(), 2);
  }
  *place++ = PACKED_DIGITS[v[last]][0];
  return place;
}

int idb__fmt_packed(std::span<char> buf, std::span<const std::uint8_t> v,
                    std::size_t* length) {
  const std::size_t buf_sz = buf.size();
  const std::size_t v_len = v.size();
  assert(buf_sz > 0 && v_len > 0);
  bounded_text text(buf);
  std::size_t i = 0;
  while (i < v_len - 1 && v[i] == 0x00) ++i;
  text.put_sign(packed_sign(v.back()));
  if (i < v_len - 1 && v[i] >> 4U == 0) text.put(PACKED_DIGITS[v[i++]][1]);
  for (; i < v_len - 1; ++i) {
    text.put(PACKED_DIGITS[v[i]][0]);
    text.put(PACKED_DIGITS[v[i]][1]);
  }
  text.put(PACKED_DIGITS[v.back()][0]);
  return text.finish(length);
}

int idb__cmp_zoned(std::span<const std::uint8_t> a,
                   std::span<const std::uint8_t> b) {
  const std::size_t len = a.size();
  assert(len > 0);
  assert(b.size() == len);
  return compare_decimal(zoned_value(a), zoned_value(b));
}

int idb__cmp_packed(std::span<const std::uint8_t> a,
                    std::span<const std::uint8_t> b) {
  const std::size_t len = a.size();
  assert(len > 0);
  assert(b.size() == len);
  return compare_decimal(packed_value(a), packed_value(b));
}
