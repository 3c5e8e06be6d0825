#ifndef CHRONEX_UTIL_LIBMKEY_KEYFILE_H
#define CHRONEX_UTIL_LIBMKEY_KEYFILE_H

// One master key as the key file holds it.
//
// The key file (ini.h) has a section for each master key id, with the entries
//
//   cksum    the MD5 digest of the complete master key, its check value
//   key      the complete master key, encrypted under the passphrase
//   keyp     one part of the master key, encrypted under the passphrase
//   cksump   the MD5 digest of the bytes of cksum and the decrypted part
//   keyt     "XOR" or "AES", which is the default
//   cipher   how the passphrase protects the key (cipher_spec.h)
//
// where the first four are lower-case hex of at most 48 bytes; digests have 16
// bytes, encrypted keys 16 to 48. A section with keyp and cksump holds a part.
// Any other entry is ignored. Of entries with the same name the last counts.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/owned_bytes.h"

// The entries of a section, none where the section lacks them. A hex value is
// held as a length byte followed by that many bytes, a text with its null byte.
struct key_data {
  owned_bytes key;           // "key"
  owned_bytes key_md5;       // "cksum"
  owned_bytes key_part;      // "keyp"
  owned_bytes key_part_md5;  // "cksump"
  owned_bytes key_algo;      // "keyt"
  owned_bytes cipher;        // "cipher"

  key_data() = default;
  key_data(const key_data&) = delete;
  key_data& operator=(const key_data&) = delete;
  ~key_data();

  // True when the section holds a part of a master key.
  bool is_part() const;
  // What the passphrase decrypts: `key_part` or `key`.
  std::span<const std::uint8_t> encrypted() const;
};

// The bytes of a hex value and the characters of a text, which a null byte
// follows; empty for none.
std::span<const std::uint8_t> hex_value(const owned_bytes& entry);
std::string_view text_value(const owned_bytes& entry);

// Reads the section `id` from the first of `files` that has it, and checks it
// as far as that goes without the passphrase. Returns false when a file cannot
// be read, no file has the section, or its entries are unusable; the message
// has then been printed, and the program must end.
bool keyfile_read(const std::vector<std::string>& files, const std::string& id,
                  key_data& k);

#endif  // CHRONEX_UTIL_LIBMKEY_KEYFILE_H
