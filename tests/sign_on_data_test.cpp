// Sign-on data: strings that the data hold as they say, and strings that they
// do not.

#include "util/chronex/tables/sign_on_data.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/log_builder.h"

namespace {

using namespace std::string_literals;

std::span<const std::uint8_t> bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string normal_form(std::string_view data) {
  owned_bytes copy;
  EXPECT_TRUE(sign_on_normal_form(bytes_of(data), copy));
  return {reinterpret_cast<const char*>(copy.data()), copy.size()};
}

TEST(sign_on_data, normal_form_has_the_whole_strings) {
  const std::string two = sign_on_bytes({"user{A}", ""});
  const std::string one = sign_on_bytes({"user{A}"});
  const std::string none = sign_on_bytes({});
  const struct {
    std::string data;
    bool exact;
    std::string result;
  } cases[] = {
      {two, true, two},
      {none, true, none},
      {"", true, ""},
      {"\1", false, none},
      {two + "x", false, two},
      {two.substr(0, two.size() - 1), false, one},
      {one.substr(0, one.size() - 1), false, none},
      {"\3\0"s + two.substr(2), false, two},
      {none + "\7\0"s, false, none},
  };
  for (const auto& [data, exact, result] : cases) {
    EXPECT_EQ(sign_on_is_exact(bytes_of(data)), exact) << data;
    EXPECT_EQ(normal_form(data), result) << data;
    EXPECT_TRUE(sign_on_is_exact(bytes_of(result))) << data;
  }
}

// Every pair of the text as key=value; a value is cut to 6 characters.
std::string pairs_of(std::string_view text) {
  std::string result;
  sign_on_pairs pairs(text);
  std::string_view key;
  std::string_view value;
  while (pairs.next(key, value)) {
    std::array<char, 6> buffer;
    result += std::string(key) + "=" +
              std::string(buffer.data(), sign_on_copy_value(value, buffer)) +
              ";";
  }
  return result;
}

TEST(sign_on_data, pairs_of_a_string) {
  const std::pair<std::string_view, const char*> cases[] = {
      {"user{A}host{}", "user=A;host=;"},
      {"{a}b}c{{}", "=a;b}c={;"},
      {"k{a\\}\\\\b}l{x", "k=a}\\b;"},
      {"k{1234567}l{x\\}", "k=123456;"},
      {"k{x\\", ""},
      {"k", ""},
      {"", ""},
  };
  for (const auto& [text, result] : cases) {
    EXPECT_EQ(pairs_of(text), result) << text;
  }
}

}  // namespace
