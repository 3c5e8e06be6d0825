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
    const auto number = std::int64_t{std::llrint(size * scale)};
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

template <typename number>
value_text put_stored_real(byte_run bytes, char* out) {
  const double value{stored_number<number>(bytes)};
  if (std::isnan(value)) return {put_null(out), value_problem::nan};
  if (std::isinf(value)) return {put_null(out), value_problem::infinite};
  return {put_real(value, sizeof(number), out), value_problem::none};
}

// Texts of all forms.
value_text put_any_text(value_form form, byte_run bytes,
                        const character_table& characters,
                        text_scratch& scratch, char* out) {
  const item_value value = read_value(form, bytes, characters, scratch);
  return {put_quoted(form, value.text, out), value.problem};
}

// Most texts are ASCII without anything to escape.
value_text put_text(byte_run bytes, const character_table& characters,
                    text_scratch& scratch, char* out) {
  const byte_run text = without_padding(bytes);
  char* const end = put_plain_ascii(text.data(), text.size(), out + 1);
  if (end == nullptr) {
    return put_any_text(value_form::text, bytes, characters, scratch, out);
  }
  *out = '"';
  *end = '"';
  return {end + 1, value_problem::none};
}

value_text put_hex_bytes(byte_run bytes, char* out) {
  *out = '"';
  char* const end = put_hex_digits(bytes, out + 1);
  *end = '"';
  return {end + 1, value_problem::none};
}

// `put_one` writes one element: value_text(byte_run, char* out).
template <typename put_function>
values_text put_each(element_run elements, char* out,
                     const put_function& put_one) {
  bool any_problem = false;
  const std::uint8_t* bytes = elements.bytes;
  for (std::size_t k = 0; k < elements.count; ++k) {
    if (k > 0) *out++ = ',';
    const value_text value = put_one(byte_run(bytes, elements.size), out);
    any_problem |= value.problem != value_problem::none;
    out = value.end;
    bytes += elements.size;
  }
  return {out, any_problem};
}

template <typename number>
values_text put_whole_numbers(number (*stored)(byte_run), element_run elements,
                              char* out) {
  return put_each(elements, out, [stored](byte_run bytes, char* to) {
    return value_text{put_whole_number(stored(bytes), bytes.size(), to),
                      value_problem::none};
  });
}

}  // namespace

// The form is looked at once, so that each loop knows what it writes.
values_text put_values(value_form form, element_run elements,
                       const character_table& characters, text_scratch& scratch,
                       char* out) {
  switch (form) {
    case value_form::integer:
      return put_whole_numbers(stored_integer, elements, out);
    case value_form::natural:
      return put_whole_numbers(stored_natural, elements, out);
    case value_form::packed:
      return put_each(elements, out, [](byte_run bytes, char* to) {
        return put_digits(packed_digits, bytes, to);
      });
    case value_form::zoned:
      return put_each(elements, out, [](byte_run bytes, char* to) {
        return put_digits(zoned_digits, bytes, to);
      });
    case value_form::text:
      return put_each(elements, out, [&](byte_run bytes, char* to) {
        return put_text(bytes, characters, scratch, to);
      });
    case value_form::hex_bytes:
      return put_each(elements, out, put_hex_bytes);
    case value_form::real:
      return elements.size == sizeof(float)
                 ? put_each(elements, out, put_stored_real<float>)
                 : put_each(elements, out, put_stored_real<double>);
    default:
      return put_each(elements, out, [&](byte_run bytes, char* to) {
        return put_any_text(form, bytes, characters, scratch, to);
      });
  }
}

value_text put_value(value_form form, byte_run bytes,
                     const character_table& characters, text_scratch& scratch,
                     char* out) {
  const values_text text = put_values(
      form, {bytes.data(), static_cast<std::uint32_t>(bytes.size()), 1},
      characters, scratch, out);
  if (!text.any_problem) return {text.end, value_problem::none};
  return {text.end, read_value(form, bytes, characters, scratch).problem};
}
