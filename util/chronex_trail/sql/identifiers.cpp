#include "util/chronex_trail/sql/identifiers.h"

#include <cstdint>

namespace {

std::string in_lower_case(std::string_view name) {
  std::string lower(name);
  for (char& letter : lower) {
    if (letter >= 'A' && letter <= 'Z') {
      letter = static_cast<char>(letter - 'A' + 'a');
    }
  }
  return lower;
}

bool is_continuation(char byte) {
  return (static_cast<std::uint8_t>(byte) & 0xC0) == 0x80;
}

// Well-formed UTF-8 without the characters that are too much.
std::string_view cut(std::string_view utf8, std::size_t length) {
  if (utf8.size() <= length) return utf8;
  while (length > 0 && is_continuation(utf8[length])) --length;
  return utf8.substr(0, length);
}

}  // namespace

std::string quoted_identifier(std::string_view name) {
  std::string quoted = "\"";
  for (const char character : name) {
    if (character == '"') quoted += '"';
    quoted += character;
  }
  return quoted + '"';
}

bool identifier_set::take(std::string_view name) {
  return names_.insert(in_lower_case(name)).second;
}

bool identifier_set::has(std::string_view name) const {
  return names_.contains(in_lower_case(name));
}

bool identifier_set::is_free(const std::string& name,
                             std::string_view twin) const {
  return !name.empty() && !has(name) &&
         (twin.empty() || !has(name + std::string(twin)));
}

std::string identifier_set::make_free(std::string_view name,
                                      std::string_view twin) {
  const std::size_t room = max_length_ - twin.size();
  std::string made(cut(name, room));
  for (int number = 2; !is_free(made, twin); ++number) {
    const std::string suffix = '_' + std::to_string(number);
    made = std::string(cut(name, room - suffix.size())) + suffix;
  }
  take(made);
  if (!twin.empty()) take(made + std::string(twin));
  return made;
}
