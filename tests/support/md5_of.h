#ifndef CHRONEX_TESTS_SUPPORT_MD5_OF_H
#define CHRONEX_TESTS_SUPPORT_MD5_OF_H

#include <cstdint>
#include <string>
#include <string_view>

#include "common/md5.h"

// The 16 bytes of a text's MD5, as the check sums of keys have it.
inline std::string md5_of(std::string_view text) {
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, {reinterpret_cast<const std::uint8_t*>(text.data()),
                          text.size()});
  const md5_digest digest = ko__MD5Final(context);
  return {digest.begin(), digest.end()};
}

#endif  // CHRONEX_TESTS_SUPPORT_MD5_OF_H
