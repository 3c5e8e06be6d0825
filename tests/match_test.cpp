// The wildcard matcher: its elements one by one, and its cost.

#include "util/chronex/match.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace std::string_view_literals;

using pairs =
    std::initializer_list<std::pair<std::string_view, std::string_view>>;

void expect_match(pairs texts_and_patterns, bool with_case, bool without_case) {
  for (const auto& [text, pattern] : texts_and_patterns) {
    EXPECT_EQ(match(text, pattern, true), with_case) << text << ' ' << pattern;
    EXPECT_EQ(match(text, pattern, false), without_case)
        << text << ' ' << pattern;
  }
}

TEST(match, elements) {
  expect_match({{"", ""},
                {"", "*"},
                {"abc", "**"},
                {"a", "a*"},
                {"x.ab", "*.ab"},
                {"xaabxb", "*a*b"},
                {"abab", "*ab*ab"},
                {"abc", "a?c"},
                {"*", "\\*"},
                {"what?", "*\\?"},
                {"a\\", "a\\"},
                {"[", "["},
                {"a[b", "a[b"},
                {"[]", "[]"},
                {"a\0b"sv, "a\0?"sv}},
               true, true);
  expect_match({{"smith", "SM*"}, {"boss", "*S"}, {"a", "\\A"}, {"y[X", "*[x"}},
               false, true);
  expect_match({{"a", ""},
                {"x.abc", "*.ab"},
                {"ab", "*ab*ab"},
                {"ac", "a?c"},
                {"", "*?"},
                {"a", "\\*"},
                {"a\0"sv, "a"},
                {"\xc4", "\xe4"}},
               false, false);
}

TEST(match, sets) {
  const struct {
    std::string_view pattern;
    std::string_view members;
    std::string_view others;
  } cases[] = {
      {"[abc]", "abc", "dA-]"},
      {"[a-c]", "abc", "d-C"},
      {"[c-a]", "c", "ab-"},
      {"[]a]", "]a", "["},
      {"[]-a]", "]^_`a", "b-"},
      {"[-a]", "-a", "b"},
      {"[a-]", "a", "-]"},
      {"[-]", "-", "]"},
      {"[a-ce]", "abce", "d"},
      {"[!a]", "!a", "b"},
      {"[\\]", "\\", "]"},
      {"[*?]", "*?", "a"},
      {"[\x80-\xff]", "\x80\xe4\xff", "a\x7f"},
      {"[a-\xff]", "az\x80\xff", "A"},
  };
  for (const auto& c : cases) {
    for (const char member : c.members) {
      EXPECT_TRUE(match({&member, 1}, c.pattern, false)) << c.pattern << member;
    }
    for (const char other : c.others) {
      EXPECT_FALSE(match({&other, 1}, c.pattern, false)) << c.pattern << other;
    }
    EXPECT_FALSE(match("", c.pattern, false)) << c.pattern;
  }
}

// Trying every star at every place would outlive whoever waits for it.
TEST(match, many_stars_stay_cheap) {
  const std::string text(60000, 'a');
  EXPECT_FALSE(match(text, "*a*a*a*a*a*a*a*a*a*b", true));
  EXPECT_TRUE(match(text + "b", "*a*a*a*a*a*a*a*a*a*b", true));
  EXPECT_FALSE(match(std::string(60000, '['),
                     "*" + std::string(2000, '[') + "x", false));
}

}  // namespace
