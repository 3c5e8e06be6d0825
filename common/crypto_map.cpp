#include "common/crypto_map.h"

#include <cstring>

typed_slot<unsigned long()> ko__ERR_get_error__i;
typed_slot<void(unsigned long, char*, std::size_t)> ko__ERR_error_string_n;
typed_slot<void(std::FILE*)> ko__ERR_print_errors_fp__i;

typed_slot<void(const void*, int)> ko__RAND_seed;
typed_slot<int(std::uint8_t*, int)> ko__RAND_bytes__i;
typed_slot<int(std::uint8_t*, int)> ko__RAND_pseudo_bytes__i;

typed_slot<int(const std::uint8_t*, int, aes_schedule_t*)>
    ko__AES_set_encrypt_key;
typed_slot<int(const std::uint8_t*, int, aes_schedule_t*)>
    ko__AES_set_decrypt_key;
typed_slot<void(const std::uint8_t*, std::uint8_t*, const aes_schedule_t*)>
    ko__AES_encrypt;
typed_slot<void(const std::uint8_t*, std::uint8_t*, const aes_schedule_t*)>
    ko__AES_decrypt;
typed_slot<void(const std::uint8_t*, std::uint8_t*, std::size_t,
                const aes_schedule_t*, std::uint8_t*, int)>
    ko__AES_cbc_encrypt;

procedure_slot ko__RSA_new;
procedure_slot ko__RSA_size;
procedure_slot ko__RSA_free;
procedure_slot ko__RSA_generate_key_ex;
procedure_slot ko__RSA_public_encrypt;
procedure_slot ko__RSA_private_decrypt;
procedure_slot ko__i2d_RSAPublicKey;
procedure_slot ko__d2i_RSAPublicKey;
procedure_slot ko__i2d_RSAPrivateKey;
procedure_slot ko__d2i_RSAPrivateKey;
procedure_slot ko__BN_new;
procedure_slot ko__BN_set_word;
procedure_slot ko__BN_free;

typed_slot<decltype(ko__PKCS5_PBKDF2_HMAC_SHA1)> ko__PKCS5_PBKDF2_HMAC_SHA1__i;
typed_slot<int(const evp_cipher_t*)> ko__EVP_CIPHER_key_length__i;
typed_slot<int(const evp_cipher_t*)> ko__EVP_CIPHER_iv_length__i;
typed_slot<decltype(ko__EVP_BytesToKey)> ko__EVP_BytesToKey__i;
typed_slot<evp_cipher_ctx_t*()> ko__EVP_CIPHER_CTX_new__i;
typed_slot<void(evp_cipher_ctx_t*)> ko__EVP_CIPHER_CTX_free__i;
typed_slot<decltype(ko__EVP_EncryptInit)> ko__EVP_EncryptInit__i;
typed_slot<decltype(ko__EVP_EncryptUpdate)> ko__EVP_EncryptUpdate__i;
typed_slot<decltype(ko__EVP_EncryptFinal)> ko__EVP_EncryptFinal__i;
typed_slot<decltype(ko__EVP_DecryptInit)> ko__EVP_DecryptInit__i;
typed_slot<decltype(ko__EVP_DecryptUpdate)> ko__EVP_DecryptUpdate__i;
typed_slot<decltype(ko__EVP_DecryptFinal)> ko__EVP_DecryptFinal__i;
typed_slot<int(evp_cipher_ctx_t*, int)> ko__EVP_CIPHER_CTX_set_padding__i;
typed_slot<const evp_md_t*()> ko__EVP_md5__i;
typed_slot<const evp_cipher_t*()> ko__EVP_aes_128_cbc__i;
typed_slot<const evp_cipher_t*()> ko__EVP_aes_256_cbc__i;
typed_slot<const evp_cipher_t*()> ko__EVP_des_ede3_cbc__i;

typed_slot<decltype(ko__MD5_Init)> ko__MD5_Init__i;
typed_slot<decltype(ko__MD5_Update)> ko__MD5_Update__i;
typed_slot<decltype(ko__MD5_Final)> ko__MD5_Final__i;

