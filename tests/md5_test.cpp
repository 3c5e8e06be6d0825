#include "common/md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string hex(const md5_digest& digest) {
  std::string text;
  for (const std::uint8_t byte : digest) {
    std::array<char, 3> digits = {};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += digits.data();
  }
  return text;
}

// The digest of a text that is handed over in pieces of `step` bytes, starting
// at an odd address.
std::string md5_of(const std::string& text, std::size_t step) {
  std::vector<std::uint8_t> bytes(1);
  bytes.insert(bytes.end(), text.begin(), text.end());
  ko_md5_context context;
  ko__MD5Init(context);
  for (std::size_t at = 1; at < bytes.size(); at += step) {
    const std::size_t size = std::min(step, bytes.size() - at);
    ko__MD5Update(context, std::span(bytes).subspan(at, size));
  }
  return hex(ko__MD5Final(context));
}

struct md5_case {
  std::string text;
  const char* digest;
};

const std::vector<md5_case>& cases() {
  static const std::vector<md5_case> CASES = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"1234567890123456789012345678901234567890"
       "1234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"},
      // Lengths around the ends of blocks and of the padding.
      {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
      {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
      {std::string(63, 'x'), "7dc2ca208106a2f703567bdff99d8981"},
      {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
      {std::string(65, 'x'), "1bc932052302d074bdec39795fe00cf6"},
      {std::string(120, 'x'), "fb98667f98096de92620b64f46e1c5b5"},
      {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"}};
  return CASES;
}

TEST(md5, digests_whatever_the_pieces) {
  for (const md5_case& c : cases()) {
    for (const std::size_t step : {1U, 7U, 63U, 64U, 65U, 1000U, 1000000U}) {
      EXPECT_EQ(md5_of(c.text, step), c.digest)
          << c.text.size() << " bytes in pieces of " << step;
    }
  }
}

}  // namespace
