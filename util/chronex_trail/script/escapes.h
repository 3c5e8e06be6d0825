#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_ESCAPES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_ESCAPES_H

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

// Characters that stand in a text as a backslash and a letter.
class backslash_escapes {
 public:
  struct escape {
    char character;
    char letter;
  };

  constexpr backslash_escapes(std::initializer_list<escape> escapes) {
    for (const escape& each : escapes) {
      letters_[static_cast<std::uint8_t>(each.character)] = each.letter;
    }
  }

  // Appends a text with these characters escaped.
  void append(std::string& out, std::string_view text) const {
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char letter = letters_[static_cast<std::uint8_t>(text[i])];
      if (letter == 0) continue;
      out += text.substr(begin, i - begin);
      out += '\\';
      out += letter;
      begin = i + 1;
    }
    out += text.substr(begin);
  }

 private:
  // 0 = the character stands for itself.
  std::array<char, 256> letters_{};
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_ESCAPES_H