procedure_slot ko__SSL_get_error;
procedure_slot ko__SSL_CTX_new;
procedure_slot ko__SSL_CTX_free;
procedure_slot ko__SSL_CTX_ctrl;
procedure_slot ko__SSL_CTX_use_certificate_chain_file;
procedure_slot ko__SSL_CTX_use_PrivateKey_file;
procedure_slot ko__SSL_new;
procedure_slot ko__SSL_free;
procedure_slot ko__SSL_set_fd;
procedure_slot ko__SSL_accept;
procedure_slot ko__SSL_pending;
procedure_slot ko__SSL_read;
procedure_slot ko__SSL_write;

typed_slot<const char*(int)> ko__SSLeay_version;
typed_slot<const char*(int)> ko__OpenSSL_version;
typed_slot<int(evp_cipher_ctx_t*)> ko__EVP_CIPHER_CTX_cleanup__i;
typed_slot<int(evp_cipher_ctx_t*)> ko__EVP_CIPHER_CTX_reset;
typed_slot<int(std::uint64_t, const void*)> ko__OPENSSL_init_ssl;
typed_slot<int()> ko__SSL_library_init;
typed_slot<void()> ko__SSL_load_error_strings;
typed_slot<void()> ko__ERR_free_strings;
typed_slot<void()> ko__EVP_cleanup;
procedure_slot ko__TLS_server_method;
procedure_slot ko__SSLv23_server_method;

const std::array<fn_map_entry, 57> fn_map_required = {{
    {"ERR_get_error", &ko__ERR_get_error__i},
    {"ERR_error_string_n", &ko__ERR_error_string_n},
    {"ERR_print_errors_fp", &ko__ERR_print_errors_fp__i},
    {"RAND_seed", &ko__RAND_seed},
    {"RAND_bytes", &ko__RAND_bytes__i},
    {"RAND_pseudo_bytes", &ko__RAND_pseudo_bytes__i},
    {"AES_set_encrypt_key", &ko__AES_set_encrypt_key},
    {"AES_set_decrypt_key", &ko__AES_set_decrypt_key},
    {"AES_encrypt", &ko__AES_encrypt},
    {"AES_decrypt", &ko__AES_decrypt},
    {"AES_cbc_encrypt", &ko__AES_cbc_encrypt},
    {"RSA_new", &ko__RSA_new},
    {"RSA_size", &ko__RSA_size},
    {"RSA_free", &ko__RSA_free},
    {"RSA_generate_key_ex", &ko__RSA_generate_key_ex},
    {"RSA_public_encrypt", &ko__RSA_public_encrypt},
    {"RSA_private_decrypt", &ko__RSA_private_decrypt},
    {"i2d_RSAPublicKey", &ko__i2d_RSAPublicKey},
    {"d2i_RSAPublicKey", &ko__d2i_RSAPublicKey},
    {"i2d_RSAPrivateKey", &ko__i2d_RSAPrivateKey},
    {"d2i_RSAPrivateKey", &ko__d2i_RSAPrivateKey},
    {"BN_new", &ko__BN_new},
    {"BN_set_word", &ko__BN_set_word},
    {"BN_free", &ko__BN_free},
    {"PKCS5_PBKDF2_HMAC_SHA1", &ko__PKCS5_PBKDF2_HMAC_SHA1__i},
    {"EVP_CIPHER_key_length", &ko__EVP_CIPHER_key_length__i},
    {"EVP_CIPHER_iv_length", &ko__EVP_CIPHER_iv_length__i},
    {"EVP_BytesToKey", &ko__EVP_BytesToKey__i},
    {"EVP_CIPHER_CTX_new", &ko__EVP_CIPHER_CTX_new__i},
    {"EVP_CIPHER_CTX_free", &ko__EVP_CIPHER_CTX_free__i},
    {"EVP_EncryptInit", &ko__EVP_EncryptInit__i},
    {"EVP_EncryptUpdate", &ko__EVP_EncryptUpdate__i},
    {"EVP_EncryptFinal", &ko__EVP_EncryptFinal__i},
    {"EVP_DecryptInit", &ko__EVP_DecryptInit__i},
    {"EVP_DecryptUpdate", &ko__EVP_DecryptUpdate__i},
    {"EVP_DecryptFinal", &ko__EVP_DecryptFinal__i},
    {"EVP_CIPHER_CTX_set_padding", &ko__EVP_CIPHER_CTX_set_padding__i},
    {"EVP_md5", &ko__EVP_md5__i},
    {"EVP_aes_128_cbc", &ko__EVP_aes_128_cbc__i},
    {"EVP_aes_256_cbc", &ko__EVP_aes_256_cbc__i},
    {"EVP_des_ede3_cbc", &ko__EVP_des_ede3_cbc__i},
    {"MD5_Init", &ko__MD5_Init__i},
    {"MD5_Update", &ko__MD5_Update__i},
    {"MD5_Final", &ko__MD5_Final__i},
    {"SSL_get_error", &ko__SSL_get_error, ENC_MODE_SSL},
    {"SSL_CTX_new", &ko__SSL_CTX_new, ENC_MODE_SSL},
    {"SSL_CTX_free", &ko__SSL_CTX_free, ENC_MODE_SSL},
    {"SSL_CTX_ctrl", &ko__SSL_CTX_ctrl, ENC_MODE_SSL},
    {"SSL_CTX_use_certificate_chain_file",
     &ko__SSL_CTX_use_certificate_chain_file, ENC_MODE_SSL},
    {"SSL_CTX_use_PrivateKey_file", &ko__SSL_CTX_use_PrivateKey_file,
     ENC_MODE_SSL},
    {"SSL_new", &ko__SSL_new, ENC_MODE_SSL},
    {"SSL_free", &ko__SSL_free, ENC_MODE_SSL},
    {"SSL_set_fd", &ko__SSL_set_fd, ENC_MODE_SSL},
    {"SSL_accept", &ko__SSL_accept, ENC_MODE_SSL},
    {"SSL_pending", &ko__SSL_pending, ENC_MODE_SSL},
    {"SSL_read", &ko__SSL_read, ENC_MODE_SSL},
    {"SSL_write", &ko__SSL_write, ENC_MODE_SSL},
}};

