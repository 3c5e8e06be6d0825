#include "util/libmkey/text.h"

#include <cassert>
#include <cstddef>

bool decode_hex(std::string_view digits, std::span<std::uint8_t> out) {
  constexpr std::string_view HEX_DIGITS = "0123456789abcdef";
  if (digits.size() % 2 != 0) return false;
  assert(digits.size() / 2 <= out.size());
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const std::size_t high = HEX_DIGITS.find(digits[i]);
    const std::size_t low = HEX_DIGITS.find(digits[i + 1]);
    if (high == std::string_view::npos || low == std::string_view::npos) {
      return false;
    }
    out[i / 2] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return true;
}
