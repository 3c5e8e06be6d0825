#include "util/chronex_trail/values/utf8_text.h"

#include <cstring>

namespace {

using byte_run = std::span<const std::uint8_t>;

constexpr std::size_t LONGEST_CHARACTER = 3;
constexpr std::uint64_t LOW_BITS = 0x0101010101010101;
constexpr std::uint64_t HIGH_BITS = 0x8080808080808080;

// Whether all bytes are characters of ASCII, of which the zero byte is none
// here.
bool is_ascii(byte_run bytes) {
  std::size_t at = 0;
  for (; at + sizeof(std::uint64_t) <= bytes.size(); at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    // A zero byte borrows from its own high bit.
    if (((word | (word - LOW_BITS)) & HIGH_BITS) != 0) return false;
  }
  for (; at < bytes.size(); ++at) {
    if (bytes[at] == 0 || bytes[at] >= 0x80) return false;
  }
  return true;
}

decoded_text translate(byte_run bytes, const character_table& characters,
                       text_scratch& scratch) {
  static_assert(sizeof(utf8_character) == LONGEST_CHARACTER + 1);
  char* const begin = scratch.room(bytes.size() * LONGEST_CHARACTER);
  char* end = begin;
  bool undecodable = false;
  for (const std::uint8_t byte : bytes) {
    const utf8_character& character = characters[byte];
    if (character.length == 0) {
      undecodable = true;
      end += REPLACEMENT_CHARACTER.copy(end, LONGEST_CHARACTER);
    } else {
      std::memcpy(end, character.bytes.data(), LONGEST_CHARACTER);
      end += character.length;
    }
  }
  return {{begin, static_cast<std::size_t>(end - begin)}, undecodable};
}

std::uint8_t byte_at(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<std::uint8_t>(text[at]) : 0;
}

// The bounds of a character's second byte, which keep out forms that are too
// long, surrogates, and what is beyond the last character.
struct second_byte {
  std::uint8_t least = 0x80;
  std::uint8_t most = 0xBF;
};

second_byte second_byte_after(std::uint8_t first) {
  switch (first) {
    case 0xE0:
      return {.least = 0xA0};
    case 0xED:
      return {.most = 0x9F};
    case 0xF0:
      return {.least = 0x90};
    case 0xF4:
      return {.most = 0x8F};
    default:
      return {};
  }
}

std::size_t announced_length(std::uint8_t first) {
  if (first < 0x80) return first == 0 ? 0 : 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  if (first >= 0xF0 && first <= 0xF4) return 4;
  return 0;
}

// The bytes of the well-formed character at `at`; 0 = there is none.
std::size_t character_length(std::string_view text, std::size_t at) {
  const std::uint8_t first = byte_at(text, at);
  const std::size_t length = announced_length(first);
  if (length < 2) return length;
  const second_byte bounds = second_byte_after(first);
  const std::uint8_t second = byte_at(text, at + 1);
  if (second < bounds.least || second > bounds.most) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((byte_at(text, at + i) & 0xC0) != 0x80) return 0;
  }
  return length;
}

// The byte that stands for a character; none when no byte does.
std::optional<char> byte_of(std::string_view character,
                            const character_table& characters) {
  for (std::size_t byte = 0; byte < characters.size(); ++byte) {
    const utf8_character& candidate = characters[byte];
    if (candidate.length == character.size() &&
        std::memcmp(candidate.bytes.data(), character.data(),
                    character.size()) == 0) {
      return static_cast<char>(byte);
    }
  }
  return std::nullopt;
}

}  // namespace

decoded_text decode_text(byte_run bytes, const character_table& characters,
                         text_scratch& scratch) {
  if (!is_ascii(bytes)) return translate(bytes, characters, scratch);
  return {{reinterpret_cast<const char*>(bytes.data()), bytes.size()}, false};
}

decoded_text decode_text(std::string_view bytes,
                         const character_table& characters,
                         text_scratch& scratch) {
  return decode_text(
      byte_run(reinterpret_cast<const std::uint8_t*>(bytes.data()),
               bytes.size()),
      characters, scratch);
}

std::optional<std::string> encode_text(std::string_view utf8,
                                       const character_table& characters) {
  std::string encoded;
  while (!utf8.empty()) {
    const std::size_t length = character_length(utf8, 0);
    if (length == 0) return std::nullopt;
    const auto byte = byte_of(utf8.substr(0, length), characters);
    if (!byte) return std::nullopt;
    encoded += *byte;
    utf8.remove_prefix(length);
  }
  return encoded;
}

std::string well_formed_utf8(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = character_length(text, at);
    result += length == 0 ? REPLACEMENT_CHARACTER : text.substr(at, length);
    at += length == 0 ? 1 : length;
  }
  return result;
}
