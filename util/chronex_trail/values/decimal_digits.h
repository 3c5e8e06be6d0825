#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_DECIMAL_DIGITS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_DECIMAL_DIGITS_H

// Packed and zoned decimals as digits. common/typeutils.h describes the stored
// forms; other than there, what is no number is told apart.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

// Write the number without leading zeros, with '-' only when it is negative;
// zero is "0". `out` has room for twice as many characters as `v` has bytes,
// and DIGITS_SLACK more, which may be written, too. They return the number of
// characters, or 0 when a digit is none, or a digit stands where the sign
// should be.
inline constexpr std::size_t DIGITS_SLACK = 16;
std::size_t packed_digits(std::span<const std::uint8_t> v, char* out);
std::size_t zoned_digits(std::span<const std::uint8_t> v, char* out);

// The same numbers, of at most 18 digits; none where those return 0.
std::optional<std::int64_t> packed_number(std::span<const std::uint8_t> v);
std::optional<std::int64_t> zoned_number(std::span<const std::uint8_t> v);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_DECIMAL_DIGITS_H