const std::array<fn_map_entry, 11> fn_map_optional = {{
    {"SSLeay_version", &ko__SSLeay_version, ENC_MODE_BASIC, "OpenSSL_version"},
    {"OpenSSL_version", &ko__OpenSSL_version},
    {"EVP_CIPHER_CTX_cleanup", &ko__EVP_CIPHER_CTX_cleanup__i, ENC_MODE_BASIC,
     "EVP_CIPHER_CTX_reset"},
    {"EVP_CIPHER_CTX_reset", &ko__EVP_CIPHER_CTX_reset},
    {"OPENSSL_init_ssl", &ko__OPENSSL_init_ssl, ENC_MODE_SSL,
     "SSL_library_init"},
    {"SSL_library_init", &ko__SSL_library_init, ENC_MODE_SSL},
    {"SSL_load_error_strings", &ko__SSL_load_error_strings, ENC_MODE_SSL},
    {"ERR_free_strings", &ko__ERR_free_strings, ENC_MODE_SSL},
    {"EVP_cleanup", &ko__EVP_cleanup, ENC_MODE_SSL},
    {"TLS_server_method", &ko__TLS_server_method, ENC_MODE_SSL,
     "SSLv23_server_method"},
    {"SSLv23_server_method", &ko__SSLv23_server_method, ENC_MODE_SSL},
}};

const char* later_name(const char* name) {
  // Since generation 3 these two are macros in the library's headers; only the
  // new names are exported.
  if (std::strcmp(name, "EVP_CIPHER_key_length") == 0) {
    return "EVP_CIPHER_get_key_length";
  }
  if (std::strcmp(name, "EVP_CIPHER_iv_length") == 0) {
    return "EVP_CIPHER_get_iv_length";
  }
  return nullptr;
}
