#ifndef CHRONEX_COMMON_CRYPTO_API_H
#define CHRONEX_COMMON_CRYPTO_API_H

// The crypto layer: AES, MD5, ciphers, key derivation and random numbers of
// OpenSSL's libcrypto without linking against it.
//
// The library is opened at run time and every procedure is looked up by name,
// so one build works with the 1.0, 1.1 and 3 generations of the library, and
// the program also runs where the library is absent: then only what needs it
// fails. The library's types are opaque here, its procedures are declared by
// this program (crypto_map.h), and no header of the library is used.
//
// ko_enc__load must have returned 0 before any of the ko__ procedures below is
// called; a call without it stops the program with an assertion that names the
// missing procedure's slot. ko_enc__set_aes_key loads the library by itself.
// Single-threaded use only.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

#include "common/key_memory.h"

// ---------------------------------------------------------------- the library

// Groups of procedures that ko_enc__init can ask for.
inline constexpr std::uint32_t ENC_MODE_BASIC = 0;
inline constexpr std::uint32_t ENC_MODE_SSL = 1;

// Says which optional groups of procedures are wanted (ENC_MODE_*). Only the
// first initialisation counts; a load without one initialises with
// ENC_MODE_BASIC.
void ko_enc__init(std::uint32_t mode);

// Loads the library, once per process. `crypto_lib_path` must be null. Returns
// 0 when the library is available and -1 when it is not, after a report on
// standard error. A later call returns the first outcome without a word.
int ko_enc__load(const char* crypto_lib_path);

// 1 when the library has been loaded and is available, else 0.
int ko_enc__loaded();

// The library's version text (owned by the library), or null when the library
// is not available.
const char* ko_enc__version();

// Releases an available library; the next load opens it afresh. Does nothing
// after a failed load, which is final.
void ko_enc__cleanup();

// ------------------------------------------------------------------------ AES

inline constexpr std::size_t AES_BLOCK_SIZE = 16;
inline constexpr std::uint32_t AES_MODE_ENCRYPT = 1;
inline constexpr std::uint32_t AES_MODE_DECRYPT = 2;

// Room for the library's AES_KEY: 60 round key words and the number of rounds,
// 244 bytes in every generation.
struct alignas(16) aes_schedule_t {
  std::uint8_t bytes[256];
};

// An AES key, ready for use in the directions of `mode`.
struct aes_key_t {
  std::uint32_t mode;     // AES_MODE_ENCRYPT, AES_MODE_DECRYPT or both (3)
  aes_schedule_t first;   // for decryption if `mode` has it, else encryption
  aes_schedule_t second;  // for encryption if `mode` is 3, else all zero
};

// Wipes and frees an AES key, which lies in key memory.
struct aes_key_releaser {
  void operator()(aes_key_t* aes_key_p) const noexcept;
};
using aes_key_ptr = std::unique_ptr<aes_key_t, aes_key_releaser>;

// Makes an AES key object from 16, 24 or 32 key bytes, which stay the caller's;
// `mode` is 1 (encrypt), 2 (decrypt) or 3. Loads the library if no load was
// attempted yet. Returns null after a report on standard error when the library
// or memory is missing or the key has another length.
aes_key_ptr ko_enc__set_aes_key(std::span<const std::uint8_t> key,
                                std::uint32_t mode);

// Wipes the whole object, which may be null, and leaves freeing it to its
// owner; it is of no use afterwards. An aes_key_ptr does both by itself.
void ko_enc__unset_aes_key(aes_key_t* aes_key_p) noexcept;

// Encrypts or decrypts whole 16-byte blocks in CBC mode without padding. `out`
// has room for all of `in` and may be the same memory. `ivec` is updated, so
// that the next call goes on where this one ended. The key's mode must have the
// direction.
void ko_enc__aes_crypt_cbc(const aes_key_t* aes_key_p, bool encrypt,
                           std::span<const std::uint8_t> in,
                           std::span<std::uint8_t> out,
                           std::span<std::uint8_t, AES_BLOCK_SIZE> ivec);

// Encrypt and decrypt one block; `in` and `out` may be the same memory. The
// key's mode must have the direction.
void ko_enc__aes_encrypt(const aes_key_t* aes_key_p,
                         std::span<const std::uint8_t, AES_BLOCK_SIZE> in,
                         std::span<std::uint8_t, AES_BLOCK_SIZE> out);
void ko_enc__aes_decrypt(const aes_key_t* aes_key_p,
                         std::span<const std::uint8_t, AES_BLOCK_SIZE> in,
                         std::span<std::uint8_t, AES_BLOCK_SIZE> out);

