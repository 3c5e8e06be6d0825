#include "util/chronex/tables/sign_on_data.h"

#include <cstring>

namespace {

constexpr std::size_t COUNT_SIZE = 2;
constexpr std::size_t LENGTH_SIZE = 2;

// The position of the "}" that closes the value at the front of `text`, or
// npos.
std::size_t closing_brace(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '}') {
      return i;
    }
  }
  return std::string_view::npos;
}

}  // namespace

sign_on_strings::sign_on_strings(std::span<const std::uint8_t> data)
    : cursor_(data) {
  // Without a number there are no strings.
  static_cast<void>(cursor_.u16(strings_left_));
}

bool sign_on_strings::next(std::string_view& text) {
  if (strings_left_ == 0) return false;
  byte_cursor ahead = cursor_;
  std::uint16_t length = 0;
  std::span<const std::uint8_t> bytes;
  if (!ahead.u16(length) || !ahead.bytes(length, bytes)) return false;
  cursor_ = ahead;
  --strings_left_;
  text = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  return true;
}

bool sign_on_pairs::next(std::string_view& key, std::string_view& value) {
  const std::size_t brace = rest_.find('{');
  if (brace == rest_.npos) return false;
  const std::string_view behind = rest_.substr(brace + 1);
  const std::size_t close = closing_brace(behind);
  if (close == behind.npos) return false;
  key = rest_.substr(0, brace);
  value = behind.substr(0, close);
  rest_ = behind.substr(close + 1);
  return true;
}

std::size_t sign_on_copy_value(std::string_view value, std::span<char> buffer) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < value.size() && length < buffer.size(); ++i) {
    // A value never ends with a backslash that has nothing to make literal.
    if (value[i] == '\\') ++i;
    buffer[length++] = value[i];
  }
  return length;
}

bool sign_on_is_exact(std::span<const std::uint8_t> data) {
  if (data.empty()) return true;
  if (data.size() < COUNT_SIZE) return false;
  sign_on_strings strings(data);
  std::string_view text;
  while (strings.next(text)) {
  }
  return strings.strings_left() == 0 && strings.bytes_left() == 0;
}

bool sign_on_normal_form(std::span<const std::uint8_t> data,
                         owned_bytes& copy) {
  copy.reset();
  if (data.empty()) return true;
  sign_on_strings strings(data);
  std::uint16_t count = 0;
  std::size_t size = COUNT_SIZE;
  std::string_view text;
  while (strings.next(text)) {
    ++count;
    size += LENGTH_SIZE + text.size();
  }
  if (!copy.allocate(size)) return false;
  store_u16(copy.data(), count);
  const std::size_t strings_size = size - COUNT_SIZE;
  if (strings_size > 0) {
    std::memcpy(copy.data() + COUNT_SIZE, data.data() + COUNT_SIZE,
                strings_size);
  }
  return true;
}
