// Binary integers, IEEE floats, the hex form, character fill, and the table of
// item types.

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>

#include "common/typeutils.h"

// Values are stored in the byte order of the host; the hex form and the walk
// over odd widths take it to be this one.
static_assert(std::endian::native == std::endian::little);

namespace {

// Room for every decimal text and for the hex form of a float of odd width.
constexpr std::size_t WORK_SIZE = 64;

template <typename number>
number load(std::span<const std::uint8_t> v, std::size_t offset = 0) {
  number value;
  std::memcpy(&value, v.data() + offset, sizeof(value));
  return value;
}

template <typename number>
int compare(number a, number b) {
  if (a == b) return 0;
  return a < b ? -1 : 1;
}

void store_zero(std::span<std::uint8_t> buf) {
  std::fill(buf.begin(), buf.end(), std::uint8_t{0});
}

// Copies the text and a NUL into buf; returns 1 when it had to be cut.
int copy_text(std::span<char> buf, std::string_view text, std::size_t* length) {
  const std::size_t copied = text.copy(buf.data(), buf.size() - 1);
  buf[copied] = '\0';
  if (length != nullptr) *length = copied;
  return copied < text.size() ? 1 : 0;
}

bool is_hex_text(std::string_view str) { return !str.empty() && str[0] == 'x'; }

// The value of a hex digit, or -1.
int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Scans a text that begins with 'x', for the scans of all binary forms; when
// there are too many digits the leading ones are kept.
int scan_hex_endian(std::span<std::uint8_t> buf, const char** end_p,
                    std::string_view str) {
  const std::size_t buf_sz = buf.size();
  const std::size_t str_len = str.size();
  const char* str_p = str.data();
  assert(buf_sz > 0 && str_len > 0);
  assert(*str_p == 'x');
  std::size_t pos = 1;
  while (pos < str_len && str[pos] == '0') ++pos;
  const bool zero_seen = pos > 1;
  const std::size_t first = pos;
  while (pos < str_len && hex_digit(str[pos]) >= 0) ++pos;
  if (end_p != nullptr) *end_p = str_p + pos;

  const std::string_view digits = str.substr(first, pos - first);
  const std::size_t needed = (digits.size() + 1) / 2;
  store_zero(buf);
  bool pending = digits.size() % 2 != 0;  // the first digit stands by itself
  int value = 0;
  std::size_t place = std::min(needed, buf_sz);
  for (const char c : digits) {
    value = value << 4 | hex_digit(c);
    pending = !pending;
    if (pending) continue;
    if (place == 0) break;
    buf[--place] = static_cast<std::uint8_t>(value);
    value = 0;
  }
  if (digits.empty() && !zero_seen) return -1;
  return needed > buf_sz ? 1 : 0;
}

// Writes the hex form of v at `position`, at most `room` characters and no NUL;
// both are moved on. Returns 1 when the room ran out.
int fmt_hex_endian(char*& position, std::size_t& room,
                   std::span<const std::uint8_t> v) {
  static constexpr char DIGITS[] = "0123456789abcdef";
  const auto put = [&position, &room](char c) {
    if (room == 0) return false;
    *position++ = c;
    --room;
    return true;
  };
  if (!put('x')) return 1;
  std::size_t left = v.size();
  while (left > 1 && v[left - 1] == 0x00) --left;
  for (; left > 0; --left) {
    const std::uint8_t byte = v[left - 1];
    if (!put(DIGITS[byte >> 4]) || !put(DIGITS[byte & 0x0F])) return 1;
  }
  return 0;
}

int fmt_hex(std::span<char> buf, std::span<const std::uint8_t> v,
            std::size_t* length) {
  char* position = buf.data();
  std::size_t room = buf.size() - 1;
  const int result = fmt_hex_endian(position, room, v);
  *position = '\0';
  if (length != nullptr) *length = buf.size() - 1 - room;
  return result;
}

template <typename integer>
int fmt_decimal(std::span<char> buf, integer value, std::size_t* length) {
  char* const limit = buf.data() + buf.size() - 1;
  const std::to_chars_result direct = std::to_chars(buf.data(), limit, value);
  if (direct.ec == std::errc()) {
    *direct.ptr = '\0';
    if (length != nullptr) {
      *length = static_cast<std::size_t>(direct.ptr - buf.data());
    }
    return 0;
  }
  char work[WORK_SIZE];
  const std::to_chars_result whole =
      std::to_chars(work, work + sizeof(work), value);
  return copy_text(buf, {work, static_cast<std::size_t>(whole.ptr - work)},
                   length);
}

// The run of decimal digits at the head of a text.
struct digit_run {
  std::uint64_t value = 0;  // modulo 2^64
  std::size_t count = 0;
};

digit_run scan_digits(std::string_view str) {
  digit_run run;
  for (const char c : str) {
    if (c < '0' || c > '9') break;
    run.value = run.value * 10 + static_cast<std::uint64_t>(c - '0');
    ++run.count;
  }
  return run;
}

// Stores a 64-bit value in the width of buf, clamped to what that can hold.
template <typename integer64>
int store_integer(std::span<std::uint8_t> buf, integer64 value) {
  using limits = std::numeric_limits<integer64>;
  const std::size_t width = buf.size();
  if (width != 1 && width != 2 && width != 4 && width != 8) {
    store_zero(buf);
    return -1;
  }
  const std::size_t spare_bits = 64 - 8 * width;
  const integer64 stored = std::clamp<integer64>(
      value, limits::min() >> spare_bits, limits::max() >> spare_bits);
  std::memcpy(buf.data(), &stored, width);
  return stored == value ? 0 : 1;
}

template <typename number>
int compare_at(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b,
               std::size_t offset) {
  return compare(load<number>(a, offset), load<number>(b, offset));
}

// Orders two little-endian numbers of any width, starting at the most
// significant end: 8 bytes at a time, then 4, then single bytes. `upper` is the
// type in which the upper half of 8 bytes and a group of 4 are compared.
template <typename upper>
int compare_walk(std::span<const std::uint8_t> a,
                 std::span<const std::uint8_t> b) {
  std::size_t left = a.size();
  for (; left >= 8; left -= 8) {
    int order = compare_at<upper>(a, b, left - 4);
    if (order == 0) order = compare_at<std::uint32_t>(a, b, left - 8);
    if (order != 0) return order;
  }
  if (left >= 4) {
    left -= 4;
    const int order = compare_at<upper>(a, b, left);
    if (order != 0) return order;
  }
  while (left > 0) {
    --left;
    if (a[left] != b[left]) return a[left] - b[left];
  }
  return 0;
}

// A double from a text; strtod with the range errors resolved.
struct double_text {
  double value = 0.0;
  std::size_t used = 0;  // characters; 0 when the text holds no number
  bool lossy = false;
};

double_text scan_double(const char* text) {
  constexpr double LARGEST = std::numeric_limits<double>::max();
  double_text scanned;
  char* end = nullptr;
  errno = 0;
  scanned.value = std::strtod(text, &end);
  scanned.used = static_cast<std::size_t>(end - text);
  if (errno == ERANGE) {
    scanned.lossy = true;
    if (scanned.value > LARGEST) {
      scanned.value = LARGEST;
    } else if (scanned.value < -LARGEST) {
      scanned.value = -LARGEST;
    } else {
      scanned.value = 0.0;
    }
  }
  return scanned;
}

// Stores the value in the width of buf; false when no float has that width.
bool store_double(std::span<std::uint8_t> buf, double value) {
  if (buf.size() == sizeof(double)) {
    std::memcpy(buf.data(), &value, sizeof(value));
    return true;
  }
  if (buf.size() == sizeof(float)) {
    // Clamped before the conversion, which has no defined result beyond the
    // range of a float. A NaN stays what it is.
    constexpr double LARGEST = std::numeric_limits<float>::max();
    if (value > LARGEST) value = LARGEST;
    if (value < -LARGEST) value = -LARGEST;
    const auto stored = static_cast<float>(value);
    std::memcpy(buf.data(), &stored, sizeof(stored));
    return true;
  }
  store_zero(buf);
  return false;
}

// The digits of a decimal number without exponent that does not end in a zero
// behind its point, without those zeros that it begins with.
std::ptrdiff_t significant_digits(const char* begin, const char* end) {
  if (*begin == '-') ++begin;
  if (*begin != '0') {
    const bool has_point = std::find(begin, end, '.') != end;
    return end - begin - (has_point ? 1 : 0);
  }
  begin += 2;
  while (*begin == '0') ++begin;
  return end - begin;
}

// Writes a value, neither 0 nor as large as 10^15, that a text with at most
// four decimal places stands for, and returns the place behind it. Null: it is
// none of those.
char* write_four_places(double value, char* place) {
  constexpr double LARGEST = 1e11;
  constexpr std::int64_t SCALE = 10000;
  const double size = std::abs(value);
  if (size >= LARGEST) return nullptr;
  const auto scaled = std::int64_t{std::llrint(size * SCALE)};
  // Both are exact, so their quotient is the double nearest to the text.
  if (static_cast<double>(scaled) / SCALE != size) return nullptr;
  *place = '-';
  if (value < 0) ++place;
  place = std::to_chars(place, place + DOUBLE_TEXT_SIZE, scaled / SCALE).ptr;
  auto rest = static_cast<int>(scaled % SCALE);
  if (rest == 0) return place;
  *place++ = '.';
  for (int unit = SCALE / 10; rest > 0; unit /= 10) {
    *place++ = static_cast<char>('0' + rest / unit);
    rest %= unit;
  }
  return place;
}

constexpr item_type ITEM_TYPES[] = {
    {'B', false, '\0', nullptr, nullptr, nullptr},
    {'U', false, ' ', nullptr, nullptr, nullptr},
    {'X', false, ' ', nullptr, nullptr, nullptr},
    {'E', true, '\0', idb__scan_ieee_float, idb__fmt_ieee_float,
     idb__cmp_ieee_float},
    {'I', true, '\0', idb__scan_signed_int, idb__fmt_signed_int,
     idb__cmp_signed_int},
    {'K', true, '\0', idb__scan_unsigned_int, idb__fmt_unsigned_int,
     idb__cmp_unsigned_int},
    {'P', true, '\0', idb__scan_packed, idb__fmt_packed, idb__cmp_packed},
    {'Z', true, '\0', idb__scan_zoned, idb__fmt_zoned, idb__cmp_zoned},
};

constexpr std::array<const item_type*, 256> TYPE_OF_LETTER = [] {
  std::array<const item_type*, 256> types{};
  for (const item_type& type : ITEM_TYPES) {
    types[static_cast<unsigned char>(type.letter)] = &type;
  }
  return types;
}();

}  // namespace

