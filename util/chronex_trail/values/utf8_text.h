#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_UTF8_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_UTF8_TEXT_H

// Texts as UTF-8, from whatever bytes they are.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex_trail/values/character_table.h"

// Stands for what cannot be decoded: U+FFFD.
inline constexpr std::string_view REPLACEMENT_CHARACTER = "\xEF\xBF\xBD";

// Memory that is used again for one text after the other. It grows to the
// largest that was asked for.
class text_scratch {
 public:
  // Room for `size` characters; what was there before is void.
  char* room(std::size_t size) {
    if (size > room_.size()) room_.resize(size);
    return room_.data();
  }

 private:
  std::vector<char> room_;
};

// A text as UTF-8, borrowed from its bytes or from the scratch memory.
struct decoded_text {
  std::string_view utf8;
  // Some bytes were no characters; U+FFFD stands for each.
  bool undecodable = false;
};

decoded_text decode_text(std::span<const std::uint8_t> bytes,
                         const character_table& characters,
                         text_scratch& scratch);
decoded_text decode_text(std::string_view bytes,
                         const character_table& characters,
                         text_scratch& scratch);

// Well-formed UTF-8 as bytes of the log's character set; none when that lacks
// one of its characters.
std::optional<std::string> encode_text(std::string_view utf8,
                                       const character_table& characters);

// A file's name, or a text that names files: well-formed UTF-8 stays as it is,
// and every byte that is not, or is zero, becomes U+FFFD.
std::string well_formed_utf8(std::string_view text);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_VALUES_UTF8_TEXT_H
