#ifndef CHRONEX_COMMON_CRYPTO_MAP_H
#define CHRONEX_COMMON_CRYPTO_MAP_H

// The function map of the crypto layer: which procedures of the crypto library
// the layer looks up, in which order, and the slots that hold the addresses.
// Only the crypto layer itself includes this; others call crypto_api.h.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "common/crypto_api.h"

// Where the address of a looked-up procedure is stored; null until it is found.
struct procedure_slot {
  void* address = nullptr;
  explicit operator bool() const { return address != nullptr; }
};

// A slot that can be called: it knows the procedure's arguments and result.
template <typename Signature>
struct typed_slot;
template <typename Result, typename... Arguments>
struct typed_slot<Result(Arguments...)> : procedure_slot {
  Result operator()(Arguments... arguments) const {
    return reinterpret_cast<Result (*)(Arguments...)>(address)(arguments...);
  }
};

struct fn_map_entry {
  const char* name;      // of the procedure in the library
  procedure_slot* slot;  // never null
  // ENC_MODE_BASIC: always looked up, else only when that group is wanted.
  std::uint32_t mode = ENC_MODE_BASIC;
  // The name that another generation of the library has for the same service,
  // or null. It is always the very next entry; entries linked like this form a
  // chain, with the preferred name first. Required entries have none.
  const char* fn_alt = nullptr;
};

// Procedures without which the library is refused.
extern const std::array<fn_map_entry, 57> fn_map_required;

// Procedures that may be missing; but of the names in a chain, one must be
// there.
extern const std::array<fn_map_entry, 11> fn_map_optional;

// The name that a later generation of the library has given to a required
// procedure, or null when the procedure has kept its name.
const char* later_name(const char* name);

// Slots. A name ends in __i where the plain name is that of the wrapper that
// other modules call.

extern typed_slot<unsigned long()> ko__ERR_get_error__i;
extern typed_slot<void(unsigned long, char*, std::size_t)>
    ko__ERR_error_string_n;
extern typed_slot<void(std::FILE*)> ko__ERR_print_errors_fp__i;

extern typed_slot<void(const void*, int)> ko__RAND_seed;
extern typed_slot<int(std::uint8_t*, int)> ko__RAND_bytes__i;
extern typed_slot<int(std::uint8_t*, int)> ko__RAND_pseudo_bytes__i;

extern typed_slot<int(const std::uint8_t*, int, aes_schedule_t*)>
    ko__AES_set_encrypt_key;
extern typed_slot<int(const std::uint8_t*, int, aes_schedule_t*)>
    ko__AES_set_decrypt_key;
extern typed_slot<void(const std::uint8_t*, std::uint8_t*,
                       const aes_schedule_t*)>
    ko__AES_encrypt;
extern typed_slot<void(const std::uint8_t*, std::uint8_t*,
                       const aes_schedule_t*)>
    ko__AES_decrypt;
extern typed_slot<void(const std::uint8_t*, std::uint8_t*, std::size_t,
                       const aes_schedule_t*, std::uint8_t*, int)>
    ko__AES_cbc_encrypt;

extern procedure_slot ko__RSA_new;
extern procedure_slot ko__RSA_size;
extern procedure_slot ko__RSA_free;
extern procedure_slot ko__RSA_generate_key_ex;
extern procedure_slot ko__RSA_public_encrypt;
extern procedure_slot ko__RSA_private_decrypt;
extern procedure_slot ko__i2d_RSAPublicKey;
extern procedure_slot ko__d2i_RSAPublicKey;
extern procedure_slot ko__i2d_RSAPrivateKey;
extern procedure_slot ko__d2i_RSAPrivateKey;
extern procedure_slot ko__BN_new;
extern procedure_slot ko__BN_set_word;
extern procedure_slot ko__BN_free;

extern typed_slot<decltype(ko__PKCS5_PBKDF2_HMAC_SHA1)>
    ko__PKCS5_PBKDF2_HMAC_SHA1__i;
extern typed_slot<int(const evp_cipher_t*)> ko__EVP_CIPHER_key_length__i;
extern typed_slot<int(const evp_cipher_t*)> ko__EVP_CIPHER_iv_length__i;
extern typed_slot<decltype(ko__EVP_BytesToKey)> ko__EVP_BytesToKey__i;
extern typed_slot<evp_cipher_ctx_t*()> ko__EVP_CIPHER_CTX_new__i;
extern typed_slot<void(evp_cipher_ctx_t*)> ko__EVP_CIPHER_CTX_free__i;
extern typed_slot<decltype(ko__EVP_EncryptInit)> ko__EVP_EncryptInit__i;
extern typed_slot<decltype(ko__EVP_EncryptUpdate)> ko__EVP_EncryptUpdate__i;
extern typed_slot<decltype(ko__EVP_EncryptFinal)> ko__EVP_EncryptFinal__i;
extern typed_slot<decltype(ko__EVP_DecryptInit)> ko__EVP_DecryptInit__i;
extern typed_slot<decltype(ko__EVP_DecryptUpdate)> ko__EVP_DecryptUpdate__i;
extern typed_slot<decltype(ko__EVP_DecryptFinal)> ko__EVP_DecryptFinal__i;
extern typed_slot<int(evp_cipher_ctx_t*, int)>
    ko__EVP_CIPHER_CTX_set_padding__i;
extern typed_slot<const evp_md_t*()> ko__EVP_md5__i;
extern typed_slot<const evp_cipher_t*()> ko__EVP_aes_128_cbc__i;
extern typed_slot<const evp_cipher_t*()> ko__EVP_aes_256_cbc__i;
extern typed_slot<const evp_cipher_t*()> ko__EVP_des_ede3_cbc__i;

extern typed_slot<decltype(ko__MD5_Init)> ko__MD5_Init__i;
extern typed_slot<decltype(ko__MD5_Update)> ko__MD5_Update__i;
extern typed_slot<decltype(ko__MD5_Final)> ko__MD5_Final__i;

extern procedure_slot ko__SSL_get_error;
extern procedure_slot ko__SSL_CTX_new;
extern procedure_slot ko__SSL_CTX_free;
extern procedure_slot ko__SSL_CTX_ctrl;
extern procedure_slot ko__SSL_CTX_use_certificate_chain_file;
extern procedure_slot ko__SSL_CTX_use_PrivateKey_file;
extern procedure_slot ko__SSL_new;
extern procedure_slot ko__SSL_free;
extern procedure_slot ko__SSL_set_fd;
extern procedure_slot ko__SSL_accept;
extern procedure_slot ko__SSL_pending;
extern procedure_slot ko__SSL_read;
extern procedure_slot ko__SSL_write;

extern typed_slot<const char*(int)> ko__SSLeay_version;
extern typed_slot<const char*(int)> ko__OpenSSL_version;
extern typed_slot<int(evp_cipher_ctx_t*)> ko__EVP_CIPHER_CTX_cleanup__i;
extern typed_slot<int(evp_cipher_ctx_t*)> ko__EVP_CIPHER_CTX_reset;
// Takes options and settings; returns 0 on failure.
extern typed_slot<int(std::uint64_t, const void*)> ko__OPENSSL_init_ssl;
extern typed_slot<int()> ko__SSL_library_init;
extern typed_slot<void()> ko__SSL_load_error_strings;
extern typed_slot<void()> ko__ERR_free_strings;
extern typed_slot<void()> ko__EVP_cleanup;
extern procedure_slot ko__TLS_server_method;
extern procedure_slot ko__SSLv23_server_method;

#endif  // CHRONEX_COMMON_CRYPTO_MAP_H