int idb__scan_unsigned_int(std::span<std::uint8_t> buf, const char** end_p,
                           std::string_view str) {
  const std::size_t buf_sz = buf.size();
  assert(buf_sz > 0);
  if (is_hex_text(str)) return scan_hex_endian(buf, end_p, str);
  const digit_run run = scan_digits(str);
  if (end_p != nullptr) *end_p = str.data() + run.count;
  const int result = store_integer(buf, run.value);
  return run.count == 0 ? -1 : result;
}

int idb__scan_signed_int(std::span<std::uint8_t> buf, const char** end_p,
                         std::string_view str) {
  const std::size_t buf_sz = buf.size();
  assert(buf_sz > 0);
  if (is_hex_text(str)) return scan_hex_endian(buf, end_p, str);
  const bool negative = str.starts_with('-');
  if (negative || str.starts_with('+')) str.remove_prefix(1);
  const digit_run run = scan_digits(str);
  if (end_p != nullptr) *end_p = str.data() + run.count;
  // Negated while unsigned: the most negative value has no counterpart.
  const std::uint64_t value = negative ? 0 - run.value : run.value;
  const int result = store_integer(buf, static_cast<std::int64_t>(value));
  return run.count == 0 ? -1 : result;
}

int idb__scan_ieee_float(std::span<std::uint8_t> buf, const char** end_p,
                         std::string_view str) {
  const std::size_t buf_sz = buf.size();
  assert(buf_sz > 0);
  if (is_hex_text(str)) return scan_hex_endian(buf, end_p, str);
  char work[WORK_SIZE];
  const std::size_t copied = str.copy(work, sizeof(work) - 1);
  work[copied] = '\0';
  const double_text scanned = scan_double(work);
  if (end_p != nullptr) *end_p = str.data() + scanned.used;
  const bool stored = store_double(buf, scanned.value);
  if (copied < str.size()) return 1;
  if (!stored || scanned.used == 0) return -1;
  return scanned.lossy ? 1 : 0;
}

