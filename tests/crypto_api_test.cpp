#include "common/crypto_api.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;
using block = std::array<std::uint8_t, AES_BLOCK_SIZE>;

bytes from_hex(const std::string& text) {
  bytes result;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    result.push_back(
        static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return result;
}

block block_from_hex(const std::string& text) {
  block result;
  std::ranges::copy(from_hex(text), result.begin());
  return result;
}

bytes counting_bytes(std::size_t size) {
  bytes result(size);
  std::iota(result.begin(), result.end(), std::uint8_t{0});
  return result;
}

// ------------------------------------------- with the system's own library

class crypto_library : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ko_enc__load(nullptr), 0); }
};

TEST_F(crypto_library, is_loaded_once_and_can_be_released) {
  EXPECT_EQ(ko_enc__load(nullptr), 0);
  EXPECT_EQ(ko_enc__loaded(), 1);
  ASSERT_NE(ko_enc__version(), nullptr);
  EXPECT_EQ(std::string(ko_enc__version()).rfind("OpenSSL", 0), 0U);
  ko_enc__cleanup();
  EXPECT_EQ(ko_enc__loaded(), 0);
  EXPECT_EQ(ko_enc__version(), nullptr);
  EXPECT_EQ(ko_enc__load(nullptr), 0);
}

// The examples of FIPS 197.
TEST_F(crypto_library, encrypts_and_decrypts_blocks) {
  const struct {
    std::size_t key_size;
    const char* cipher_text;
  } cases[] = {{16, "69c4e0d86a7b0430d8cdb78070b4c55a"},
               {24, "dda97ca4864cdfe06eaf70a0ec0d7191"},
               {32, "8ea2b7ca516745bfeafc49904b496089"}};
  const block plain = block_from_hex("00112233445566778899aabbccddeeff");
  for (const auto& c : cases) {
    const bytes key = counting_bytes(c.key_size);
    const aes_key_ptr encryption = ko_enc__set_aes_key(key, 1);
    const aes_key_ptr decryption = ko_enc__set_aes_key(key, 2);
    const aes_key_ptr both = ko_enc__set_aes_key(key, 3);
    ASSERT_TRUE(encryption && decryption && both);
    for (const aes_key_t* encrypter : {encryption.get(), both.get()}) {
      block out = plain;
      ko_enc__aes_encrypt(encrypter, out, out);
      EXPECT_EQ(out, block_from_hex(c.cipher_text)) << c.key_size;
    }
    for (const aes_key_t* decrypter : {decryption.get(), both.get()}) {
      block out = block_from_hex(c.cipher_text);
      ko_enc__aes_decrypt(decrypter, out, out);
      EXPECT_EQ(out, plain) << c.key_size;
    }
  }
}

// The first two blocks of SP 800-38A, F.2.1, in one call and in two.
TEST_F(crypto_library, chains_blocks) {
  const bytes key = from_hex("2b7e151628aed2a6abf7158809cf4f3c");
  const bytes plain = from_hex(
      "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51");
  const bytes cipher = from_hex(
      "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2");
  for (const std::uint32_t mode : {1U, 3U}) {
    const aes_key_ptr aes_key = ko_enc__set_aes_key(key, mode);
    block ivec = block_from_hex("000102030405060708090a0b0c0d0e0f");
    bytes out(32);
    const std::span<const std::uint8_t> in(plain);
    ko_enc__aes_crypt_cbc(aes_key.get(), true, in.first(16),
                          std::span(out).first(16), ivec);
    ko_enc__aes_crypt_cbc(aes_key.get(), true, in.last(16),
                          std::span(out).last(16), ivec);
    EXPECT_EQ(out, cipher);
    EXPECT_TRUE(std::ranges::equal(ivec, std::span(cipher).last(16)));
  }
  for (const std::uint32_t mode : {2U, 3U}) {
    const aes_key_ptr aes_key = ko_enc__set_aes_key(key, mode);
    block ivec = block_from_hex("000102030405060708090a0b0c0d0e0f");
    bytes out = cipher;
    ko_enc__aes_crypt_cbc(aes_key.get(), false, out, out, ivec);
    EXPECT_EQ(out, plain);
    EXPECT_TRUE(std::ranges::equal(ivec, std::span(cipher).last(16)));
  }
}

