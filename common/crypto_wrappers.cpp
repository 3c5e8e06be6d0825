#include <unistd.h>

#include <array>
#include <cassert>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "common/crypto_api.h"
#include "common/crypto_map.h"

namespace {

bool prng_seeded = false;

// Feeds the generator 8 bytes: the time in seconds and the process id, each 32
// bits in host byte order. The library adds sources of its own.
void prng_seed() {
  const std::array<std::uint32_t, 2> seed = {
      static_cast<std::uint32_t>(std::time(nullptr)),
      static_cast<std::uint32_t>(getpid())};
  assert(ko__RAND_seed);
  ko__RAND_seed(seed.data(), static_cast<int>(sizeof seed));
  prng_seeded = true;
}

}  // namespace

void enc_err(const char* where, const char* what, unsigned long err, int line) {
  if (err == 0) {
    std::fprintf(stderr, "%s:%d: %s failed (%lu)\n", where, line, what, err);
  }
  for (; err != 0; err = ko__ERR_get_error()) {
    enc_err_msg(where, what, err, line, 0);
  }
}

void enc_err_msg(const char* where, const char* what, unsigned long err,
                 int line, int quiet) {
  std::array<char, 1024> text = {};
  assert(ko__ERR_error_string_n);
  ko__ERR_error_string_n(err, text.data(), text.size());
  if (quiet > 0) return;
  std::fprintf(stderr, "%s:%d: %s %s\n", where, line, what, text.data());
}

unsigned long ko__ERR_get_error() {
  assert(ko__ERR_get_error__i);
  return ko__ERR_get_error__i();
}

void ko__ERR_print_errors_fp(std::FILE* stream) {
  assert(ko__ERR_print_errors_fp__i);
  ko__ERR_print_errors_fp__i(stream);
}

int ko__MD5_Init(lib_md5_ctx_t* context) {
  assert(ko__MD5_Init__i);
  return ko__MD5_Init__i(context);
}

int ko__MD5_Update(lib_md5_ctx_t* context, const void* data, std::size_t size) {
  assert(ko__MD5_Update__i);
  return ko__MD5_Update__i(context, data, size);
}

int ko__MD5_Final(std::uint8_t* digest, lib_md5_ctx_t* context) {
  assert(ko__MD5_Final__i);
  return ko__MD5_Final__i(digest, context);
}

const evp_md_t* ko__EVP_md5() {
  assert(ko__EVP_md5__i);
  return ko__EVP_md5__i();
}

const evp_cipher_t* ko__EVP_aes_128_cbc() {
  assert(ko__EVP_aes_128_cbc__i);
  return ko__EVP_aes_128_cbc__i();
}

const evp_cipher_t* ko__EVP_aes_256_cbc() {
  assert(ko__EVP_aes_256_cbc__i);
  return ko__EVP_aes_256_cbc__i();
}

const evp_cipher_t* ko__EVP_des_ede3_cbc() {
  assert(ko__EVP_des_ede3_cbc__i);
  return ko__EVP_des_ede3_cbc__i();
}

int ko__EVP_CIPHER_key_length(const evp_cipher_t* cipher) {
  assert(ko__EVP_CIPHER_key_length__i);
  return ko__EVP_CIPHER_key_length__i(cipher);
}

int ko__EVP_CIPHER_iv_length(const evp_cipher_t* cipher) {
  assert(ko__EVP_CIPHER_iv_length__i);
  return ko__EVP_CIPHER_iv_length__i(cipher);
}

int ko__EVP_BytesToKey(const evp_cipher_t* cipher, const evp_md_t* digest,
                       const std::uint8_t* salt, const std::uint8_t* data,
                       int data_length, int count, std::uint8_t* key,
                       std::uint8_t* iv) {
  assert(ko__EVP_BytesToKey__i);
  return ko__EVP_BytesToKey__i(cipher, digest, salt, data, data_length, count,
                               key, iv);
}

