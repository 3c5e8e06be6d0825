#ifndef CHRONEX_UTIL_CHRONEX_KEYS_KEY_CONTEXT_H
#define CHRONEX_UTIL_CHRONEX_KEYS_KEY_CONTEXT_H

// The keys of a database, as this room keeps them.

#include <cstdint>
#include <memory>

#include "common/crypto_api.h"
#include "common/key_memory.h"
#include "util/chronex/keys/node_crypt.h"

inline constexpr std::uint16_t KEY_TYPE_NONE = 0;
inline constexpr std::uint16_t KEY_TYPE_XOR = 1;
inline constexpr std::uint16_t KEY_TYPE_AES = 2;
inline constexpr std::uint16_t KEY_TYPE_AES_3 = 3;

struct key_entry {
  std::uint32_t key_id = 0;
  std::uint16_t type = 0;
  std::uint16_t key_len = 0;
  // The usable key: plain bytes for XOR, a key object for AES.
  key_bytes xor_key;
  aes_key_ptr aes_key;
};

struct db_key_context {
  // The kept entries, and room for as many as the payload had.
  std::uint16_t count = 0;
  std::unique_ptr<key_entry[]> entries;
  // The payload, where the run is to be written down. Keys may stand in it in
  // clear, as in the log.
  std::shared_ptr<const key_bytes> payload;
};

#endif  // CHRONEX_UTIL_CHRONEX_KEYS_KEY_CONTEXT_H