TEST_F(crypto_library, refuses_other_key_lengths) {
  const struct {
    std::size_t size;
    std::uint32_t mode;
    const char* message;
  } cases[] = {
      {20, 1,
       "Failed to set AES encryption key: invalid key length (20 bytes)\n"},
      {20, 2,
       "Failed to set AES decryption key: invalid key length (20 bytes)\n"},
      {20, 3,
       "Failed to set AES decryption key: invalid key length (20 bytes)\n"},
      {0, 2,
       "Failed to set AES decryption key: invalid key length (0 bytes)\n"},
  };
  for (const auto& c : cases) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ko_enc__set_aes_key(counting_bytes(c.size), c.mode), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
  }
}

TEST_F(crypto_library, wipes_the_whole_key) {
  const aes_key_ptr aes_key = ko_enc__set_aes_key(counting_bytes(32), 3);
  ASSERT_NE(aes_key, nullptr);
  ko_enc__unset_aes_key(aes_key.get());
  ko_enc__unset_aes_key(nullptr);
  const auto memory = std::as_bytes(std::span(aes_key.get(), 1));
  EXPECT_EQ(std::ranges::count(memory, std::byte{0x55}), std::ssize(memory));
}

TEST_F(crypto_library, stops_on_misuse) {
  const aes_key_ptr encryption = ko_enc__set_aes_key(counting_bytes(16), 1);
  const aes_key_ptr decryption = ko_enc__set_aes_key(counting_bytes(16), 2);
  block data = {};
  block ivec = {};
  EXPECT_DEATH(ko_enc__aes_decrypt(encryption.get(), data, data),
               R"(\(aes_key_p->mode & 2\))");
  EXPECT_DEATH(ko_enc__aes_encrypt(decryption.get(), data, data),
               R"(\(aes_key_p->mode & 1\))");
  EXPECT_DEATH(ko_enc__aes_crypt_cbc(decryption.get(), true, data, data, ivec),
               R"(\(aes_key_p->mode & 1\))");
  EXPECT_DEATH(ko_enc__load("libother.so"), "crypto_lib_path == ");
  EXPECT_DEATH((ko_enc__cleanup(), ko__EVP_md5()), "ko__EVP_md5__i");
  EXPECT_DEATH((ko_enc__cleanup(), ko__EVP_CIPHER_CTX_cleanup(nullptr)),
               "ko__EVP_CIPHER_CTX_cleanup__i.*ko__EVP_CIPHER_CTX_reset");
}

// Procedures that the key file unlock does not use, or that have new names.
TEST_F(crypto_library, forwards_to_the_library) {
  EXPECT_EQ(ko__EVP_CIPHER_key_length(ko__EVP_aes_128_cbc()), 16);
  EXPECT_EQ(ko__EVP_CIPHER_key_length(ko__EVP_aes_256_cbc()), 32);
  EXPECT_EQ(ko__EVP_CIPHER_key_length(ko__EVP_des_ede3_cbc()), 24);
  EXPECT_EQ(ko__EVP_CIPHER_iv_length(ko__EVP_aes_256_cbc()), 16);
  EXPECT_EQ(ko__EVP_CIPHER_iv_length(ko__EVP_des_ede3_cbc()), 8);

  // The last block of SP 800-38A, F.2.1.
  const bytes key = from_hex("2b7e151628aed2a6abf7158809cf4f3c");
  const bytes iv = from_hex("73bed6b8e3c1743b7116e69e22229516");
  const bytes plain = from_hex("f69f2445df4f9b17ad2b417be66c3710");
  bytes out(32);
  int size = 0;
  int last = 0;
  evp_cipher_ctx_t* context = ko__EVP_CIPHER_CTX_new();
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(ko__EVP_EncryptInit(context, ko__EVP_aes_128_cbc(), key.data(),
                                iv.data()),
            1);
  EXPECT_EQ(ko__EVP_CIPHER_CTX_set_padding(context, 0), 1);
  EXPECT_EQ(ko__EVP_EncryptUpdate(context, out.data(), &size, plain.data(), 16),
            1);
  EXPECT_EQ(ko__EVP_EncryptFinal(context, out.data() + size, &last), 1);
  EXPECT_EQ(ko__EVP_CIPHER_CTX_cleanup(context), 1);
  ko__EVP_CIPHER_CTX_free(context);
  EXPECT_EQ(size + last, 16);
  out.resize(16);
  EXPECT_EQ(out, from_hex("3ff1caa1681fac09120eca307586e1a7"));
}

