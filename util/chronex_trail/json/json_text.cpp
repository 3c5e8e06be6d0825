#include "util/chronex_trail/json/json_text.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "util/chronex_trail/values/byte_words.h"

namespace {

constexpr std::uint64_t HIGH_BITS = word_of(0x80);
constexpr std::size_t STEP = WORD;

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
  return (word - word_of(1)) & ~word & HIGH_BITS;
}

// Not zero when any of eight bytes must be escaped.
constexpr std::uint64_t escapes_in(std::uint64_t word) {
  const std::uint64_t control = (word - word_of(' ')) & ~word & HIGH_BITS;
  return control | zero_bytes(word ^ word_of('"')) |
         zero_bytes(word ^ word_of('\\'));
}

// Not zero when any of eight bytes is not ASCII or must be escaped. A
// difference borrows from the next byte only when it is below zero itself.
constexpr std::uint64_t not_plain_in(std::uint64_t word) {
  return (word | (word - word_of(' ')) | ((word ^ word_of('"')) - word_of(1)) |
          ((word ^ word_of('\\')) - word_of(1))) &
         HIGH_BITS;
}

// A word that has blanks or zeros behind its first bytes, with blanks there.
// The length may be that of the word, which is too much for one shift.
constexpr std::uint64_t padded(std::uint64_t word, std::size_t length) {
  return word | word_of(' ') << length * 4 << length * 4;
}

const std::uint8_t* byte_pointer(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
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
    const std::uint64_t word = load_word(byte_pointer(utf8));
    if (escapes_in(word) != 0) {
      out = put_escaped(utf8.substr(0, STEP), out);
    } else {
      store_word(word, out);
      out += STEP;
    }
    utf8.remove_prefix(STEP);
  }
  const std::uint64_t last =
      padded(load_short_word(byte_pointer(utf8), utf8.size()), utf8.size());
  if (escapes_in(last) != 0) return put_escaped(utf8, out);
  store_word(last, out);
  return out + utf8.size();
}

char* put_plain_ascii(std::span<const std::uint8_t> bytes, std::size_t length,
                      char* out) {
  if (bytes.size() < WORD) {
    const std::uint64_t word =
        padded(load_short_word(bytes.data(), length), length);
    store_word(word, out);
    return not_plain_in(word) == 0 ? out + length : nullptr;
  }
  std::uint64_t problems = 0;
  const auto copy_word = [&](std::size_t at, std::uint64_t word) {
    store_word(word, out + at);
    problems |= not_plain_in(word);
  };
  std::size_t at = 0;
  for (; at + WORD <= length; at += WORD) {
    copy_word(at, load_word(bytes.data() + at));
  }
  if (at < length) {
    // Nothing is read behind the item.
    const std::size_t from = std::min(at, bytes.size() - WORD);
    copy_word(from, padded(load_word(bytes.data() + from), length - from));
  }
  return problems == 0 ? out + length : nullptr;
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
