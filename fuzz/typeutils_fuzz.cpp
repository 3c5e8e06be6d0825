// Input: one byte that picks an item type, one that picks its width, two stored
// values of that width, and a number as text.
//
// Values that are stored as the scan would store them come back from their text
// as they were, byte for byte: integers of every width; zoned and packed
// decimals with nothing but digits and a sign that a scan writes, other than
// negative zero; floats of odd widths up to 31 bytes, which is what the 63
// characters of their text hold. Text of a float of 8 bytes has 15 digits, so
// it is the text that comes back, from any normal double; that of a float of 4
// bytes comes back within one part in a million, infinities (which are clamped)
// and NaNs excepted.

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <string>

#include "common/typeutils.h"
#include "fuzz/fuzz_support.h"

namespace {

constexpr std::size_t MAX_WIDTH = 48;
constexpr std::size_t MAX_HEX_FLOAT = 31;
constexpr std::string_view NUMERIC = "EIKPZ";

std::string print(const item_type& type, fuzz_bytes value) {
  // Longer than any text of a value.
  std::vector<char> buffer(2 * MAX_WIDTH + 64, '?');
  std::size_t length = 0;
  const int result = type.fmt(buffer, value, &length);
  const bool is_cut = type.letter == 'E' && value.size() > MAX_HEX_FLOAT &&
                      value.size() != 4 && value.size() != 8;
  fuzz_check(result == 0 || (is_cut && result == 1), "the text has room");
  fuzz_check(length < buffer.size() && buffer[length] == '\0',
             "the text has its length");
  return {buffer.data(), length};
}

// In less room, the same text is cut.
void check_cut(const item_type& type, fuzz_bytes value, std::size_t room) {
  const std::string whole = print(type, value);
  std::vector<char> buffer(room);
  std::size_t length = 0;
  const int result = type.fmt(buffer, value, &length);
  const std::size_t kept = std::min(room - 1, whole.size());
  fuzz_check(length == kept && buffer[kept] == '\0' &&
                 whole.compare(0, kept, buffer.data(), kept) == 0,
             "a cut text is the beginning of the whole one");
  fuzz_check(kept == whole.size() || result == 1, "a cut is told");
}

// Scans the text from a block of its own, so that its ends are known.
int scan(const item_type& type, std::string_view text,
         std::span<std::uint8_t> value) {
  const std::vector<char> copy(text.begin(), text.end());
  const std::string_view exact(copy.data(), copy.size());
  std::fill(value.begin(), value.end(), std::uint8_t{0xA5});
  const char* end = nullptr;
  const int result = type.scan(value, &end, exact);
  fuzz_check(result >= -1 && result <= 1, "a scan has three results");
  const std::ptrdiff_t used = end - copy.data();
  fuzz_check(used >= 0 && used <= std::ssize(copy),
             "the end is an end of the text");
  return result;
}

bool is_digit(std::uint8_t byte) { return byte >= '0' && byte <= '9'; }

// Nothing but what the scan stores, and no negative zero.
bool is_regular_zoned(fuzz_bytes v) {
  const fuzz_bytes leading = v.first(v.size() - 1);
  if (!std::ranges::all_of(leading, is_digit)) return false;
  const char last = static_cast<char>(v.back());
  if (last == '}') {
    return !std::ranges::all_of(leading, [](int c) { return c == '0'; });
  }
  return is_digit(v.back()) || last == '{' || (last >= 'A' && last <= 'R');
}

bool is_regular_packed(fuzz_bytes v) {
  bool is_zero = true;
  for (std::size_t i = 0; i < 2 * v.size() - 1; ++i) {
    const int nibble = i % 2 == 0 ? v[i / 2] >> 4 : v[i / 2] & 0x0F;
    if (nibble > 9) return false;
    is_zero = is_zero && nibble == 0;
  }
  const int sign = v.back() & 0x0F;
  return sign == 0xC || (sign == 0xD && !is_zero) || sign == 0xF;
}

bool comes_back(const item_type& type, fuzz_bytes v) {
  switch (type.letter) {
    case 'Z':
      return is_regular_zoned(v);
    case 'P':
      return is_regular_packed(v);
    case 'E':
      return v.size() != 4 && v.size() != 8 && v.size() <= MAX_HEX_FLOAT;
    default:
      return true;
  }
}

void check_double(const item_type& type, fuzz_bytes v) {
  double value = 0.0;
  std::memcpy(&value, v.data(), sizeof value);
  const std::string text = print(type, v);
  std::array<std::uint8_t, sizeof value> again{};
  const int result = scan(type, text, again);
  if (!std::isnormal(value) && value != 0.0) return;
  // The text of the largest and the smallest values can be beyond the range.
  const double size = std::fabs(value);
  const bool is_edge =
      size > DBL_MAX * (1 - 1e-14) || size < DBL_MIN * (1 + 1e-14);
  if (result == 1 && is_edge) return;
  fuzz_check(result == 0, "the text of a double is one");
  fuzz_check(print(type, again) == text, "the text of a double comes back");
}

void check_float(const item_type& type, fuzz_bytes v) {
  float value = 0.0F;
  std::memcpy(&value, v.data(), sizeof value);
  std::array<std::uint8_t, sizeof value> bytes{};
  const int result = scan(type, print(type, v), bytes);
  fuzz_check(result == 0, "the text of a float is one");
  if (!std::isnormal(value) && value != 0.0F) return;
  float again = 0.0F;
  std::memcpy(&again, bytes.data(), sizeof again);
  fuzz_check(std::fabs(double{again} - double{value}) <=
                 1e-6 * std::fabs(double{value}),
             "a float comes back nearly");
}

void check_text(const item_type& type, fuzz_bytes v) {
  if (type.letter == 'E' && v.size() == sizeof(double)) check_double(type, v);
  if (type.letter == 'E' && v.size() == sizeof(float)) check_float(type, v);
  if (!comes_back(type, v)) return;
  std::vector<std::uint8_t> again(v.size());
  fuzz_check(scan(type, print(type, v), again) == 0, "a value's text is one");
  fuzz_check(std::ranges::equal(again, v), "a value comes back from its text");
}

bool is_nan(const item_type& type, fuzz_bytes v) {
  const std::string text =
      type.letter == 'E' && (v.size() == 4 || v.size() == 8) ? print(type, v)
                                                             : "";
  return text == "nan" || text == "-nan";
}

int sign_of(int order) { return (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0); }

void check_order(const item_type& type, fuzz_bytes a, fuzz_bytes b) {
  if (is_nan(type, a) || is_nan(type, b)) {
    fuzz_check(type.cmp(a, b) > 0 && type.cmp(b, a) > 0,
               "a NaN comes after everything");
    return;
  }
  fuzz_check(type.cmp(a, a) == 0, "a value equals itself");
  fuzz_check(sign_of(type.cmp(a, b)) == -sign_of(type.cmp(b, a)),
             "the order of two values is the same from both sides");
}

// What a scan stores can be printed, and comes back from that.
void check_scan(const item_type& type, std::string_view text,
                std::size_t width) {
  std::vector<std::uint8_t> value(width);
  const int result = scan(type, text, value);
  check_text(type, value);
  if (type.letter == 'E') return;
  // A packed decimal of 1 byte keeps nothing of a negative number with an even
  // number of digits but its sign.
  fuzz_check(result == 1 || comes_back(type, value),
             "a scan stores regular values");
  if (result < 0) {
    std::vector<std::uint8_t> zero(width);
    scan(type, "0", zero);
    fuzz_check(type.cmp(value, zero) == 0 || zero == value,
               "what is no number is stored as zero");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz_bytes input(data, size);
  const char letter = NUMERIC[fuzz_take_byte(input) % NUMERIC.size()];
  const item_type& type = *item_type_of(letter);
  const std::size_t width = 1 + fuzz_take_byte(input) % MAX_WIDTH;
  const std::size_t room = 1 + fuzz_take_byte(input) % 40;
  const auto a = fuzz_sized_copy(fuzz_take(input, width), width);
  const auto b = fuzz_sized_copy(fuzz_take(input, width), width);
  for (const auto& value : {a, b}) {
    check_cut(type, value, room);
    check_text(type, value);
  }
  check_order(type, a, b);
  check_scan(type, fuzz_text(input), width);
  return 0;
}
