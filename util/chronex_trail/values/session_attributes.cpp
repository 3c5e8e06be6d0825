#include "util/chronex_trail/values/session_attributes.h"

#include <cstddef>

#include "common/same_text.h"

namespace {

// The position of the brace that closes a value which begins at `at`, or npos.
std::size_t closing_brace(std::string_view text, std::size_t at) {
  for (; at < text.size(); ++at) {
    if (text[at] == '}') return at;
    if (text[at] == '\\') ++at;
  }
  return text.npos;
}

}  // namespace

session_attribute_walk::session_attribute_walk(
    std::span<const std::uint8_t> sign_on)
    : strings_(sign_on) {
  if (!strings_.u16(strings_left_)) strings_left_ = 0;
}

bool session_attribute_walk::next_string() {
  std::uint16_t length = 0;
  std::span<const std::uint8_t> string;
  if (strings_left_ == 0 || !strings_.u16(length) ||
      !strings_.bytes(length, string)) {
    return false;
  }
  --strings_left_;
  text_ = {reinterpret_cast<const char*>(string.data()), string.size()};
  return true;
}

std::optional<session_attribute_text> session_attribute_walk::next() {
  do {
    const std::size_t open = text_.find('{');
    if (open == text_.npos) continue;
    const std::size_t close = closing_brace(text_, open + 1);
    if (close == text_.npos) continue;
    const session_attribute_text pair{text_.substr(0, open),
                                      text_.substr(open + 1, close - open - 1)};
    text_.remove_prefix(close + 1);
    return pair;
  } while (next_string());
  return std::nullopt;
}

std::optional<session_attribute_text> find_session_attribute(
    std::span<const std::uint8_t> sign_on, std::string_view key) {
  session_attribute_walk walk(sign_on);
  for (;;) {
    const std::optional<session_attribute_text> pair = walk.next();
    if (!pair || same_text(pair->key, key)) return pair;
  }
}

std::string unescaped(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;
    text += value[i];
  }
  return text;
}
