#include "util/chronex/hexdump.h"

namespace {

constexpr std::size_t LINE_BYTES = 16;

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

}  // namespace

void dump_data(report_stream& stream, std::span<const std::uint8_t> bytes,
               int indentation) {
  for (std::size_t offset = 0; offset < bytes.size(); offset += LINE_BYTES) {
    const auto line =
        bytes.subspan(offset, std::min(LINE_BYTES, bytes.size() - offset));
    const std::size_t missing = LINE_BYTES - line.size();
    stream.fill(' ', static_cast<std::size_t>(indentation));
    stream.put_hex(offset, 3);
    stream.put(':');
    for (const std::uint8_t byte : line) {
      stream.put(' ');
      stream.put_hex(byte, 2);
    }
    stream.fill(' ', 3 * missing);
    stream.put(" |");
    for (const std::uint8_t byte : line) {
      stream.put(byte >= 32 && byte <= 126 ? static_cast<char>(byte) : '.');
    }
    stream.fill(' ', missing);
    stream.put("|\n");
  }
}

void put_escaped(report_stream& stream, std::span<const std::uint8_t> bytes,
                 char quote) {
  for (const std::uint8_t byte : bytes) {
    const char character = static_cast<char>(byte);
    if (is_control(byte)) {
      put_octal(stream, byte);
      continue;
    }
    if (character == '\\' || (quote != '\0' && character == quote)) {
      stream.put('\\');
    }
    stream.put(character);
  }
}
