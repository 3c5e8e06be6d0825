#include "util/chronex_trail/files/path_part.h"

#include <cstddef>

namespace {

// Names of files have at most 255 bytes, and something stands beside the part.
constexpr std::size_t LONGEST_PART = 240;
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";
constexpr std::string_view COMPRESSED = ".gz";

bool is_letter_or_digit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9');
}

bool stays(std::string_view text, std::size_t at) {
  const char c = text[at];
  if (c == '.') return at > 0 && at + 1 < text.size();
  return is_letter_or_digit(c) || c == '_' || c == '-';
}

}  // namespace

std::string path_part(std::string_view text) {
  std::string part;
  for (std::size_t at = 0; at < text.size(); ++at) {
    std::string byte(1, text[at]);
    if (!stays(text, at)) {
      const auto number = static_cast<unsigned char>(text[at]);
      byte = {'%', HEX_DIGITS[number >> 4], HEX_DIGITS[number & 15]};
    }
    if (part.size() + byte.size() > LONGEST_PART) break;
    part += byte;
  }
  return part;
}

std::string base_name_part(std::string_view file_name) {
  if (file_name == "-") return "stdin";
  file_name.remove_prefix(file_name.rfind('/') + 1);
  if (file_name.size() > COMPRESSED.size() && file_name.ends_with(COMPRESSED)) {
    file_name.remove_suffix(COMPRESSED.size());
  }
  return path_part(file_name);
}
