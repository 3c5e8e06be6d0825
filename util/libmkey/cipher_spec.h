#ifndef CHRONEX_UTIL_LIBMKEY_CIPHER_SPEC_H
#define CHRONEX_UTIL_LIBMKEY_CIPHER_SPEC_H

// How a passphrase protects a key: the key file's "cipher" entry, and the
// decryption that it describes. The crypto library must have been loaded.
//
// The entry is either empty or "compat", for keys of old: DES-EDE3-CBC without
// padding, its key and IV made from the passphrase with one round of MD5 and no
// salt. Or it has four fields:
//
//   hmac-sha1:<cipher>[-pad|-nopad]:<salt>:<iterations>
//
// with the cipher des-ede3-cbc, aes128-cbc or aes256-cbc, a salt of up to 8
// bytes in hex, and a decimal number. Key and IV follow each other in the
// output of PBKDF2-HMAC-SHA1. Without "-pad" there is no padding.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "common/crypto_api.h"

// The decoded entry.
struct cipher_settings {
  bool compat = true;
  int salt_len = 0;  // bytes of `salt` in use
  std::array<std::uint8_t, 8> salt{};
  int iter = 0;
  bool pad = false;
  std::string_view cipher_name;  // a constant
  const evp_cipher_t* cipher = nullptr;
};

// Decodes the entry's value, which is empty when there is no such entry. What
// follows a fourth field is ignored. Returns false when a field is missing or
// unknown; nothing is printed.
bool decode_cipher(std::string_view text, cipher_settings& k_ctx);

// Bytes of output that decrypt_key may write beyond the length of its input.
inline constexpr std::size_t MAX_CIPHER_BLOCK = 16;

// Decrypts `input` with a key made from `passphrase` into `output`, which must
// have room for the input and MAX_CIPHER_BLOCK bytes more, and stores the
// number of bytes written. Returns false when it fails, for instance because of
// wrong padding; that has been reported on standard error, with the library's
// own report right behind the message, and the program must end. `output` may
// then hold remains of a key.
bool decrypt_key(const cipher_settings& k_ctx, std::string_view passphrase,
                 std::span<const std::uint8_t> input,
                 std::span<std::uint8_t> output, std::size_t& output_size);

#endif  // CHRONEX_UTIL_LIBMKEY_CIPHER_SPEC_H
