#include "util/chronex_trail/values/terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

struct code_point {
  std::uint32_t value = 0;
  // Bytes.
  std::size_t length = 1;
};

// The first character of a text that is not empty.
code_point first_of(std::string_view utf8) {
  const auto lead = static_cast<std::uint8_t>(utf8[0]);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  std::uint32_t value = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length && i < utf8.size(); ++i) {
    value = value << 6U | (static_cast<std::uint8_t>(utf8[i]) & 0x3FU);
  }
  return {value, std::min(length, utf8.size())};
}

struct code_range {
  std::uint32_t first;
  std::uint32_t last;
};

template <std::size_t Count>
bool is_in(const std::array<code_range, Count>& ranges, std::uint32_t value) {
  return std::ranges::any_of(ranges, [value](const code_range& range) {
    return range.first <= value && value <= range.last;
  });
}

constexpr std::array<code_range, 2> CONTROLS = {{{0, 0x1F}, {0x7F, 0x9F}}};

// Marks of direction, separators of lines, and what takes no room.
constexpr std::array<code_range, 7> UNSEEN = {{{0xAD, 0xAD},
                                               {0x61C, 0x61C},
                                               {0x180E, 0x180E},
                                               {0x200B, 0x200F},
                                               {0x2028, 0x202E},
                                               {0x2060, 0x206F},
                                               {0xFEFF, 0xFEFF}}};

// Characters that stand on the one before them.
constexpr std::array<code_range, 5> COMBINING = {{{0x300, 0x36F},
                                                  {0x1AB0, 0x1AFF},
                                                  {0x1DC0, 0x1DFF},
                                                  {0x20D0, 0x20FF},
                                                  {0xFE00, 0xFE2F}}};

constexpr std::array<code_range, 8> WIDE = {{{0x1100, 0x115F},
                                             {0x2E80, 0xA4CF},
                                             {0xAC00, 0xD7A3},
                                             {0xF900, 0xFAFF},
                                             {0xFE30, 0xFE6F},
                                             {0xFF00, 0xFF60},
                                             {0xFFE0, 0xFFE6},
                                             {0x1F300, 0x3FFFD}}};

std::size_t width_of(std::uint32_t value) {
  if (value < COMBINING.front().first) return 1;
  if (is_in(COMBINING, value)) return 0;
  return is_in(WIDE, value) ? 2 : 1;
}

void append_escape(std::string& text, const char* format, std::uint32_t value) {
  std::array<char, 12> escape{};
  std::snprintf(escape.data(), escape.size(), format, value);
  text += escape.data();
}

constexpr std::string_view CUT_MARK = "\xE2\x80\xA6";

}  // namespace

std::string terminal_text(std::string_view utf8) {
  std::string shown;
  shown.reserve(utf8.size());
  while (!utf8.empty()) {
    const code_point next = first_of(utf8);
    if (is_in(CONTROLS, next.value)) {
      append_escape(shown, "\\x%02x", next.value);
    } else if (is_in(UNSEEN, next.value)) {
      append_escape(shown, "\\u%04x", next.value);
    } else {
      shown += utf8.substr(0, next.length);
    }
    utf8.remove_prefix(next.length);
  }
  return shown;
}

std::size_t terminal_width(std::string_view utf8) {
  std::size_t width = 0;
  while (!utf8.empty()) {
    const code_point next = first_of(utf8);
    width += width_of(next.value);
    utf8.remove_prefix(next.length);
  }
  return width;
}

std::string cut_to_width(std::string_view utf8, std::size_t width) {
  if (terminal_width(utf8) <= width) return std::string(utf8);
  if (width == 0) return {};
  std::size_t left = width - 1;
  std::size_t end = 0;
  while (end < utf8.size()) {
    const code_point next = first_of(utf8.substr(end));
    const std::size_t taken = width_of(next.value);
    if (taken > left) break;
    left -= taken;
    end += next.length;
  }
  return std::string(utf8.substr(0, end)).append(CUT_MARK);
}