int idb__fmt_unsigned_int(std::span<char> buf, std::span<const std::uint8_t> v,
                          std::size_t* length) {
  const std::size_t buf_sz = buf.size();
  const std::size_t v_len = v.size();
  assert(buf_sz > 0 && v_len > 0);
  switch (v_len) {
    case 2:
      return fmt_decimal(buf, load<std::uint16_t>(v), length);
    case 4:
      return fmt_decimal(buf, load<std::uint32_t>(v), length);
    case 8:
      return fmt_decimal(buf, load<std::uint64_t>(v), length);
    default:
      return fmt_hex(buf, v, length);
  }
}

int idb__fmt_signed_int(std::span<char> buf, std::span<const std::uint8_t> v,
                        std::size_t* length) {
  const std::size_t buf_sz = buf.size();
  const std::size_t v_len = v.size();
  assert(buf_sz > 0 && v_len > 0);
  switch (v_len) {
    case 2:
      return fmt_decimal(buf, load<std::int16_t>(v), length);
    case 4:
      return fmt_decimal(buf, load<std::int32_t>(v), length);
    case 8:
      return fmt_decimal(buf, load<std::int64_t>(v), length);
    default:
      return fmt_hex(buf, v, length);
  }
}

int idb__fmt_ieee_float(std::span<char> buf, std::span<const std::uint8_t> v,
                        std::size_t* length) {
  const std::size_t buf_sz = buf.size();
  assert(buf_sz > 0);
  char work[WORK_SIZE];
  std::size_t written = 0;
  int over = 0;
  if (v.size() == sizeof(float) || v.size() == sizeof(double)) {
    // The same text as printf's "%1.7g" and "%1.15g" give, for a fraction of
    // the time.
    const char* const end =
        v.size() == sizeof(double)
            ? idb__write_double(load<double>(v), work)
            : std::to_chars(work, work + sizeof(work),
                            static_cast<double>(load<float>(v)),
                            std::chars_format::general, 7)
                  .ptr;
    written = static_cast<std::size_t>(end - work);
  } else {
    over = fmt_hex(work, v, &written);
  }
  return copy_text(buf, {work, written}, length) != 0 ? 1 : over;
}

