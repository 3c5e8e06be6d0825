// Every byte is escaped, or not, wherever in a text it stands.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "util/chronex/report/hexdump.h"

namespace {

std::string escaped(const std::string& text, char quote) {
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  std::vector<char> room(escaped_room(bytes.size()));
  char* const end = write_escaped(bytes, quote, room.data());
  return {room.data(), end};
}

std::string form_of(unsigned byte, char quote) {
  if (byte < 32 || (byte >= 128 && byte < 160)) {
    char octal[8];
    std::snprintf(octal, sizeof octal, "\\%03o", byte);
    return octal;
  }
  const char character = static_cast<char>(byte);
  std::string form(1, character);
  if (character == '\\' || (quote != 0 && character == quote)) {
    form.insert(0, 1, '\\');
  }
  return form;
}

}  // namespace

TEST(EscapedText, IsTheSameAtAnyPlace) {
  for (const char quote : {'"', '\0'}) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string form = form_of(byte, quote);
      for (std::size_t length = 1; length < 20; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
          std::string text(length, 'a');
          std::string expected = text;
          text[at] = static_cast<char>(byte);
          expected.replace(at, 1, form);
          ASSERT_EQ(escaped(text, quote), expected);
        }
      }
    }
  }
}
