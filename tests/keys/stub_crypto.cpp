// A library with the procedure names of libcrypto and none of its functions,
// built several times with different names left out.

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

// A procedure that is looked up but not called.
#define STUB(name) \
  extern "C" void name() {}

STUB(ERR_print_errors_fp)
STUB(AES_set_encrypt_key)
STUB(AES_set_decrypt_key)
STUB(AES_encrypt)
STUB(AES_decrypt)
STUB(AES_cbc_encrypt)
STUB(RSA_new)
STUB(RSA_size)
STUB(RSA_free)
STUB(RSA_generate_key_ex)
STUB(RSA_public_encrypt)
STUB(RSA_private_decrypt)
STUB(i2d_RSAPublicKey)
STUB(d2i_RSAPublicKey)
STUB(i2d_RSAPrivateKey)
STUB(d2i_RSAPrivateKey)
STUB(BN_new)
STUB(BN_set_word)
STUB(BN_free)
STUB(PKCS5_PBKDF2_HMAC_SHA1)
#ifndef STUB_NO_KEY_LENGTH
STUB(EVP_CIPHER_key_length)
STUB(EVP_md5)
#endif
STUB(EVP_CIPHER_iv_length)
STUB(EVP_BytesToKey)
STUB(EVP_CIPHER_CTX_new)
STUB(EVP_CIPHER_CTX_free)
STUB(EVP_EncryptInit)
STUB(EVP_EncryptUpdate)
STUB(EVP_EncryptFinal)
STUB(EVP_DecryptInit)
STUB(EVP_DecryptUpdate)
STUB(EVP_DecryptFinal)
STUB(EVP_CIPHER_CTX_set_padding)
STUB(EVP_aes_128_cbc)
STUB(EVP_aes_256_cbc)
STUB(EVP_des_ede3_cbc)
STUB(MD5_Init)
STUB(MD5_Update)
STUB(MD5_Final)

// A queue of two errors.
extern "C" unsigned long ERR_get_error() {
  static unsigned long next = 7;
  return next <= 8 ? next++ : 0;
}

extern "C" void ERR_error_string_n(unsigned long code, char* text,
                                   std::size_t size) {
  std::snprintf(text, size, "error %lu", code);
}

extern "C" void RAND_seed(const void* seed, int size) {
  std::array<std::uint32_t, 2> words = {};
  if (size == sizeof words) std::memcpy(words.data(), seed, sizeof words);
  const std::time_t age = std::time(nullptr) - std::time_t{words[0]};
  const bool is_own_pid = words[1] == static_cast<std::uint32_t>(getpid());
  std::fprintf(stderr, "RAND_seed %d time %s pid %s\n", size,
               age >= 0 && age < 60 ? "good" : "bad",
               is_own_pid ? "good" : "bad");
}

extern "C" int RAND_bytes(std::uint8_t* /*buffer*/, int size) { return size; }
extern "C" int RAND_pseudo_bytes(std::uint8_t* /*buffer*/, int size) {
  return size + 1;
}

#ifndef STUB_NO_OLD_NAMES
extern "C" const char* SSLeay_version(int /*kind*/) { return "old"; }
extern "C" int EVP_CIPHER_CTX_cleanup(void* /*context*/) { return 10; }
#endif
#ifndef STUB_NO_NEW_NAMES
extern "C" const char* OpenSSL_version(int /*kind*/) { return "new"; }
extern "C" int EVP_CIPHER_CTX_reset(void* /*context*/) { return 11; }
#endif

extern "C" void ERR_free_strings() { std::fprintf(stderr, "free strings\n"); }
extern "C" void EVP_cleanup() { std::fprintf(stderr, "EVP cleanup\n"); }

namespace {
[[gnu::destructor]] void close_library() {
  std::fprintf(stderr, "crypto closed\n");
}
}  // namespace
