#include "util/chronex_trail/json/value_text.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

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

// The shortest text that reads back at the stored width.
char* put_real(double value, std::size_t size, char* out) {
  // Readers would take -0 for a whole number, which has no sign.
  if (value == 0 && std::signbit(value)) return put_plain("-0.0", out);
  if (size != sizeof(float)) return put_number(value, out);
  return put_number(static_cast<float>(value), out);
}

}  // namespace

char* put_value_text(value_form form, std::size_t size, const item_value& value,
                     char* out) {
  if (value.is_null()) return put_plain("null", out);
  switch (form) {
    case value_form::integer:
      return put_whole_number(value.integer, size, out);
    case value_form::natural:
      return put_whole_number(value.natural, size, out);
    case value_form::real:
      return put_real(value.real, size, out);
    case value_form::text:
      *out++ = '"';
      out = put_json_text(value.text, out);
      break;
    default:
      // Digits and hex digits need no escapes.
      *out++ = '"';
      out = put_plain(value.text, out);
  }
  *out++ = '"';
  return out;
}
