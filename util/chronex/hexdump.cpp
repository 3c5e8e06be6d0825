#include "util/chronex/hexdump.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::size_t LINE_BYTES = 16;
constexpr std::string_view HEX_DIGITS = "0123456789abcdef";

bool is_control(std::uint8_t byte) {
  return byte < 32 || (byte >= 128 && byte < 160);
}

char octal_digit(unsigned value) {
  return static_cast<char>('0' + (value & 7U));
}

void put_octal(report_stream& stream, std::uint8_t byte) {
  stream.put('\\');
  stream.put(octal_digit(byte >> 6U));
  stream.put(octal_digit(byte >> 3U));
  stream.put(octal_digit(byte));
}

// One line behind its offset: each byte in hex, and as a character.
class dump_line {
 public:
  explicit dump_line(std::span<const std::uint8_t> bytes) {
    text_.fill(' ');
    text_[0] = ':';
    std::size_t hex = 2;
    std::size_t shown = SHOWN_POSITION;
    for (const std::uint8_t byte : bytes) {
      text_[hex] = HEX_DIGITS[byte >> 4U];
      text_[hex + 1] = HEX_DIGITS[byte & 15U];
      hex += 3;
      const bool printable = byte >= 32 && byte <= 126;
      text_[shown++] = printable ? static_cast<char>(byte) : '.';
    }
    text_[SHOWN_POSITION - 1] = '|';
    text_[text_.size() - 2] = '|';
    text_[text_.size() - 1] = '\n';
  }

  std::string_view text() const { return {text_.data(), text_.size()}; }

 private:
  static constexpr std::size_t SHOWN_POSITION = 1 + 3 * LINE_BYTES + 2;

  std::array<char, SHOWN_POSITION + LINE_BYTES + 2> text_;
};

}  // namespace

void dump_data(report_stream& stream, std::span<const std::uint8_t> bytes,
               int indentation) {
  for (std::size_t offset = 0; offset < bytes.size(); offset += LINE_BYTES) {
    stream.fill(' ', static_cast<std::size_t>(indentation));
    stream.put_hex(offset, 3);
    const std::size_t count = std::min(LINE_BYTES, bytes.size() - offset);
    stream.put(dump_line(bytes.subspan(offset, count)).text());
  }
}

void put_escaped(report_stream& stream, std::span<const std::uint8_t> bytes,
                 char quote) {
  const auto* text = reinterpret_cast<const char*>(bytes.data());
  std::size_t begin = 0;
  // Ordinary bytes are put in whole runs.
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const bool control = is_control(bytes[i]);
    const bool special = text[i] == '\\' || (quote != '\0' && text[i] == quote);
    if (!control && !special) continue;
    stream.put(std::string_view(text + begin, i - begin));
    if (control) {
      put_octal(stream, bytes[i]);
      begin = i + 1;
    } else {
      stream.put('\\');
      begin = i;
    }
  }
  stream.put(std::string_view(text + begin, bytes.size() - begin));
}
