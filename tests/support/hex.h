#ifndef CHRONEX_TESTS_SUPPORT_HEX_H
#define CHRONEX_TESTS_SUPPORT_HEX_H

// Bytes as hexadecimal text and back, for tables of test cases.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Blanks in the text are ignored.
inline std::vector<std::uint8_t> from_hex(std::string_view text) {
  std::string digits(text);
  std::erase(digits, ' ');
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(
        std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// In lower case and without blanks.
inline std::string to_hex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

#endif  // CHRONEX_TESTS_SUPPORT_HEX_H