// --------------------------------------------------------------- other helpers

// Key bytes of any kind, for example an encoded private key.
struct key_data_t {
  std::uint32_t size = 0;  // bytes of `data` in use
  key_bytes data;
};

// Wipes the key bytes, frees the record and leaves the pointer null. Both the
// argument and the pointer that it points to may be null.
void ko_enc__cleanup_key_data(std::unique_ptr<key_data_t>* key_data_pp);

// Reports the failure of the library procedure `what` on standard error: one
// line for the error code `err` and one for each further code in the library's
// queue. `where` and `line` name the calling function and its source line.
void enc_err(const char* where, const char* what, unsigned long err, int line);

// Reports one error code; prints nothing when `quiet` is positive.
void enc_err_msg(const char* where, const char* what, unsigned long err,
                 int line, int quiet);

// ------------------------------------------------- procedures of the library
//
// Each of these calls the library's procedure of the same name (without ko__)
// with the same arguments and returns its result: 1 is success for those that
// return int, unless they return a length. Pointers are the library's own
// kind: sizes are given beside them or follow from the cipher.

struct evp_cipher_t;      // a cipher, owned by the library
struct evp_md_t;          // a digest method, owned by the library
struct evp_cipher_ctx_t;  // made and freed by ko__EVP_CIPHER_CTX_new and _free

// Room for the library's MD5_CTX (92 bytes in every generation). It may hold
// key material: the owner wipes it.
struct alignas(16) lib_md5_ctx_t {
  std::uint8_t bytes[128];
};

unsigned long ko__ERR_get_error();
void ko__ERR_print_errors_fp(std::FILE* stream);

int ko__MD5_Init(lib_md5_ctx_t* context);
int ko__MD5_Update(lib_md5_ctx_t* context, const void* data, std::size_t size);
int ko__MD5_Final(std::uint8_t* digest, lib_md5_ctx_t* context);

const evp_md_t* ko__EVP_md5();
const evp_cipher_t* ko__EVP_aes_128_cbc();
const evp_cipher_t* ko__EVP_aes_256_cbc();
const evp_cipher_t* ko__EVP_des_ede3_cbc();
int ko__EVP_CIPHER_key_length(const evp_cipher_t* cipher);
int ko__EVP_CIPHER_iv_length(const evp_cipher_t* cipher);

// Returns the key length, 0 on failure. `salt` is null or 8 bytes.
int ko__EVP_BytesToKey(const evp_cipher_t* cipher, const evp_md_t* digest,
                       const std::uint8_t* salt, const std::uint8_t* data,
                       int data_length, int count, std::uint8_t* key,
                       std::uint8_t* iv);
int ko__PKCS5_PBKDF2_HMAC_SHA1(const char* passphrase, int passphrase_length,
                               const std::uint8_t* salt, int salt_length,
                               int iterations, int key_length,
                               std::uint8_t* key);

// Returns null when there is no memory.
evp_cipher_ctx_t* ko__EVP_CIPHER_CTX_new();
void ko__EVP_CIPHER_CTX_free(evp_cipher_ctx_t* context);
// Calls EVP_CIPHER_CTX_reset where the library has no EVP_CIPHER_CTX_cleanup.
int ko__EVP_CIPHER_CTX_cleanup(evp_cipher_ctx_t* context);
int ko__EVP_CIPHER_CTX_set_padding(evp_cipher_ctx_t* context, int padding);

int ko__EVP_EncryptInit(evp_cipher_ctx_t* context, const evp_cipher_t* cipher,
                        const std::uint8_t* key, const std::uint8_t* iv);
int ko__EVP_EncryptUpdate(evp_cipher_ctx_t* context, std::uint8_t* out,
                          int* out_length, const std::uint8_t* in,
                          int in_length);
int ko__EVP_EncryptFinal(evp_cipher_ctx_t* context, std::uint8_t* out,
                         int* out_length);
int ko__EVP_DecryptInit(evp_cipher_ctx_t* context, const evp_cipher_t* cipher,
                        const std::uint8_t* key, const std::uint8_t* iv);
int ko__EVP_DecryptUpdate(evp_cipher_ctx_t* context, std::uint8_t* out,
                          int* out_length, const std::uint8_t* in,
                          int in_length);
int ko__EVP_DecryptFinal(evp_cipher_ctx_t* context, std::uint8_t* out,
                         int* out_length);

// Both seed the library's generator before their first use.
int ko__RAND_bytes(std::uint8_t* buffer, int size);
int ko__RAND_pseudo_bytes(std::uint8_t* buffer, int size);

#endif  // CHRONEX_COMMON_CRYPTO_API_H
