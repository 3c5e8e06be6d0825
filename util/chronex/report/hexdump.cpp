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

static_assert(escaped_room(1) >= OCTAL_SIZE);
// Bytes that are escaped at a time.
constexpr std::size_t ESCAPE_PIECE = 1024;

constexpr std::uint64_t IN_EACH_BYTE = 0x0101010101010101;

// Whether one of the eight bytes is this one.
bool has_byte(std::uint64_t word, std::uint8_t byte) {
  const std::uint64_t zero_there = word ^ (IN_EACH_BYTE * byte);
  return ((zero_there - IN_EACH_BYTE) & ~zero_there & (IN_EACH_BYTE << 7U)) !=
         0;
}

// Whether one of the eight bytes is escaped. Control characters are those with
// neither the bit of 32 nor that of 64.
bool has_escaped(std::uint64_t word, std::uint8_t quote) {
  const bool has_control = (~(word >> 5U | word >> 6U) & IN_EACH_BYTE) != 0;
  return has_control || has_byte(word, '\\') ||
         (quote != 0 && has_byte(word, quote));
}

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

char* write_bytes(std::span<const std::uint8_t> bytes, std::uint8_t quote,
                  char* place) {
  for (const std::uint8_t byte : bytes) {
    if (ESCAPED[byte] || byte == quote) {
      place = escape(byte, place);
    } else {
      *place++ = static_cast<char>(byte);
    }
  }
  return place;
}

// Writes `bytes`, which are the first of `word`, up to eight; what is behind
// them in the word needs no escape and is written, too.
char* write_word(std::uint64_t word, std::span<const std::uint8_t> bytes,
                 std::uint8_t quote, char* place) {
  if (has_escaped(word, quote)) return write_bytes(bytes, quote, place);
  std::memcpy(place, &word, sizeof word);
  return place + bytes.size();
}

// The last bytes, fewer than eight, of a text that has more: they are read with
// those before them, and blanks take the place of these.
char* write_tail(std::span<const std::uint8_t> bytes, std::uint8_t quote,
                 char* place) {
  const auto bits = static_cast<unsigned>(8 * bytes.size());
  std::uint64_t word = 0;
  std::memcpy(&word, bytes.data() + bytes.size() - sizeof word, sizeof word);
  word = word >> (64U - bits) | (IN_EACH_BYTE * ' ') << bits;
  return write_word(word, bytes, quote, place);
}

}  // namespace

char* write_escaped(std::span<const std::uint8_t> bytes, char quote,
                    char* place) {
  const auto quote_byte = static_cast<std::uint8_t>(quote);
  constexpr std::size_t STEP = sizeof(std::uint64_t);
  if (bytes.size() < STEP) return write_bytes(bytes, quote_byte, place);
  while (bytes.size() >= STEP) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), STEP);
    place = write_word(word, bytes.first(STEP), quote_byte, place);
    bytes = bytes.subspan(STEP);
  }
  return bytes.empty() ? place : write_tail(bytes, quote_byte, place);
}

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
    char* const room = stream.room(escaped_room(piece.size())).data();
    char* const end = write_escaped(piece, quote, room);
    stream.claim(static_cast<std::size_t>(end - room));
    bytes = bytes.subspan(piece.size());
  }
}
