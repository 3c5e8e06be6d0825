// The character tables, against those of the C library.

#include "util/chronex_trail/values/character_table.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <string>

#include "util/chronex/input/charset.h"
#include "util/chronex_trail/values/utf8_text.h"

namespace {

// What iconv makes of one byte; empty = it is no character.
std::string converted(iconv_t conversion, char byte) {
  char output[8];
  char* in = &byte;
  char* out = output;
  std::size_t in_left = 1;
  std::size_t out_left = sizeof output;
  if (iconv(conversion, &in, &in_left, &out, &out_left) != 0) {
    iconv(conversion, nullptr, nullptr, nullptr, nullptr);
    return "";
  }
  return {output, sizeof output - out_left};
}

void expect_same_characters(int charset, const char* iconv_name) {
  const iconv_t conversion = iconv_open("UTF-8", iconv_name);
  ASSERT_NE(conversion, iconv_t(-1)) << iconv_name;
  const character_table& table = character_table_of(charset);
  for (std::size_t byte = 1; byte < table.size(); ++byte) {
    const utf8_character& character = table[byte];
    EXPECT_EQ(std::string(character.bytes.data(), character.length),
              converted(conversion, static_cast<char>(byte)))
        << iconv_name << " byte " << byte;
  }
  EXPECT_EQ(table[0].length, 0) << iconv_name;
  iconv_close(conversion);
}

TEST(CharacterTable, HasTheCharactersOfItsSet) {
  expect_same_characters(0, charset_name(0));
  expect_same_characters(1, charset_name(1));
  expect_same_characters(2, "US-ASCII");
  expect_same_characters(-1, "US-ASCII");
}

TEST(Utf8Text, ReplacesOnlyWhatIsNotWellFormed) {
  struct {
    std::string text, expected;
  } const cases[] = {
      {"plain", "plain"},
      {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80",
       "caf\xC3\xA9 \xE2\x82\xAC "
       "\xF0\x9F\x98\x80"},
      {std::string("a\0b", 3),
       "a\xEF\xBF\xBD"
       "b"},
      // A byte alone, one that is cut, too long, a surrogate, beyond the last.
      {"\xE9t", "\xEF\xBF\xBDt"},
      {"\xE2\x82", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xC0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xE0\x80\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xF4\x90\x80\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(well_formed_utf8(text), expected);
  }
}

}  // namespace
