#include "common/crypto_api.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <regex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/hex.h"
#include "tests/support/run_program.h"

namespace {

using block = std::array<std::uint8_t, AES_BLOCK_SIZE>;

block block_from_hex(const std::string& text) {
  block result;
  std::ranges::copy(from_hex(text), result.begin());
  return result;
}

// ------------------------------------------- with the system's own library

TEST(crypto_library, can_be_released) {
  ASSERT_EQ(ko_enc__load(nullptr), 0);
  ko_enc__cleanup();
  EXPECT_EQ(ko_enc__loaded(), 0);
  EXPECT_EQ(ko_enc__version(), nullptr);
  EXPECT_DEATH(ko__EVP_md5(), "ko__EVP_md5__i");
  EXPECT_EQ(ko_enc__load(nullptr), 0);
  EXPECT_EQ(std::string(ko_enc__version()).rfind("OpenSSL", 0), 0U);
}

// The examples of FIPS 197; with zeros before it, chaining makes no difference
// to the first block.
TEST(crypto_library, encrypts_and_decrypts_blocks) {
  const std::pair<std::string, const char*> cases[] = {
      {"000102030405060708090a0b0c0d0e0f", "69c4e0d86a7b0430d8cdb78070b4c55a"},
      {"000102030405060708090a0b0c0d0e0f1011121314151617",
       "dda97ca4864cdfe06eaf70a0ec0d7191"},
      {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
       "8ea2b7ca516745bfeafc49904b496089"},
  };
  constexpr std::pair<std::uint32_t, bool> uses[] = {
      {1, true}, {3, true}, {2, false}, {3, false}};
  const block plain = block_from_hex("00112233445566778899aabbccddeeff");
  for (const auto& [key_text, cipher_text] : cases) {
    const block cipher = block_from_hex(cipher_text);
    for (const auto& [mode, encrypt] : uses) {
      SCOPED_TRACE(key_text + " " + std::to_string(mode));
      const aes_key_ptr key = ko_enc__set_aes_key(from_hex(key_text), mode);
      ASSERT_NE(key, nullptr);
      const block& in = encrypt ? plain : cipher;
      const block& out = encrypt ? cipher : plain;
      block data = in;
      const auto crypt = encrypt ? ko_enc__aes_encrypt : ko_enc__aes_decrypt;
      crypt(key.get(), data, data);
      EXPECT_EQ(data, out);
      data = in;
      block ivec = {};
      ko_enc__aes_crypt_cbc(key.get(), encrypt, data, data, ivec);
      EXPECT_EQ(data, out);
      EXPECT_EQ(ivec, cipher);
    }
  }
}

TEST(crypto_library, refuses_other_keys) {
  for (const std::uint32_t mode : {1U, 2U, 3U}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ko_enc__set_aes_key(from_hex("00010203"), mode), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("Failed to set AES ") +
                  (mode == 1 ? "encryption" : "decryption") +
                  " key: invalid key length (4 bytes)\n");
  }
}

TEST(crypto_library, wipes_the_whole_key) {
  const aes_key_ptr key = ko_enc__set_aes_key(std::vector<std::uint8_t>(32), 3);
  ASSERT_NE(key, nullptr);
  ko_enc__unset_aes_key(key.get());
  const auto memory = std::as_bytes(std::span(key.get(), 1));
  EXPECT_EQ(std::ranges::count(memory, std::byte{0x55}), std::ssize(memory));
}

// ------------------------------------------------------- with stub libraries

// What the probe prints up to its end, with the stubs in that directory (or
// without stubs), less the place of the stubs, line numbers and what follows
// the name in the version of the system's library.
std::string probe(const std::string& stubs, const std::string& words) {
  const test_directory directory;
  const std::string command = "LD_LIBRARY_PATH=" CRYPTO_STUBS "/" + stubs +
                              " " CRYPTO_PROBE " " + words + " 2>" +
                              directory.path("out");
  // NOLINTNEXTLINE(cert-env33-c): the words are this file's own
  EXPECT_EQ(std::system(command.c_str()), 0);
  std::string text = directory.read_raw("out");
  const std::size_t end = text.find("end\n");
  if (end == std::string::npos) return "no end: " + text;
  text.resize(end);
  text = std::regex_replace(text, std::regex(CRYPTO_STUBS "/"), "");
  text = std::regex_replace(text, std::regex("ko_enc__load:\\d+"), "load");
  return std::regex_replace(text, std::regex("OpenSSL \\d.*"), "OpenSSL");
}

TEST(crypto_loader, follows_the_map) {
  const std::string unavailable =
      "Crypto library functionality is not available\n";
  const std::string refused = "load -1 loaded 0 version none\n";
  const std::string missing =
      "Required procedure not found in crypto library 'libcrypto.so'\n"
      "lacking/libcrypto.so: undefined symbol: ";
  const struct {
    const char* stubs;
    const char* words;
    std::string output;
  } cases[] = {
      {"old", "load slots reset random random",
       "load 0 loaded 1 version old\n"
       "44 SSLeay_version EVP_CIPHER_CTX_cleanup\n"
       "reset 10\nseed good\nrandom 1\nrandom 1\n"},
      {"old", "ssl load slots cleanup slots load",
       "load strings\nlibrary init\nload 0 loaded 1 version old\n"
       "57 SSLeay_version EVP_CIPHER_CTX_cleanup SSL_library_init "
       "SSL_load_error_strings ERR_free_strings EVP_cleanup "
       "SSLv23_server_method\n"
       "free strings\ncrypto closed\nssl closed\n0\n"
       "load strings\nlibrary init\nload 0 loaded 1 version old\n"},
      {"new", "ssl load slots reset",
       "init ssl 0x200002 no settings\nload 0 loaded 1 version new\n"
       "57 OpenSSL_version EVP_CIPHER_CTX_reset OPENSSL_init_ssl "
       "ERR_free_strings EVP_cleanup TLS_server_method\nreset 11\n"},
      // The first initialisation counts.
      {"sslless", "basic ssl load", "load 0 loaded 1 version old\n"},
      {"sslless", "ssl basic load load",
       "Failed to load crypto dependency 'libssl.so'\n"
       "sslless/libssl.so: file too short\n" +
           unavailable + "crypto closed\n" + refused + refused},
      {"refusing", "ssl load",
       "load: OPENSSL_init_ssl error 7\nload: OPENSSL_init_ssl error 8\n" +
           unavailable + "free strings\ncrypto closed\nssl closed\n" + refused},
      {"lacking", "load",
       missing + "EVP_CIPHER_key_length\n" +
           "lacking/libcrypto.so: undefined symbol: EVP_md5\n" + missing +
           "OpenSSL_version\n" + missing + "EVP_CIPHER_CTX_reset\n" +
           unavailable + "crypto closed\n" + refused},
      {"broken", "load load key cleanup load",
       "Failed to load crypto library 'libcrypto.so'\n"
       "broken/libcrypto.so: file too short\n" +
           unavailable + refused + refused +
           "Failed to set AES decryption key: reqired AES crypto library "
           "methods not loaded\nkey 0\n" +
           refused},
      {"new", "interpose load", unavailable + refused},
      // The system's SSL part comes from its dependency, and stays in the
      // process when it is released; that must not count as interposed.
      {"", "ssl load cleanup load key",
       "load 0 loaded 1 version OpenSSL\n"
       "load 0 loaded 1 version OpenSSL\nkey 1\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(probe(c.stubs, c.words), c.output) << c.stubs << ": " << c.words;
  }
}

}  // namespace
