#include "util/chronex/report/hexdump.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "util/chronex/report/visible_text.h"

namespace {

constexpr std::size_t LINE_BYTES = 16;
constexpr std::size_t BYTE_VALUES = 256;

// The two hex digits of every byte.
constexpr auto HEX_OF_BYTE = [] {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::array<std::array<char, 2>, BYTE_VALUES> hex{};
  for (std::size_t byte = 0; byte < hex.size(); ++byte) {
    hex[byte] = {DIGITS[byte / 16], DIGITS[byte % 16]};
  }
  return hex;
}();

constexpr bool is_control(std::uint8_t byte) {
  return byte < 32 || (byte >= 128 && byte < 160);
}

// The bytes that are escaped whatever the quote.
constexpr auto ESCAPED = [] {
  std::array<bool, BYTE_VALUES> escaped{};
  for (std::size_t byte = 0; byte < escaped.size(); ++byte) {
    escaped[byte] = is_control(static_cast<std::uint8_t>(byte));
  }
  escaped['\\'] = true;
  return escaped;
}();

// Bytes that are escaped at a time, and the characters that one may take.
constexpr std::size_t ESCAPE_PIECE = 1024;
constexpr std::size_t ESCAPE_SIZE = OCTAL_SIZE;

// Writes the escaped form of the byte and returns the place behind it.
char* escape(std::uint8_t byte, char* place) {
  if (is_control(byte)) return write_octal(byte, place);
  *place++ = '\\';
  *place++ = static_cast<char>(byte);
  return place;
}

// One line behind its offset: ':', each byte in hex, and as a character between
// two bars. Missing bytes are blanks.
constexpr std::size_t HEX_POSITION = 2;
constexpr std::size_t SHOWN_POSITION = HEX_POSITION + 3 * LINE_BYTES + 1;
constexpr std::size_t LINE_SIZE = SHOWN_POSITION + LINE_BYTES + 2;

void put_line(report_stream& stream, std::span<const std::uint8_t> bytes) {
  const std::span<char> text = stream.room(LINE_SIZE);
  std::memset(text.data(), ' ', LINE_SIZE);
  text[0] = ':';
  text[SHOWN_POSITION - 1] = '|';
  text[LINE_SIZE - 2] = '|';
  text[LINE_SIZE - 1] = '\n';
  char* hex = text.data() + HEX_POSITION;
  char* shown = text.data() + SHOWN_POSITION;
  for (const std::uint8_t byte : bytes) {
    std::memcpy(hex, HEX_OF_BYTE[byte].data(), 2);
    hex += 3;
    const bool printable = byte >= 32 && byte <= 126;
    *shown++ = printable ? static_cast<char>(byte) : '.';
  }
  stream.claim(LINE_SIZE);
}

}  // namespace

void dump_data(report_stream& stream, std::span<const std::uint8_t> bytes,
               int indentation) {
  for (std::size_t offset = 0; offset < bytes.size(); offset += LINE_BYTES) {
    stream.fill(' ', static_cast<std::size_t>(indentation));
    stream.put_hex(offset, 3);
    const std::size_t count = std::min(LINE_BYTES, bytes.size() - offset);
    put_line(stream, bytes.subspan(offset, count));
  }
}

void put_escaped(report_stream& stream, std::span<const std::uint8_t> bytes,
                 char quote) {
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), ESCAPE_PIECE));
    const std::span<char> room = stream.room(piece.size() * ESCAPE_SIZE);
    char* place = room.data();
    for (const std::uint8_t byte : piece) {
      if (ESCAPED[byte] || byte == static_cast<std::uint8_t>(quote)) {
        place = escape(byte, place);
      } else {
        *place++ = static_cast<char>(byte);
      }
    }
    stream.claim(static_cast<std::size_t>(place - room.data()));
    bytes = bytes.subspan(piece.size());
  }
}
