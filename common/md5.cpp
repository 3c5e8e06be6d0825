#include "common/md5.h"

#include <algorithm>
#include <bit>

#include "common/wipe.h"

namespace {

using md5_block = std::span<const std::uint8_t, MD5_BLOCK_SIZE>;
using md5_words = std::array<std::uint32_t, 16>;
using md5_state = std::array<std::uint32_t, 4>;

// The integer parts of 4294967296 * abs(sin(i)), i from 1 to 64 in radians.
constexpr std::array<std::uint32_t, 64> SINES = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a,
    0xa8304613, 0xfd469501, 0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be,
    0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821, 0xf61e2562, 0xc040b340,
    0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8,
    0x676f02d9, 0x8d2a4c8a, 0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c,
    0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70, 0x289b7ec6, 0xeaa127fa,
    0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92,
    0xffeff47d, 0x85845dd1, 0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1,
    0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// Left rotations: four per round, used in turn.
constexpr std::array<std::array<int, 4>, 4> ROTATIONS = {
    {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};

std::uint32_t decode_little_endian(std::span<const std::uint8_t, 4> bytes) {
  return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 |
         std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}

void encode_little_endian(std::uint64_t value, std::span<std::uint8_t> bytes) {
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(value & 0xff);
    value >>= 8;
  }
}

// The mixing function of a round.
std::uint32_t mix(std::size_t round, const md5_state& s) {
  switch (round) {
    case 0:
      return (s[1] & s[2]) | (~s[1] & s[3]);
    case 1:
      return (s[1] & s[3]) | (s[2] & ~s[3]);
    case 2:
      return s[1] ^ s[2] ^ s[3];
    default:
      return s[2] ^ (s[1] | ~s[3]);
  }
}

// Which word of the block a step of a round takes.
std::size_t word_index(std::size_t round, std::size_t step) {
  switch (round) {
    case 0:
      return step;
    case 1:
      return (5 * step + 1) % 16;
    case 2:
      return (3 * step + 5) % 16;
    default:
      return (7 * step) % 16;
  }
}

void transform(md5_state& state, md5_block block) {
  md5_words words;
  const wipe_guard words_guard(words.data(), sizeof words);
  for (std::size_t i = 0; i < words.size(); ++i) {
    words[i] = decode_little_endian(block.subspan(4 * i).first<4>());
  }
  md5_state s = state;
  for (std::size_t i = 0; i < SINES.size(); ++i) {
    const std::size_t round = i / 16;
    const std::uint32_t sum =
        s[0] + mix(round, s) + words[word_index(round, i % 16)] + SINES[i];
    s = {s[3], s[1] + std::rotl(sum, ROTATIONS[round][i % 4]), s[1], s[2]};
  }
  for (std::size_t i = 0; i < state.size(); ++i) state[i] += s[i];
}

}  // namespace

void ko__MD5Init(ko_md5_context& context) noexcept {
  context.state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  context.length = 0;
  context.pending = {};
}

void ko__MD5Update(ko_md5_context& context,
                   std::span<const std::uint8_t> bytes) noexcept {
  std::size_t filled = context.length % MD5_BLOCK_SIZE;
  context.length += bytes.size();
  if (filled != 0) {
    const std::size_t taken = std::min(bytes.size(), MD5_BLOCK_SIZE - filled);
    std::copy_n(bytes.begin(), taken,
                std::span(context.pending).subspan(filled).begin());
    bytes = bytes.subspan(taken);
    filled += taken;
    if (filled < MD5_BLOCK_SIZE) return;
    transform(context.state, context.pending);
  }
  while (bytes.size() >= MD5_BLOCK_SIZE) {
    transform(context.state, bytes.first<MD5_BLOCK_SIZE>());
    bytes = bytes.subspan(MD5_BLOCK_SIZE);
  }
  std::copy(bytes.begin(), bytes.end(), context.pending.begin());
}

md5_digest ko__MD5Final(ko_md5_context& context) noexcept {
  // The message ends with a 1 bit, zeros, and its length in bits, 64 bits wide,
  // at the end of the last block.
  std::array<std::uint8_t, 8> bit_length;
  encode_little_endian(context.length * 8, bit_length);
  constexpr std::array<std::uint8_t, MD5_BLOCK_SIZE> PADDING = {0x80};
  const std::size_t filled = context.length % MD5_BLOCK_SIZE;
  const std::size_t padding = (filled < 56 ? 56 : 120) - filled;
  ko__MD5Update(context, std::span(PADDING).first(padding));
  ko__MD5Update(context, bit_length);

  md5_digest digest;
  for (std::size_t i = 0; i < context.state.size(); ++i) {
    encode_little_endian(context.state[i], std::span(digest).subspan(4 * i, 4));
  }
  wipe(&context, sizeof context);
  return digest;
}
