#include "util/chronex_trail/json/json_text.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::uint64_t LOW_BITS = 0x0101010101010101;
constexpr std::uint64_t HIGH_BITS = 0x8080808080808080;
constexpr std::size_t STEP = sizeof(std::uint64_t);

// What one byte becomes.
struct escaped_byte {
  std::array<char, STEP - 1> text{};
  std::uint8_t length = 0;
};

constexpr escaped_byte short_escape(char letter) { return {{'\\', letter}, 2}; }

constexpr std::array<escaped_byte, 256> make_escapes() {
  constexpr char DIGITS[] = "0123456789abcdef";
  std::array<escaped_byte, 256> escapes{};
  for (std::size_t i = 0; i < escapes.size(); ++i) {
    escapes[i] = {{static_cast<char>(i)}, 1};
    if (i < 0x20) {
      escapes[i] = {{'\\', 'u', '0', '0', DIGITS[i >> 4], DIGITS[i & 15]}, 6};
    }
  }
  escapes['"'] = short_escape('"');
  escapes['\\'] = short_escape('\\');
  escapes['\n'] = short_escape('n');
  escapes['\r'] = short_escape('r');
  escapes['\t'] = short_escape('t');
  return escapes;
}

constexpr std::array<escaped_byte, 256> ESCAPES = make_escapes();
static_assert(sizeof(escaped_byte) == STEP);

constexpr std::uint64_t zero_bytes(std::uint64_t word) {
  return (word - LOW_BITS) & ~word & HIGH_BITS;
}

// Whether any of eight bytes must be escaped.
bool needs_escape(std::uint64_t word) {
  const std::uint64_t control = (word - LOW_BITS * 0x20) & ~word & HIGH_BITS;
  return (control | zero_bytes(word ^ LOW_BITS * '"') |
          zero_bytes(word ^ LOW_BITS * '\\')) != 0;
}

bool is_plain_ascii(std::uint64_t word) {
  return (word & HIGH_BITS) == 0 && !needs_escape(word);
}

char* put_escaped(std::string_view text, char* out) {
  for (const char character : text) {
    const escaped_byte& escape = ESCAPES[static_cast<std::uint8_t>(character)];
    std::memcpy(out, escape.text.data(), escape.text.size());
    out += escape.length;
  }
  return out;
}

}  // namespace

char* put_json_text(std::string_view utf8, char* out) {
  while (utf8.size() >= STEP) {
    std::uint64_t word = 0;
    std::memcpy(&word, utf8.data(), STEP);
    if (needs_escape(word)) {
      out = put_escaped(utf8.substr(0, STEP), out);
    } else {
      std::memcpy(out, &word, STEP);
      out += STEP;
    }
    utf8.remove_prefix(STEP);
  }
  return put_escaped(utf8, out);
}

char* put_plain_ascii(const std::uint8_t* bytes, std::size_t size, char* out) {
  const auto copy_word = [&](std::size_t at) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + at, STEP);
    std::memcpy(out + at, &word, STEP);
    return is_plain_ascii(word);
  };
  std::size_t at = 0;
  for (; at + STEP <= size; at += STEP) {
    if (!copy_word(at)) return nullptr;
  }
  // What is left is the end of another eight bytes, if there are so many.
  if (at == size) return out + size;
  if (size >= STEP) return copy_word(size - STEP) ? out + size : nullptr;
  for (; at < size; ++at) {
    const std::uint8_t byte = bytes[at];
    if (byte >= 0x80 || ESCAPES[byte].length != 1) return nullptr;
    out[at] = static_cast<char>(byte);
  }
  return out + size;
}

void append_json_string(std::string& out, std::string_view utf8) {
  const std::size_t begin = out.size();
  out.resize(begin + utf8.size() * LONGEST_ESCAPE + STEP + 2);
  char* end = out.data() + begin;
  *end++ = '"';
  end = put_json_text(utf8, end);
  *end++ = '"';
  out.resize(static_cast<std::size_t>(end - out.data()));
}

void append_json_member(std::string& out, std::string_view key,
                        std::string_view utf8) {
  out += ",\"";
  out += key;
  out += "\":";
  append_json_string(out, utf8);
}

void append_json_member(std::string& out, std::string_view key,
                        std::int64_t number) {
  out += ",\"";
  out += key;
  out += "\":";
  out += std::to_string(number);
}
