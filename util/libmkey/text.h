#ifndef CHRONEX_UTIL_LIBMKEY_TEXT_H
#define CHRONEX_UTIL_LIBMKEY_TEXT_H

// Bytes as hex digits in key files.

#include <cstdint>
#include <span>
#include <string_view>

// Decodes pairs of the digits '0' to '9' and 'a' to 'f' into the first
// digits.size() / 2 bytes of `out`, which must have room for them. Returns
// false, with `out` partly written, when the number of digits is odd or another
// character turns up; upper-case digits are refused.
bool decode_hex(std::string_view digits, std::span<std::uint8_t> out);

#endif  // CHRONEX_UTIL_LIBMKEY_TEXT_H
