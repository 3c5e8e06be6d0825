#ifndef CHRONEX_SERVER_MISC_KEYUTIL_H
#define CHRONEX_SERVER_MISC_KEYUTIL_H

// The master key store: the master keys that the process has unlocked, used to
// encrypt and decrypt the data encryption keys of databases.
//
// A master key is named by its check value, the MD5 digest of the key's bytes.
// It may arrive in parts that XOR together to the key: parts are added one at a
// time, and the key becomes active (usable) as soon as the XOR of the parts so
// far has the check value's digest. Until then it is incomplete.
//
// The store is one list per process, in order of creation. Single-threaded use
// only. Every key and part that the store releases is wiped first.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "common/key_memory.h"

inline constexpr std::size_t MKEY_CHECK_SIZE = 16;

// Types of key buffers. A check value has type 0; other key types than these
// can be stored, but not used.
inline constexpr std::uint32_t MKEY_TYPE_CHECK = 0;
inline constexpr std::uint32_t MKEY_TYPE_XOR = 1;
inline constexpr std::uint32_t MKEY_TYPE_AES = 2;

// States of a master key.
inline constexpr std::uint32_t MKEY_ACTIVE = 0;
inline constexpr std::uint32_t MKEY_INCOMPLETE = 1;

// A check value, a master key or a part of one. It owns its bytes, which lie in
// key memory and are wiped when it lets go of them.
struct key_buffer {
  std::uint32_t type = MKEY_TYPE_CHECK;
  std::uint32_t sz = 0;  // bytes in `data`
  key_bytes data;

  key_buffer() = default;
  key_buffer(key_buffer&& other) noexcept;
  key_buffer& operator=(key_buffer&& other) noexcept;
  key_buffer(const key_buffer&) = delete;
  key_buffer& operator=(const key_buffer&) = delete;
  ~key_buffer() = default;

  // Replaces the contents by a copy of `key_bytes` (less than 4 GiB). Returns
  // false when there is no memory; the buffer is then empty, with type 0.
  [[nodiscard]] bool assign(std::uint32_t key_type,
                            std::span<const std::uint8_t> key_bytes) noexcept;
};

// What ko_enc_mkey_enum tells about a master key.
struct mkey_info {
  std::uint32_t id;
  std::uint32_t state;  // MKEY_ACTIVE or MKEY_INCOMPLETE
  std::array<std::uint8_t, MKEY_CHECK_SIZE> mcheck;
  std::uint32_t type;           // of the key
  std::uint32_t sz;             // bytes of the key
  std::uint32_t creation_time;  // global_time_stamp when it was made
};

// The clock that creation times and ages refer to. Nothing in this program
// advances it: it stays 0.
extern std::uint32_t global_time_stamp;

// Empties the store and starts the ids at 1 again. Returns 0.
int ko_enc_mkey_init();

// Adds copies of a master key, or of a part of one, under its check value. A
// text that says what happened, or why it failed, goes to `*msg` when `msg` is
// not null; it is a constant, or null when `mcheck` is no check value (type 0,
// 16 bytes). Returns 0 on success; on failure -1, with the store as it was.
int ko_enc_mkey_add_key(const key_buffer& mcheck, const key_buffer& key,
                        const char** msg);

// Encrypts or decrypts `key_p` in place with the active master key whose check
// value is `mcheck_p`. Neither span may be a null pointer. Returns 1 when done,
// 0 when there is no such active master key, and -1 when it cannot be done:
// `mcheck_p` is not 16 bytes, `key_p` not 16 or 32, the master key's type or
// size is not usable, or the crypto library is missing (which is reported on
// standard error). `key_p` is changed only by a call that returns 1.
int ko_enc_mkey_crypt(std::span<const std::uint8_t> mcheck_p,
                      std::span<std::uint8_t> key_p, bool encrypt);

// Looks for an active master key. Returns 1 when there is one, and `*key`, when
// `key` is not null, becomes a copy of it; 0 when there is none; -1 when
// `mcheck` is no check value or there is no memory for the copy. `*key` is null
// unless 1 is returned.
int ko_enc_mkey_locate(const key_buffer& mcheck,
                       std::unique_ptr<key_buffer>* key);

// Describes the master key at position `index`, from 0, in order of creation.
// Returns 1 when `info` is filled, 0 past the end, -1 for a negative index.
int ko_enc_mkey_enum(int index, mkey_info& info);

// Removes the master key, active or not, with that check value. Returns 1 when
// it is gone, 0 when there was none, -1 when `mcheck` is no check value.
int ko_enc_mkey_del(const key_buffer& mcheck);

// Removes every incomplete master key that is at least `max_age` old, in units
// of global_time_stamp.
void ko_enc_mkey_expire_incomplete(std::uint32_t max_age);

// Removes every master key.
void ko_enc_mkey_exit();

#endif  // CHRONEX_SERVER_MISC_KEYUTIL_H
