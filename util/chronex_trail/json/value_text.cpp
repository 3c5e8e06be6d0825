#include "util/chronex_trail/json/value_text.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "util/chronex_trail/values/decimal_digits.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

// Readers that take numbers for doubles change integers of this size, so that
// they are always strings.
constexpr std::size_t QUOTED_SIZE = 8;

// Takes every number there is.
constexpr std::size_t NUMBER_ROOM = 32;

template <typename number>
char* put_number(number value, char* out) {
  return std::to_chars(out, out + NUMBER_ROOM, value).ptr;
}

template <typename number>
char* put_whole_number(number value, std::size_t size, char* out) {
  if (size != QUOTED_SIZE) return put_number(value, out);
  *out++ = '"';
  out = put_number(value, out);
  *out++ = '"';
  return out;
}

char* put_plain(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* put_null(char* out) { return put_plain("null", out); }

// Digits need no escapes.
value_text put_digits(std::size_t (*digits)(byte_run, char*), byte_run bytes,
                      char* out) {
  const std::size_t length = digits(bytes, out + 1);
  if (length == 0) return {put_null(out), value_problem::bad_digits};
  out[0] = '"';
  out[length + 1] = '"';
  return {out + length + 2, value_problem::none};
}

constexpr int MOST_DECIMALS = 3;
constexpr std::int64_t SCALES[MOST_DECIMALS + 1] = {1, 10, 100, 1000};

// A number whose last `decimals` digits stand behind the point.
char* put_decimal(std::int64_t number, int decimals, char* out) {
  const std::int64_t scale = SCALES[decimals];
  out = put_number(number / scale, out);
  if (decimals == 0) return out;
  *out = '.';
  std::int64_t fraction = number % scale;
  for (int k = decimals; k > 0; --k) {
    out[k] = static_cast<char>('0' + fraction % 10);
    fraction /= 10;
  }
  return out + decimals + 1;
}

// Amounts and rates are often whole numbers, or such with up to three decimals:
// those that have at most 15 digits are the shortest text of their value, and
// several times as fast to find as by the general way. Whole numbers of more
// than 5 digits may be shorter with an exponent. Returns the end, or null when
// it is no such number.
char* put_short_decimal(double value, char* out) {
  constexpr double LARGEST_WHOLE = 99999;
  constexpr double LARGEST_NUMBER = 999999999999998;
  const double size = std::fabs(value);
  for (int decimals = 0; decimals <= MOST_DECIMALS; ++decimals) {
    const auto scale = static_cast<double>(SCALES[decimals]);
    if (size * scale > LARGEST_NUMBER) return nullptr;
    const auto number = std::int64_t{std::llround(size * scale)};
    if (static_cast<double>(number) / scale != size) continue;
    if (decimals == 0 && size > LARGEST_WHOLE) return nullptr;
    if (std::signbit(value)) *out++ = '-';
    return put_decimal(number, decimals, out);
  }
  return nullptr;
}

// The shortest text that reads back at the stored width.
char* put_real(double value, std::size_t size, char* out) {
  // Readers would take -0 for a whole number, which has no sign.
  if (value == 0 && std::signbit(value)) return put_plain("-0.0", out);
  if (size == sizeof(float)) {
    return put_number(static_cast<float>(value), out);
  }
  char* const end = put_short_decimal(value, out);
  return end != nullptr ? end : put_number(value, out);
}

char* put_quoted(value_form form, std::string_view text, char* out) {
  *out++ = '"';
  out = form == value_form::text ? put_json_text(text, out)
                                 : put_plain(text, out);
  *out++ = '"';
  return out;
}

// Values of all forms but whole numbers and digits.
value_text put_any(value_form form, byte_run bytes,
                   const character_table& characters, text_scratch& scratch,
                   char* out) {
  const item_value value = read_value(form, bytes, characters, scratch);
  if (value.is_null()) return {put_null(out), value.problem};
  char* const end = form == value_form::real
                        ? put_real(value.real, bytes.size(), out)
                        : put_quoted(form, value.text, out);
  return {end, value.problem};
}

// Most texts are ASCII without anything to escape.
value_text put_text(byte_run bytes, const character_table& characters,
                    text_scratch& scratch, char* out) {
  const byte_run text = without_padding(bytes);
  char* const end = put_plain_ascii(text.data(), text.size(), out + 1);
  if (end == nullptr) {
    return put_any(value_form::text, bytes, characters, scratch, out);
  }
  *out = '"';
  *end = '"';
  return {end + 1, value_problem::none};
}

}  // namespace

value_text put_value(value_form form, byte_run bytes,
                     const character_table& characters, text_scratch& scratch,
                     char* out) {
  switch (form) {
    case value_form::integer:
      return {put_whole_number(stored_integer(bytes), bytes.size(), out),
              value_problem::none};
    case value_form::natural:
      return {put_whole_number(stored_natural(bytes), bytes.size(), out),
              value_problem::none};
    case value_form::packed:
      return put_digits(packed_digits, bytes, out);
    case value_form::zoned:
      return put_digits(zoned_digits, bytes, out);
    case value_form::text:
      return put_text(bytes, characters, scratch, out);
    case value_form::hex_bytes: {
      *out = '"';
      char* const end = put_hex_digits(bytes, out + 1);
      *end = '"';
      return {end + 1, value_problem::none};
    }
    default:
      return put_any(form, bytes, characters, scratch, out);
  }
}
