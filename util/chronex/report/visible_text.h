#ifndef CHRONEX_UTIL_CHRONEX_REPORT_VISIBLE_TEXT_H
#define CHRONEX_UTIL_CHRONEX_REPORT_VISIBLE_TEXT_H

// Control characters, which a text from a log may hold to move the cursor of a
// terminal, colour it or set its title.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Whether a terminal may obey the byte instead of showing it. Also those from
// 128 on, which are control characters in all ISO 8859 character sets.
constexpr bool is_terminal_control(std::uint8_t byte) {
  return byte < 32 || (byte >= 127 && byte < 160);
}

// Writes a backslash and three octal digits, and returns the place behind them.
constexpr std::size_t OCTAL_SIZE = 4;
char* write_octal(std::uint8_t byte, char* place);

// The text with every control character in octal. Backslashes stay single.
std::string visible_text(std::string_view text);

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_VISIBLE_TEXT_H
