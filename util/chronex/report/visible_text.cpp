#include "util/chronex/report/visible_text.h"

#include <array>

namespace {

char octal_digit(unsigned value) {
  return static_cast<char>('0' + (value & 7U));
}

}  // namespace

char* write_octal(std::uint8_t byte, char* place) {
  *place++ = '\\';
  *place++ = octal_digit(byte >> 6U);
  *place++ = octal_digit(byte >> 3U);
  *place++ = octal_digit(byte);
  return place;
}

std::string visible_text(std::string_view text) {
  std::string visible;
  std::array<char, OCTAL_SIZE> octal{};
  for (const char character : text) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (is_terminal_control(byte)) {
      write_octal(byte, octal.data());
      visible.append(octal.data(), octal.size());
    } else {
      visible += character;
    }
  }
  return visible;
}
