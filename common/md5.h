#ifndef CHRONEX_COMMON_MD5_H
#define CHRONEX_COMMON_MD5_H

// MD5 (RFC 1321) without the crypto library, so that key check values and
// checksums can be verified on a machine that has no such library.
//
//   ko_md5_context context;
//   ko__MD5Init(context);
//   ko__MD5Update(context, first);
//   ko__MD5Update(context, second);
//   const md5_digest digest = ko__MD5Final(context);

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t MD5_DIGEST_SIZE = 16;
inline constexpr std::size_t MD5_BLOCK_SIZE = 64;

using md5_digest = std::array<std::uint8_t, MD5_DIGEST_SIZE>;

// A digest in the making. The caller owns it and leaves its fields alone.
struct ko_md5_context {
  std::array<std::uint32_t, 4> state;                // A, B, C, D
  std::uint64_t length;                              // bytes taken so far
  std::array<std::uint8_t, MD5_BLOCK_SIZE> pending;  // an unfinished block
};

// Starts a new digest, whatever the context held before.
void ko__MD5Init(ko_md5_context& context) noexcept;

// Takes the next bytes of the message: any number, at any alignment. The bytes
// stay the caller's.
void ko__MD5Update(ko_md5_context& context,
                   std::span<const std::uint8_t> bytes) noexcept;

// Returns the digest of everything taken since ko__MD5Init. The context is
// wiped, because it may hold key material; start it again before another use.
[[nodiscard]] md5_digest ko__MD5Final(ko_md5_context& context) noexcept;

#endif  // CHRONEX_COMMON_MD5_H
