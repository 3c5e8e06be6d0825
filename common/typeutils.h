#ifndef CHRONEX_COMMON_TYPEUTILS_H
#define CHRONEX_COMMON_TYPEUTILS_H

// Item values: the typed fixed-width forms in which records store their items,
// their conversion to and from text, and their order.
//
// The letter of an item's type names its stored form:
//
//   letter  stored form                          text
//   B       bytes, padded with NUL               the bytes themselves
//   U, X    characters, padded with blanks       the characters themselves
//   E       IEEE float (4) or double (8 bytes)   "%1.7g", "%1.15g", or hex
//   I       two's-complement signed integer      decimal or hex
//   K       unsigned integer                     decimal or hex
//   P       packed decimal                       decimal
//   Z       zoned decimal                        decimal
//
// All values are whole numbers except those of E; the decimal forms have no
// decimal point and no scale.
//
// Zoned decimal, n bytes: n digits, one ASCII digit per byte, most significant
// first. The last byte may carry the sign folded into its digit:
//
//   last byte     digit      sign
//   '0' to '9'    itself     none, orders as positive
//   '{'           0          positive
//   'A' to 'I'    1 to 9     positive
//   '}'           0          negative
//   'J' to 'R'    1 to 9     negative
//
// Stored values are read without validation: any other last byte below 'J' is
// positive with the digit byte - 0x10, any from 'J' up is negative with the
// digit byte - 0x19 (both modulo 256). Other bytes are taken as they are.
//
// Packed decimal, n bytes: 2n - 1 digits, two per byte, high nibble first. The
// last byte holds the last digit in its high nibble and the sign in its low
// nibble:
//
//   byte      0        1        ...   n - 1
//           +---+---+---+---+       +---+---+
//           | d | d | d | d |  ...  | d | s |   s: 0xC '+', 0xD '-',
//           +---+---+---+---+       +---+---+      any other: no sign
//
// Scanning writes 0xF where the text has no sign. A nibble above 9 is printed
// as the character '0' + nibble.
//
// Integers and floats are stored little-endian. Integers of 2, 4 and 8 bytes
// and floats of 4 and 8 bytes are printed in decimal, every other width in the
// hex form: an 'x' (never 'X'), then the digits with the most significant
// first, so that x1234 stands for the stored bytes 34 12. The hex form can be
// entered for every width; decimal text also for integers of 1 byte.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// Scanning: converts the number at the head of `str` to a stored value that is
// exactly as wide as `buf` (at least 1 byte). Every byte of `buf` is written,
// whatever the result. No blanks are skipped (except by the float scan) and
// what follows the number is not looked at. `end_p` may be null; otherwise it
// receives the position in `str` after the last character used.
//
// Result: 0 when the value is stored exactly as the text gives it (a float: as
// near as the width allows), 1 when it was clamped or digits were cut off, -1
// when there is no number; the stored value is then zero. The decimal forms
// keep the most significant digits. -0 is stored as +0.
int idb__scan_zoned(std::span<std::uint8_t> buf, const char** end_p,
                    std::string_view str);
int idb__scan_packed(std::span<std::uint8_t> buf, const char** end_p,
                     std::string_view str);

// The binary scans also take the hex form. Decimal text for an integer wider
// than 1 byte that is not 2, 4 or 8 bytes wide, and for a float that is not 4
// or 8 bytes wide, gives result -1 and zero. Only the signed form takes a sign.
// Integer text is accumulated modulo 2^64 before it is clamped to the width, so
// that values beyond 64 bits are not noticed.
int idb__scan_unsigned_int(std::span<std::uint8_t> buf, const char** end_p,
                           std::string_view str);
int idb__scan_signed_int(std::span<std::uint8_t> buf, const char** end_p,
                         std::string_view str);

// Takes what strtod takes. At most 63 characters are looked at; the result for
// a longer text is always 1. A double out of range is clamped, an underflow
// stored as 0.0, both with result 1; clamping a double to a float gives 0.
int idb__scan_ieee_float(std::span<std::uint8_t> buf, const char** end_p,
                         std::string_view str);

// Printing: writes the stored value `v` (at least 1 byte) as text into `buf`
// (at least 1 byte), always NUL-terminated. `length`, unless null, receives the
// number of characters before that NUL; bad zoned bytes are copied, so the text
// may hold NULs of its own.
//
// Result: 0 when the whole text was written, 1 when it was cut after
// buf.size() - 1 characters. The float's hex form (which allows an empty `v`)
// is cut after 63 characters in any case.
int idb__fmt_zoned(std::span<char> buf, std::span<const std::uint8_t> v,
                   std::size_t* length = nullptr);
int idb__fmt_packed(std::span<char> buf, std::span<const std::uint8_t> v,
                    std::size_t* length = nullptr);
int idb__fmt_unsigned_int(std::span<char> buf, std::span<const std::uint8_t> v,
                          std::size_t* length = nullptr);
int idb__fmt_signed_int(std::span<char> buf, std::span<const std::uint8_t> v,
                        std::size_t* length = nullptr);
int idb__fmt_ieee_float(std::span<char> buf, std::span<const std::uint8_t> v,
                        std::size_t* length = nullptr);

// The same text as idb__fmt_ieee_float gives for a double, without NUL. Returns
// the place behind it; `place` has room for DOUBLE_TEXT_SIZE characters.
inline constexpr std::size_t DOUBLE_TEXT_SIZE = 32;
char* idb__write_double(double value, char* place);

// The same text as idb__fmt_packed gives, without NUL. Returns the place behind
// it; `place` has room for 2 * v.size() characters.
char* idb__write_packed(std::span<const std::uint8_t> v, char* place);

// Comparing: orders two stored values of the same width (at least 1 byte; for
// floats it may be 0). The result is negative when a < b, zero when they are
// equal, positive when a > b; only its sign means anything. Negative zero
// equals positive zero.
int idb__cmp_zoned(std::span<const std::uint8_t> a,
                   std::span<const std::uint8_t> b);
int idb__cmp_packed(std::span<const std::uint8_t> a,
                    std::span<const std::uint8_t> b);
int idb__cmp_unsigned_int(std::span<const std::uint8_t> a,
                          std::span<const std::uint8_t> b);
int idb__cmp_signed_int(std::span<const std::uint8_t> a,
                        std::span<const std::uint8_t> b);
// A NaN on either side gives 1. Widths other than 4 and 8 are ordered by their
// bytes in storage order.
int idb__cmp_ieee_float(std::span<const std::uint8_t> a,
                        std::span<const std::uint8_t> b);

// What an item type letter stands for. Numeric types have all three operations;
// character types have none, and are read without their trailing `fill` bytes.
struct item_type {
  char letter;
  bool numeric;
  char fill;
  int (*scan)(std::span<std::uint8_t> buf, const char** end_p,
              std::string_view str);
  int (*fmt)(std::span<char> buf, std::span<const std::uint8_t> v,
             std::size_t* length);
  int (*cmp)(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b);
};

// The value of a character item without its trailing fill.
std::span<const std::uint8_t> without_fill(std::span<const std::uint8_t> v,
                                           char fill);

// The type of the letter, which stays valid for the whole run, or null when no
// type has that letter.
const item_type* item_type_of(char letter);

#endif  // CHRONEX_COMMON_TYPEUTILS_H
