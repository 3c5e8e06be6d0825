#include "common/md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/hex.h"

namespace {

// The digest of a text that is handed over in pieces of `step` bytes.
std::string md5_of(const std::string& text, std::size_t step) {
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  ko_md5_context context;
  ko__MD5Init(context);
  for (std::size_t at = 0; at < bytes.size(); at += step) {
    const std::size_t size = std::min(step, bytes.size() - at);
    ko__MD5Update(context, std::span(bytes).subspan(at, size));
  }
  return to_hex(ko__MD5Final(context));
}

TEST(md5, digests_whatever_the_pieces) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      // Lengths around the ends of blocks and of the padding.
      {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
      {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
      {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
      {std::string(65, 'x'), "1bc932052302d074bdec39795fe00cf6"},
      {std::string(120, 'x'), "fb98667f98096de92620b64f46e1c5b5"},
      {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
  };
  for (const auto& [text, digest] : cases) {
    for (const std::size_t step : {1U, 7U, 63U, 64U, 65U, 1000000U}) {
      EXPECT_EQ(md5_of(text, step), digest)
          << text.size() << " bytes in pieces of " << step;
    }
  }
}

}  // namespace
