#include "util/chronex_trail/values/item_value.h"

#include <array>
#include <cmath>
#include <cstring>

#include "util/chronex_trail/values/decimal_digits.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

using hex_byte = std::array<char, 2>;

constexpr std::array<hex_byte, 256> make_hex_bytes() {
  constexpr char DIGITS[] = "0123456789abcdef";
  std::array<hex_byte, 256> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = {DIGITS[i >> 4], DIGITS[i & 0x0F]};
  }
  return bytes;
}

constexpr std::array<hex_byte, 256> HEX_BYTES = make_hex_bytes();

// Digits of 0 to 15, one a byte, as text. Sums that reach 16 are letters.
constexpr std::uint64_t hex_text(std::uint64_t digits) {
  constexpr std::uint8_t TO_LETTERS = 'a' - 10 - '0';
  const std::uint64_t letters = (digits + word_of(6)) >> 4 & word_of(1);
  return digits + word_of('0') + letters * TO_LETTERS;
}

item_value real_value(byte_run bytes) {
  item_value value;
  value.real = bytes.size() == sizeof(float)
                   ? double{stored_number<float>(bytes)}
                   : stored_number<double>(bytes);
  if (std::isnan(value.real)) value.problem = value_problem::nan;
  if (std::isinf(value.real)) value.problem = value_problem::infinite;
  return value;
}

item_value digits_value(std::size_t (*digits)(byte_run, char*), byte_run bytes,
                        text_scratch& scratch) {
  char* const out = scratch.room(bytes.size() * 2 + DIGITS_SLACK);
  item_value value;
  value.text = {out, digits(bytes, out)};
  if (value.text.empty()) value.problem = value_problem::bad_digits;
  return value;
}

item_value text_value(byte_run bytes, const character_table& characters,
                      text_scratch& scratch) {
  const decoded_text text =
      decode_text(without_padding(bytes), characters, scratch);
  item_value value;
  value.text = text.utf8;
  if (text.undecodable) value.problem = value_problem::undecodable;
  return value;
}

// Little-endian bytes, the most significant digits first and without leading
// zero bytes.
item_value hex_number_value(byte_run bytes, text_scratch& scratch) {
  char* const out = scratch.room(bytes.size() * 2 + 1);
  char* end = out;
  *end++ = 'x';
  std::size_t left = bytes.size();
  while (left > 1 && bytes[left - 1] == 0) --left;
  for (; left > 0; --left) {
    end = put_hex_digits(bytes.subspan(left - 1, 1), end);
  }
  return {.text = {out, static_cast<std::size_t>(end - out)}};
}

item_value hex_bytes_value(byte_run bytes, text_scratch& scratch) {
  char* const out = scratch.room(bytes.size() * 2);
  const char* const end = put_hex_digits(bytes, out);
  return {.text = {out, static_cast<std::size_t>(end - out)}};
}

bool is_integer_size(std::size_t size) {
  return size == 1 || size == 2 || size == 4 || size == 8;
}

}  // namespace

value_form value_form_of(char type, std::size_t size) {
  switch (type) {
    case 'I':
      return is_integer_size(size) ? value_form::integer
                                   : value_form::hex_number;
    case 'K':
      return is_integer_size(size) ? value_form::natural
                                   : value_form::hex_number;
    case 'E':
      return size == sizeof(float) || size == sizeof(double)
                 ? value_form::real
                 : value_form::hex_number;
    case 'P':
      return value_form::packed;
    case 'Z':
      return value_form::zoned;
    case 'X':
    case 'U':
      return value_form::text;
    default:
      return value_form::hex_bytes;
  }
}

std::string_view problem_name(value_problem problem) {
  switch (problem) {
    case value_problem::bad_digits:
      return "bad_digits";
    case value_problem::nan:
      return "nan";
    case value_problem::infinite:
      return "infinite";
    case value_problem::undecodable:
      return "undecodable";
    default:
      return "";
  }
}

item_value read_value(value_form form, byte_run bytes,
                      const character_table& characters,
                      text_scratch& scratch) {
  switch (form) {
    case value_form::integer:
      return {.integer = stored_integer(bytes)};
    case value_form::natural:
      return {.natural = stored_natural(bytes)};
    case value_form::real:
      return real_value(bytes);
    case value_form::packed:
      return digits_value(packed_digits, bytes, scratch);
    case value_form::zoned:
      return digits_value(zoned_digits, bytes, scratch);
    case value_form::text:
      return text_value(bytes, characters, scratch);
    case value_form::hex_number:
      return hex_number_value(bytes, scratch);
    default:
      return hex_bytes_value(bytes, scratch);
  }
}

char* put_hex_digits(byte_run bytes, char* out) {
  constexpr std::size_t HALF_WORD = WORD / 2;
  for (; bytes.size() >= HALF_WORD; bytes = bytes.subspan(HALF_WORD)) {
    store_word(hex_text(half_bytes(load_half_word(bytes.data()))), out);
    out += WORD;
  }
  for (const std::uint8_t byte : bytes) {
    std::memcpy(out, HEX_BYTES[byte].data(), 2);
    out += 2;
  }
  return out;
}