TEST_F(crypto_library, reports_errors) {
  testing::internal::CaptureStderr();
  enc_err("caller", "procedure", 0, 12);
  enc_err_msg("caller", "procedure", 1, 12, 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "caller:12: procedure failed (0)\n");
  testing::internal::CaptureStderr();
  enc_err_msg("caller", "procedure", 1, 12, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr().rfind(
                "caller:12: procedure error:00000001:", 0),
            0U);
}

TEST(key_data, is_released_where_there_is_any) {
  auto data = std::make_unique<key_data_t>();
  data->size = 16;
  ASSERT_TRUE(data->data.copy_from(counting_bytes(16)));
  ko_enc__cleanup_key_data(&data);
  EXPECT_EQ(data, nullptr);
  ko_enc__cleanup_key_data(&data);
  ko_enc__cleanup_key_data(nullptr);
}

// ------------------------------------------------------- with stub libraries

// The text without what stands between each `before` and the next `after`.
std::string cut_between(std::string text, const std::string& before,
                        const std::string& after) {
  std::size_t at = text.find(before);
  while (at != std::string::npos) {
    at += before.size();
    text.erase(at, text.find(after, at) - at);
    at = text.find(before, at);
  }
  return text;
}

// What the probe prints up to its end, with the stubs in that directory (or
// without stubs), less the place of the stubs, line numbers and what follows
// the name in the version of the system's library.
std::string probe(const std::string& stubs, const std::string& words) {
  std::string command = CRYPTO_PROBE " " + words + " 2>&1";
  if (!stubs.empty()) {
    command = "LD_LIBRARY_PATH=" CRYPTO_STUBS "/" + stubs + " " + command;
  }
  // The command is put together from this file's own words.
  // NOLINTNEXTLINE(cert-env33-c)
  std::FILE* output = popen(command.c_str(), "r");
  if (output == nullptr) return "popen failed";
  std::string text;
  for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output)) {
    text += static_cast<char>(c);
  }
  pclose(output);
  const std::size_t end = text.find("end\n");
  if (end == std::string::npos) return "no end: " + text;
  text.resize(end);
  const std::string place = CRYPTO_STUBS "/";
  while (text.find(place) != std::string::npos) {
    text.erase(text.find(place), place.size());
  }
  text = cut_between(text, "ko_enc__load:", ":");
  return cut_between(text, "version OpenSSL", "\n");
}

