#include "util/chronex_trail/json/number_text.h"

char* put_long_natural(std::uint64_t number, char* out) {
  out = put_natural(number / EIGHT_DIGITS, out);
  const auto last = static_cast<std::uint32_t>(number % EIGHT_DIGITS);
  store_word(eight_digits(last) | word_of('0'), out);
  return out + WORD;
}