int ko__PKCS5_PBKDF2_HMAC_SHA1(const char* passphrase, int passphrase_length,
                               const std::uint8_t* salt, int salt_length,
                               int iterations, int key_length,
                               std::uint8_t* key) {
  assert(ko__PKCS5_PBKDF2_HMAC_SHA1__i);
  return ko__PKCS5_PBKDF2_HMAC_SHA1__i(passphrase, passphrase_length, salt,
                                       salt_length, iterations, key_length,
                                       key);
}

evp_cipher_ctx_t* ko__EVP_CIPHER_CTX_new() {
  assert(ko__EVP_CIPHER_CTX_new__i);
  return ko__EVP_CIPHER_CTX_new__i();
}

void ko__EVP_CIPHER_CTX_free(evp_cipher_ctx_t* context) {
  assert(ko__EVP_CIPHER_CTX_free__i);
  ko__EVP_CIPHER_CTX_free__i(context);
}

int ko__EVP_CIPHER_CTX_cleanup(evp_cipher_ctx_t* context) {
  if (ko__EVP_CIPHER_CTX_cleanup__i) {
    return ko__EVP_CIPHER_CTX_cleanup__i(context);
  }
  assert(ko__EVP_CIPHER_CTX_cleanup__i || ko__EVP_CIPHER_CTX_reset);
  return ko__EVP_CIPHER_CTX_reset(context);
}

int ko__EVP_CIPHER_CTX_set_padding(evp_cipher_ctx_t* context, int padding) {
  assert(ko__EVP_CIPHER_CTX_set_padding__i);
  return ko__EVP_CIPHER_CTX_set_padding__i(context, padding);
}

int ko__EVP_EncryptInit(evp_cipher_ctx_t* context, const evp_cipher_t* cipher,
                        const std::uint8_t* key, const std::uint8_t* iv) {
  assert(ko__EVP_EncryptInit__i);
  return ko__EVP_EncryptInit__i(context, cipher, key, iv);
}

int ko__EVP_EncryptUpdate(evp_cipher_ctx_t* context, std::uint8_t* out,
                          int* out_length, const std::uint8_t* in,
                          int in_length) {
  assert(ko__EVP_EncryptUpdate__i);
  return ko__EVP_EncryptUpdate__i(context, out, out_length, in, in_length);
}

int ko__EVP_EncryptFinal(evp_cipher_ctx_t* context, std::uint8_t* out,
                         int* out_length) {
  assert(ko__EVP_EncryptFinal__i);
  return ko__EVP_EncryptFinal__i(context, out, out_length);
}

int ko__EVP_DecryptInit(evp_cipher_ctx_t* context, const evp_cipher_t* cipher,
                        const std::uint8_t* key, const std::uint8_t* iv) {
  assert(ko__EVP_DecryptInit__i);
  return ko__EVP_DecryptInit__i(context, cipher, key, iv);
}

int ko__EVP_DecryptUpdate(evp_cipher_ctx_t* context, std::uint8_t* out,
                          int* out_length, const std::uint8_t* in,
                          int in_length) {
  assert(ko__EVP_DecryptUpdate__i);
  return ko__EVP_DecryptUpdate__i(context, out, out_length, in, in_length);
}

int ko__EVP_DecryptFinal(evp_cipher_ctx_t* context, std::uint8_t* out,
                         int* out_length) {
  assert(ko__EVP_DecryptFinal__i);
  return ko__EVP_DecryptFinal__i(context, out, out_length);
}

int ko__RAND_bytes(std::uint8_t* buffer, int size) {
  if (!prng_seeded) prng_seed();
  assert(ko__RAND_bytes__i);
  return ko__RAND_bytes__i(buffer, size);
}

int ko__RAND_pseudo_bytes(std::uint8_t* buffer, int size) {
  if (!prng_seeded) prng_seed();
  assert(ko__RAND_pseudo_bytes__i);
  return ko__RAND_pseudo_bytes__i(buffer, size);
}
