#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_CHARACTER_TABLE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_CHARACTER_TABLE_H

// The characters of a log's character set as UTF-8.
//
// Logs have one byte a character, in one of two sets. Both are ASCII below 128
// and the C1 controls below 160; what is above differs. The zero byte is no
// character here: most readers of data cannot store it in a text.

#include <array>
#include <cstdint>

// One character as UTF-8; length 0 = the byte stands for no character.
struct utf8_character {
  std::array<char, 3> bytes{};
  std::uint8_t length = 0;
};

using character_table = std::array<utf8_character, 256>;

// The table of a character set id as file headers have it. Sets without a name
// have the characters of ASCII only. It stays valid for the whole run.
const character_table& character_table_of(int charset);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_CHARACTER_TABLE_H