TEST(crypto_loader, follows_the_map) {
  const char* const unavailable =
      "Crypto library functionality is not available\n"
      "load -1 loaded 0 version none\n";
  const struct {
    const char* stubs;
    const char* words;
    std::string output;
  } cases[] = {
      {"old", "load slots missing reset random random",
       "load 0 loaded 1 version old\n"
       "SSLeay_version\nEVP_CIPHER_CTX_cleanup\n"
       "SSL_get_error\nSSL_CTX_new\nSSL_CTX_free\nSSL_CTX_ctrl\n"
       "SSL_CTX_use_certificate_chain_file\nSSL_CTX_use_PrivateKey_file\n"
       "SSL_new\nSSL_free\nSSL_set_fd\nSSL_accept\nSSL_pending\nSSL_read\n"
       "SSL_write\n"
       "reset 10\n"
       "RAND_seed 8 time good pid good\nrandom 1 2\nrandom 1 2\n"},
      {"new", "load slots reset",
       "load 0 loaded 1 version new\n"
       "OpenSSL_version\nEVP_CIPHER_CTX_reset\nreset 11\n"},
      {"old", "ssl load slots missing cleanup slots load",
       "load strings\nlibrary init\nload 0 loaded 1 version old\n"
       "SSLeay_version\nEVP_CIPHER_CTX_cleanup\nSSL_library_init\n"
       "SSL_load_error_strings\nERR_free_strings\nEVP_cleanup\n"
       "SSLv23_server_method\n"
       "free strings\nEVP cleanup\ncrypto closed\nssl closed\n"
       "load strings\nlibrary init\nload 0 loaded 1 version old\n"},
      {"new", "ssl load slots missing",
       "init ssl 0x200002 no settings\nload 0 loaded 1 version new\n"
       "OpenSSL_version\nEVP_CIPHER_CTX_reset\nOPENSSL_init_ssl\n"
       "ERR_free_strings\nEVP_cleanup\nTLS_server_method\n"},
      // The first initialisation counts.
      {"sslless", "basic ssl load", "load 0 loaded 1 version old\n"},
      {"sslless", "ssl basic load load",
       std::string("Failed to load crypto dependency 'libssl.so'\n"
                   "sslless/libssl.so: file too short\n") +
           "Crypto library functionality is not available\n"
           "crypto closed\n"
           "load -1 loaded 0 version none\nload -1 loaded 0 version none\n"},
      {"refusing", "ssl load slots",
       "init ssl 0x200002 no settings\n"
       "ko_enc__load:: OPENSSL_init_ssl error 7\n"
       "ko_enc__load:: OPENSSL_init_ssl error 8\n"
       "Crypto library functionality is not available\n"
       "free strings\nEVP cleanup\ncrypto closed\nssl closed\n"
       "load -1 loaded 0 version none\n"},
      {"chainless", "load",
       "Required procedure not found in crypto library 'libcrypto.so'\n"
       "chainless/libcrypto.so: undefined symbol: OpenSSL_version\n"
       "Required procedure not found in crypto library 'libcrypto.so'\n"
       "chainless/libcrypto.so: undefined symbol: EVP_CIPHER_CTX_reset\n"
       "Crypto library functionality is not available\ncrypto closed\n"
       "load -1 loaded 0 version none\n"},
      {"lacking", "load",
       "Required procedure not found in crypto library 'libcrypto.so'\n"
       "lacking/libcrypto.so: undefined symbol: EVP_CIPHER_key_length\n"
       "lacking/libcrypto.so: undefined symbol: EVP_md5\n"
       "Crypto library functionality is not available\ncrypto closed\n"
       "load -1 loaded 0 version none\n"},
      {"broken", "load load key cleanup load",
       std::string("Failed to load crypto library 'libcrypto.so'\n"
                   "broken/libcrypto.so: file too short\n") +
           unavailable +
           "load -1 loaded 0 version none\n"
           "Failed to set AES decryption key: reqired AES crypto library "
           "methods not loaded\nkey none\n"
           "load -1 loaded 0 version none\n"},
      {"new", "interpose load", unavailable},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(probe(c.stubs, c.words), c.output) << c.stubs << ": " << c.words;
  }
}

// The real library's SSL part comes from its dependency, and stays in the
// process when it is released; that must not count as interposed.
TEST(crypto_loader, loads_the_systems_ssl_again) {
  const std::string loaded = "load 0 loaded 1 version OpenSSL\n";
  EXPECT_EQ(probe("", "ssl load missing cleanup load key"),
            loaded + loaded + "key made\n");
}

}  // namespace
