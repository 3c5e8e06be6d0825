#include <cassert>
#include <cstdio>
#include <memory>

#include "common/crypto_api.h"
#include "common/crypto_map.h"
#include "common/key_memory.h"
#include "common/wipe.h"

namespace {

bool set_decryption_key(std::span<const std::uint8_t> key,
                        aes_schedule_t* schedule) {
  if (!ko__AES_set_decrypt_key) {
    std::fprintf(stderr,
                 "Failed to set AES decryption key: reqired AES crypto library "
                 "methods not loaded\n");
    return false;
  }
  const int key_len = static_cast<int>(key.size());
  if (ko__AES_set_decrypt_key(key.data(), key_len * 8, schedule) != 0) {
    std::fprintf(stderr,
                 "Failed to set AES decryption key: invalid key length (%d "
                 "bytes)\n",
                 key_len);
    return false;
  }
  return true;
}

bool set_encryption_key(std::span<const std::uint8_t> key,
                        aes_schedule_t* schedule) {
  if (!ko__AES_set_encrypt_key) {
    std::fprintf(stderr,
                 "Failed to set AES encryption key: reqired AES crypto library "
                 "methods not loaded\n");
    return false;
  }
  const int key_len = static_cast<int>(key.size());
  if (ko__AES_set_encrypt_key(key.data(), key_len * 8, schedule) != 0) {
    std::fprintf(stderr,
                 "Failed to set AES encryption key: invalid key length (%d "
                 "bytes)\n",
                 key_len);
    return false;
  }
  return true;
}

const aes_schedule_t* encryption_schedule(const aes_key_t* aes_key_p) {
  assert((aes_key_p->mode & 1));
  return (aes_key_p->mode & AES_MODE_DECRYPT) != 0 ? &aes_key_p->second
                                                   : &aes_key_p->first;
}

const aes_schedule_t* decryption_schedule(const aes_key_t* aes_key_p) {
  assert((aes_key_p->mode & 2));
  return &aes_key_p->first;
}

}  // namespace

void aes_key_releaser::operator()(aes_key_t* aes_key_p) const noexcept {
  ko_enc__unset_aes_key(aes_key_p);
  key_memory_releaser<aes_key_t>()(aes_key_p);
}

aes_key_ptr ko_enc__set_aes_key(std::span<const std::uint8_t> key,
                                std::uint32_t mode) {
  // Silent when a load was attempted before; what is missing shows below.
  static_cast<void>(ko_enc__load(nullptr));
  aes_key_ptr aes_key(try_make_key<aes_key_t>().release());
  if (aes_key == nullptr) {
    std::fprintf(stderr, "Failed to allocate AES key (%d bytes)\n",
                 static_cast<int>(sizeof(aes_key_t)));
    return nullptr;
  }
  aes_key->mode = mode;
  const bool decrypts = (mode & AES_MODE_DECRYPT) != 0;
  if (decrypts && !set_decryption_key(key, &aes_key->first)) return nullptr;
  if ((mode & AES_MODE_ENCRYPT) == 0) return aes_key;
  aes_schedule_t* schedule = decrypts ? &aes_key->second : &aes_key->first;
  if (!set_encryption_key(key, schedule)) return nullptr;
  return aes_key;
}

void ko_enc__unset_aes_key(aes_key_t* aes_key_p) noexcept {
  if (aes_key_p != nullptr) wipe(aes_key_p, sizeof *aes_key_p);
}

void ko_enc__aes_crypt_cbc(const aes_key_t* aes_key_p, bool encrypt,
                           std::span<const std::uint8_t> in,
                           std::span<std::uint8_t> out,
                           std::span<std::uint8_t, AES_BLOCK_SIZE> ivec) {
  const aes_schedule_t* schedule =
      encrypt ? encryption_schedule(aes_key_p) : decryption_schedule(aes_key_p);
  assert(in.size() % AES_BLOCK_SIZE == 0 && in.size() <= out.size());
  assert(ko__AES_cbc_encrypt);
  ko__AES_cbc_encrypt(in.data(), out.data(), in.size(), schedule, ivec.data(),
                      encrypt ? 1 : 0);
}

void ko_enc__aes_encrypt(const aes_key_t* aes_key_p,
                         std::span<const std::uint8_t, AES_BLOCK_SIZE> in,
                         std::span<std::uint8_t, AES_BLOCK_SIZE> out) {
  const aes_schedule_t* schedule = encryption_schedule(aes_key_p);
  assert(ko__AES_encrypt);
  ko__AES_encrypt(in.data(), out.data(), schedule);
}

void ko_enc__aes_decrypt(const aes_key_t* aes_key_p,
                         std::span<const std::uint8_t, AES_BLOCK_SIZE> in,
                         std::span<std::uint8_t, AES_BLOCK_SIZE> out) {
  const aes_schedule_t* schedule = decryption_schedule(aes_key_p);
  assert(ko__AES_decrypt);
  ko__AES_decrypt(in.data(), out.data(), schedule);
}
