#include "util/chronex_trail/values/character_table.h"

#include <cstddef>

namespace {

constexpr int HP_ROMAN8 = 0;
constexpr int ISO_8859_1 = 1;

constexpr std::size_t ASCII_SIZE = 128;
constexpr std::size_t UPPER_BEGIN = 160;
constexpr char16_t NONE = 0;

using code_points = std::array<char16_t, 256>;

// The code points of the bytes from UPPER_BEGIN on in hp-roman8.
constexpr char16_t ROMAN8_UPPER[] = {
    0x00A0, 0x00C0, 0x00C2, 0x00C8, 0x00CA, 0x00CB, 0x00CE, 0x00CF, 0x00B4,
    0x02CB, 0x02C6, 0x00A8, 0x02DC, 0x00D9, 0x00DB, 0x20A4, 0x00AF, 0x00DD,
    0x00FD, 0x00B0, 0x00C7, 0x00E7, 0x00D1, 0x00F1, 0x00A1, 0x00BF, 0x00A4,
    0x00A3, 0x00A5, 0x00A7, 0x0192, 0x00A2, 0x00E2, 0x00EA, 0x00F4, 0x00FB,
    0x00E1, 0x00E9, 0x00F3, 0x00FA, 0x00E0, 0x00E8, 0x00F2, 0x00F9, 0x00E4,
    0x00EB, 0x00F6, 0x00FC, 0x00C5, 0x00EE, 0x00D8, 0x00C6, 0x00E5, 0x00ED,
    0x00F8, 0x00E6, 0x00C4, 0x00EC, 0x00D6, 0x00DC, 0x00C9, 0x00EF, 0x00DF,
    0x00D4, 0x00C1, 0x00C3, 0x00E3, 0x00D0, 0x00F0, 0x00CD, 0x00CC, 0x00D3,
    0x00D2, 0x00D5, 0x00F5, 0x0160, 0x0161, 0x00DA, 0x0178, 0x00FF, 0x00DE,
    0x00FE, 0x00B7, 0x00B5, 0x00B6, 0x00BE, 0x2014, 0x00BC, 0x00BD, 0x00AA,
    0x00BA, 0x00AB, 0x25A0, 0x00BB, 0x00B1, NONE};
static_assert(std::size(ROMAN8_UPPER) == 256 - UPPER_BEGIN);

constexpr code_points first_code_points(std::size_t count) {
  code_points points{};
  for (std::size_t i = 1; i < count; ++i) points[i] = static_cast<char16_t>(i);
  return points;
}

constexpr code_points roman8_code_points() {
  code_points points = first_code_points(UPPER_BEGIN);
  for (std::size_t i = UPPER_BEGIN; i < points.size(); ++i) {
    points[i] = ROMAN8_UPPER[i - UPPER_BEGIN];
  }
  return points;
}

constexpr utf8_character utf8_of(char16_t point) {
  const auto tail = [point](int shift) {
    return static_cast<char>(0x80 | (point >> shift & 0x3F));
  };
  if (point == NONE) return {};
  if (point < 0x80) return {{static_cast<char>(point)}, 1};
  if (point < 0x800) {
    return {{static_cast<char>(0xC0 | point >> 6), tail(0)}, 2};
  }
  return {{static_cast<char>(0xE0 | point >> 12), tail(6), tail(0)}, 3};
}

constexpr character_table table_of(const code_points& points) {
  character_table table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = utf8_of(points[i]);
  return table;
}

constexpr character_table ASCII_TABLE = table_of(first_code_points(ASCII_SIZE));
constexpr character_table LATIN1_TABLE = table_of(first_code_points(256));
constexpr character_table ROMAN8_TABLE = table_of(roman8_code_points());

}  // namespace

const character_table& character_table_of(int charset) {
  switch (charset) {
    case HP_ROMAN8:
      return ROMAN8_TABLE;
    case ISO_8859_1:
      return LATIN1_TABLE;
    default:
      return ASCII_TABLE;
  }
}
