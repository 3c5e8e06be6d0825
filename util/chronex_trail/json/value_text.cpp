#include "util/chronex_trail/json/value_text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "util/chronex_trail/json/number_text.h"
#include "util/chronex_trail/values/decimal_digits.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

char* put_plain(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* put_null(char* out) { return put_plain("null", out); }

// Digits, of which `length` stand behind the place of the quote, need no
// escapes.
value_text put_digits(std::size_t length, char* out) {
  if (length == 0) return {put_null(out), value_problem::bad_digits};
  out[0] = '"';
  out[length + 1] = '"';
  return {out + length + 2, value_problem::none};
}

// The decimals of a number of thousandths, from the point on, without the zeros
// at their end.
char* put_thousandths(std::uint32_t thousandths, char* out) {
  if (thousandths == 0) return out;
  const auto digit = [](std::uint32_t number) {
    return static_cast<char>('0' + number % 10);
  };
  out[0] = '.';
  out[1] = digit(thousandths / 100);
  out[2] = digit(thousandths / 10);
  out[3] = digit(thousandths);
  return out + 2 + (thousandths % 100 != 0) + (thousandths % 10 != 0);
}

// Amounts and rates are often whole numbers, or such with up to three decimals:
// those that have at most as many digits as every number of the width can tell
// apart are the shortest text of their value, and several times as fast to find
// as by the general way. Whole numbers of more than 5 digits may be shorter
// with an exponent. Returns the end, or null when it is no such number.
template <typename real>
char* put_short_decimal(real value, char* out) {
  constexpr double LARGEST =
      sizeof(real) == sizeof(float) ? 999'998 : 999'999'999'999'998;
  constexpr std::uint64_t LARGEST_WHOLE = 99'999;
  constexpr std::uint64_t SCALE = 1000;
  const double scaled = std::fabs(double{value}) * SCALE;
  if (scaled > LARGEST) return nullptr;
  const auto number = std::lrint(scaled);
  if (static_cast<real>(static_cast<double>(number) / SCALE) !=
      std::fabs(value)) {
    return nullptr;
  }
  const std::uint64_t whole = static_cast<std::uint64_t>(number) / SCALE;
  const std::uint64_t thousandths = static_cast<std::uint64_t>(number) % SCALE;
  if (thousandths == 0 && whole > LARGEST_WHOLE) return nullptr;
  *out = '-';
  if (std::signbit(value)) ++out;
  return put_thousandths(static_cast<std::uint32_t>(thousandths),
                         put_natural(whole, out));
}

// The shortest text that reads back at the stored width.
template <typename real>
char* put_real(real value, char* out) {
  // Readers would take -0 for a whole number, which has no sign.
  if (value == 0 && std::signbit(value)) return put_plain("-0.0", out);
  char* const end = put_short_decimal(value, out);
  return end != nullptr ? end
                        : std::to_chars(out, out + NUMBER_ROOM, value).ptr;
}

char* put_quoted(value_form form, std::string_view text, char* out) {
  *out++ = '"';
  out = form == value_form::text ? put_json_text(text, out)
                                 : put_plain(text, out);
  *out++ = '"';
  return out;
}

template <typename real>
value_text put_stored_real(byte_run bytes, char* out) {
  const real value = stored_number<real>(bytes);
  if (std::isnan(value)) return {put_null(out), value_problem::nan};
  if (std::isinf(value)) return {put_null(out), value_problem::infinite};
  return {put_real(value, out), value_problem::none};
}

// Texts of all forms.
value_text put_any_text(value_form form, byte_run bytes,
                        const text_tools& tools, char* out) {
  const item_value value =
      read_value(form, bytes, tools.characters, tools.scratch);
  return {put_quoted(form, value.text, out), value.problem};
}

// Most texts are ASCII without anything to escape.
value_text put_text(byte_run bytes, const text_tools& tools, char* out) {
  char* const end =
      put_plain_ascii(bytes, without_padding(bytes).size(), out + 1);
  if (end == nullptr) {
    return put_any_text(value_form::text, bytes, tools, out);
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

// Readers that take numbers for doubles change integers of eight bytes, so that
// they are always strings.
template <typename stored>
char* put_whole_number(stored number, char* out) {
  constexpr bool IS_QUOTED = sizeof(stored) == 8;
  if (IS_QUOTED) *out++ = '"';
  if constexpr (std::is_signed_v<stored>) {
    out = put_integer(number, out);
  } else {
    out = put_natural(number, out);
  }
  if (IS_QUOTED) *out++ = '"';
  return out;
}

template <typename stored>
values_text put_whole_numbers(element_run elements, const text_tools& /*tools*/,
                              char* out) {
  return put_each(elements, out, [](byte_run bytes, char* to) {
    return value_text{put_whole_number(stored_number<stored>(bytes), to),
                      value_problem::none};
  });
}

template <typename stored>
values_text put_reals(element_run elements, const text_tools& /*tools*/,
                      char* out) {
  return put_each(elements, out, put_stored_real<stored>);
}

values_text put_packed(element_run elements, const text_tools& /*tools*/,
                       char* out) {
  return put_each(elements, out, [](byte_run bytes, char* to) {
    return put_digits(packed_digits(bytes, to + 1), to);
  });
}

values_text put_zoned(element_run elements, const text_tools& /*tools*/,
                      char* out) {
  return put_each(elements, out, [](byte_run bytes, char* to) {
    return put_digits(zoned_digits(bytes, to + 1), to);
  });
}

values_text put_texts(element_run elements, const text_tools& tools,
                      char* out) {
  return put_each(elements, out, [&tools](byte_run bytes, char* to) {
    return put_text(bytes, tools, to);
  });
}

values_text put_hex_numbers(element_run elements, const text_tools& tools,
                            char* out) {
  return put_each(elements, out, [&tools](byte_run bytes, char* to) {
    return put_any_text(value_form::hex_number, bytes, tools, to);
  });
}

values_text put_hex_runs(element_run elements, const text_tools& /*tools*/,
                         char* out) {
  return put_each(elements, out, put_hex_bytes);
}

template <typename one, typename two, typename four, typename eight>
values_writer whole_number_writer(std::size_t size) {
  switch (size) {
    case 1:
      return put_whole_numbers<one>;
    case 2:
      return put_whole_numbers<two>;
    case 4:
      return put_whole_numbers<four>;
    default:
      return put_whole_numbers<eight>;
  }
}

}  // namespace

values_writer values_writer_of(value_form form, std::size_t size) {
  switch (form) {
    case value_form::integer:
      return whole_number_writer<std::int8_t, std::int16_t, std::int32_t,
                                 std::int64_t>(size);
    case value_form::natural:
      return whole_number_writer<std::uint8_t, std::uint16_t, std::uint32_t,
                                 std::uint64_t>(size);
    case value_form::real:
      return size == sizeof(float) ? put_reals<float> : put_reals<double>;
    case value_form::packed:
      return put_packed;
    case value_form::zoned:
      return put_zoned;
    case value_form::text:
      return put_texts;
    case value_form::hex_number:
      return put_hex_numbers;
    default:
      return put_hex_runs;
  }
}

value_text put_value(value_form form, byte_run bytes,
                     const character_table& characters, text_scratch& scratch,
                     char* out) {
  const values_text text = values_writer_of(form, bytes.size())(
      {bytes.data(), static_cast<std::uint32_t>(bytes.size()), 1},
      {characters, scratch}, out);
  if (!text.any_problem) return {text.end, value_problem::none};
  return {text.end, read_value(form, bytes, characters, scratch).problem};
}
