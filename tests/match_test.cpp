// The wildcard matcher: its elements one by one, and its cost.

#include "util/chronex/filter/match.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;

TEST(match, elements) {
  const struct {
    std::string_view pattern;
    std::vector<std::string_view> texts;
    std::vector<std::string_view> others;
  } cases[] = {
      {"", {""}, {"a"}},
      {"*?", {"a", "ab"}, {""}},
      {"a**", {"a", "ab"}, {"ba"}},
      {"*.ab", {"x.ab"}, {"x.abc"}},
      {"*a*b", {"xaabxb"}, {"xaabxa"}},
      {"*ab*ab", {"abab"}, {"ab"}},
      {"a?c", {"abc"}, {"ac"}},
      {"\\*", {"*"}, {"a"}},
      {"*\\?", {"what?"}, {"what"}},
      {"a\\", {"a\\"}, {"a"}},
      {"a[b", {"a[b"}, {"ab"}},
      {"[]", {"[]"}, {"]"}},
      {"a\0?"sv, {"a\0b"sv}, {"a"}},
      {"\xe4", {"\xe4"}, {"\xc4"}},
  };
  for (const auto& c : cases) {
    for (const auto text : c.texts) {
      EXPECT_TRUE(match(text, c.pattern, false)) << text << ' ' << c.pattern;
    }
    for (const auto text : c.others) {
      EXPECT_FALSE(match(text, c.pattern, false)) << text << ' ' << c.pattern;
    }
  }
  const std::pair<const char*, const char*> without_case[] = {
      {"smith", "SM*"}, {"boss", "*S"}, {"a", "\\A"}, {"y[X", "*[x"}};
  for (const auto& [text, pattern] : without_case) {
    EXPECT_TRUE(match(text, pattern, false)) << pattern;
    EXPECT_FALSE(match(text, pattern, true)) << pattern;
  }
}

TEST(match, sets) {
  const struct {
    std::string_view pattern;
    std::string_view members;
    std::string_view others;
  } cases[] = {
      {"[a-c]", "abc", "d-C"}, {"[c-a]", "c", "ab-"},
      {"[]a]", "]a", "["},     {"[]-a]", "]^_`a", "b-"},
      {"[-a]", "-a", "b"},     {"[a-]", "a", "-]"},
      {"[-]", "-", "]"},       {"[a-ce]", "abce", "d"},
      {"[!a]", "!a", "b"},     {"[\\]", "\\", "]"},
      {"[*?]", "*?", "a"},     {"[a-\xff]", "az\x80\xff", "A"},
  };
  for (const auto& c : cases) {
    for (const char byte : std::string(c.members) + std::string(c.others)) {
      EXPECT_EQ(match({&byte, 1}, c.pattern, false),
                c.members.find(byte) != c.members.npos)
          << c.pattern << byte;
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