// Fifteen digits survive the way into a double and back. So any decimal text of
// no more digits that stands for the value is what rounding the value to
// fifteen digits gives. Most values have a short one, and that is found in a
// fraction of the time.
char* idb__write_double(double value, char* place) {
  constexpr double LEAST_FIXED = 1e-4;
  constexpr double FIXED_LIMIT = 1e15;
  const double size = std::abs(value);
  if (size >= LEAST_FIXED && size < FIXED_LIMIT) {
    char* end = write_four_places(value, place);
    if (end != nullptr) return end;
    end = std::to_chars(place, place + DOUBLE_TEXT_SIZE, value,
                        std::chars_format::fixed)
              .ptr;
    if (significant_digits(place, end) <= 15) return end;
  }
  return std::to_chars(place, place + DOUBLE_TEXT_SIZE, value,
                       std::chars_format::general, 15)
      .ptr;
}

int idb__cmp_unsigned_int(std::span<const std::uint8_t> a,
                          std::span<const std::uint8_t> b) {
  const std::size_t len = a.size();
  assert(len > 0);
  assert(b.size() == len);
  switch (len) {
    case 2:
      return compare(load<std::uint16_t>(a), load<std::uint16_t>(b));
    case 4:
      return compare(load<std::uint32_t>(a), load<std::uint32_t>(b));
    case 8:
      return compare(load<std::uint64_t>(a), load<std::uint64_t>(b));
    default:
      return compare_walk<std::uint32_t>(a, b);
  }
}

int idb__cmp_signed_int(std::span<const std::uint8_t> a,
                        std::span<const std::uint8_t> b) {
  const std::size_t len = a.size();
  assert(len > 0);
  assert(b.size() == len);
  switch (len) {
    case 2:
      return compare(load<std::int16_t>(a), load<std::int16_t>(b));
    case 4:
      return compare(load<std::int32_t>(a), load<std::int32_t>(b));
    case 8:
      return compare(load<std::int64_t>(a), load<std::int64_t>(b));
    default:
      break;
  }
  const bool a_negative = (a.back() & 0x80) != 0;
  const bool b_negative = (b.back() & 0x80) != 0;
  if (a_negative != b_negative) return a_negative ? -1 : 1;
  // Two negative numbers order as their bit patterns do. In the order of two
  // others the groups below the top one (from 12 bytes on) count as signed too.
  return a_negative ? compare_walk<std::uint32_t>(a, b)
                    : compare_walk<std::int32_t>(a, b);
}

int idb__cmp_ieee_float(std::span<const std::uint8_t> a,
                        std::span<const std::uint8_t> b) {
  const std::size_t len = a.size();
  assert(b.size() == len);
  switch (len) {
    case sizeof(float):
      return compare(load<float>(a), load<float>(b));
    case sizeof(double):
      return compare(load<double>(a), load<double>(b));
    default:
      break;
  }
  for (std::size_t i = 0; i < len; ++i) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return 0;
}

// Much of a character item is often fill, so it goes eight bytes at a time.
std::span<const std::uint8_t> without_fill(std::span<const std::uint8_t> v,
                                           char fill) {
  const auto fill_byte = static_cast<std::uint8_t>(fill);
  const std::uint64_t fill_word = fill_byte * std::uint64_t{0x0101010101010101};
  while (v.size() >= sizeof(fill_word) &&
         load<std::uint64_t>(v, v.size() - sizeof(fill_word)) == fill_word) {
    v = v.first(v.size() - sizeof(fill_word));
  }
  while (!v.empty() && v.back() == fill_byte) v = v.first(v.size() - 1);
  return v;
}

const item_type* item_type_of(char letter) {
  return TYPE_OF_LETTER[static_cast<unsigned char>(letter)];
}
