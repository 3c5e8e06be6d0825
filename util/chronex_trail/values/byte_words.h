#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_BYTE_WORDS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_BYTE_WORDS_H

// Bytes that are looked at eight at a time: the first of them is the lowest
// byte of a word.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little);

inline constexpr std::size_t WORD = sizeof(std::uint64_t);

// A word of eight bytes that are all the same.
constexpr std::uint64_t word_of(std::uint8_t byte) {
  return std::uint64_t{0x0101010101010101} * byte;
}

inline std::uint64_t load_word(const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, WORD);
  return word;
}

inline std::uint32_t load_half_word(const std::uint8_t* bytes) {
  std::uint32_t half = 0;
  std::memcpy(&half, bytes, sizeof half);
  return half;
}

// Fewer than nine bytes; those that are missing behind them are zero.
inline std::uint64_t load_short_word(const std::uint8_t* bytes,
                                     std::size_t size) {
  if (size >= 4) {
    return load_half_word(bytes) |
           std::uint64_t{load_half_word(bytes + size - 4)} << (size - 4) * 8;
  }
  std::uint64_t word = 0;
  for (; size > 0; --size) word = word << 8 | bytes[size - 1];
  return word;
}

inline bool same_bytes(const std::uint8_t* a, const std::uint8_t* b,
                       std::size_t size) {
  if (size < WORD) return load_short_word(a, size) == load_short_word(b, size);
  for (std::size_t at = 0; at + WORD <= size; at += WORD) {
    if (load_word(a + at) != load_word(b + at)) return false;
  }
  return load_word(a + size - WORD) == load_word(b + size - WORD);
}

inline void store_word(std::uint64_t word, char* out) {
  std::memcpy(out, &word, WORD);
}

// The eight half bytes of four bytes, one a byte, the higher one of each first.
constexpr std::uint64_t half_bytes(std::uint32_t bytes) {
  std::uint64_t pairs = bytes;
  pairs = (pairs | pairs << 16) & 0x0000FFFF0000FFFF;
  pairs = (pairs | pairs << 8) & 0x00FF00FF00FF00FF;
  return (pairs >> 4 | pairs << 8) & word_of(0x0F);
}

// The bytes in the opposite order.
constexpr std::uint64_t reversed_word(std::uint64_t word) {
  word = (word & 0x00FF00FF00FF00FF) << 8 | (word >> 8 & 0x00FF00FF00FF00FF);
  word = (word & 0x0000FFFF0000FFFF) << 16 | (word >> 16 & 0x0000FFFF0000FFFF);
  return word << 32 | word >> 32;
}

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_BYTE_WORDS_H
