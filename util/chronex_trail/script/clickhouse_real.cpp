#include "util/chronex_trail/script/clickhouse_real.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

#include "util/chronex_trail/values/item_value.h"

namespace {

// Larger ones are not all whole numbers.
constexpr double LARGEST_WHOLE = 9007199254740992;

// Up to here it is known what the fast reader does.
constexpr std::size_t MOST_DECIMALS = 6;
constexpr std::size_t MOST_DIGITS = 15;
constexpr double SCALES[MOST_DECIMALS + 1] = {1,     10,     100,    1000,
                                              10000, 100000, 1000000};

void append_bytes(std::string& out, double number) {
  const auto bytes =
      std::bit_cast<std::array<std::uint8_t, sizeof number>>(number);
  out += "reinterpretAsFloat64(unhex('";
  out.resize(out.size() + 2 * bytes.size());
  put_hex_digits(bytes, out.data() + out.size() - 2 * bytes.size());
  out += "'))";
}

double whole_number(std::string_view digits) {
  std::int64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return static_cast<double>(number);
}

// Whether the fast reader makes this size of the text.
bool reads_back(std::string_view text, double size) {
  const std::size_t point = text.find('.');
  if (point == text.npos || text.find('e') != text.npos) return false;
  const std::string_view decimals = text.substr(point + 1);
  return decimals.size() <= MOST_DECIMALS && text.size() <= MOST_DIGITS + 1 &&
         whole_number(text.substr(0, point)) +
                 whole_number(decimals) / SCALES[decimals.size()] ==
             size;
}

}  // namespace

void append_clickhouse_real(std::string& out, double number) {
  const double size = std::fabs(number);
  if (size != 0 && size < std::numeric_limits<double>::min()) {
    append_bytes(out, number);
    return;
  }
  std::array<char, 32> room;
  char* const last = room.data() + room.size();
  const bool is_whole = size <= LARGEST_WHOLE && size == std::floor(size);
  const char* const end =
      is_whole
          ? std::to_chars(room.data(), last, static_cast<std::int64_t>(size))
                .ptr
          : std::to_chars(room.data(), last, size).ptr;
  const std::string_view text(room.data(), end);
  const bool is_fast = is_whole || reads_back(text, size);
  if (!is_fast) out += '(';
  if (std::signbit(number)) out += '-';
  out += text;
  if (!is_fast) out += ')';
}
