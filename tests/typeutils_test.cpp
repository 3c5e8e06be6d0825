// The item value conversions, by their tables of texts and stored bytes.

#include "common/typeutils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/hex.h"

namespace {

using bytes = std::vector<std::uint8_t>;

// Stored bytes in the notation that is natural for the type.
bytes stored(char letter, std::string_view text) {
  return letter == 'Z' ? bytes(text.begin(), text.end()) : from_hex(text);
}

TEST(typeutils, scans_texts) {
  const std::string zeros(62, '0');
  const struct {
    char letter;
    int result;
    std::string text;
    std::string_view stored;               // gives the width, too
    std::size_t used = std::string::npos;  // default: the whole text
  } cases[] = {
      {'Z', 0, "+0", "000{"},
      {'Z', 0, "-0", "000{"},
      {'Z', 0, "-120", "012}"},
      {'Z', 0, "-9", "000R"},
      {'Z', 1, "12345", "123"},
      {'Z', 1, "-12045", "12}"},
      {'Z', 0, "12x", "0012", 2},
      {'P', 0, "+1234", "00 01 23 4C"},
      {'P', 0, "5", "00 5F"},
      {'P', 1, "12345", "12 3F"},
      {'P', 1, "12", "0F"},
      {'P', -1, "+.5", "00 0C", 1},
      {'K', 1, "4294967296", "FF FF"},
      {'K', -1, "-1", "00 00 00 00", 0},
      {'K', 0, "18446744073709551617", "01 00 00 00 00 00 00 00"},
      {'K', 0, "x1234", "34 12 00 00"},
      {'K', -1, "x", "00 00"},
      {'K', 0, "x0", "00 00"},
      {'K', -1, "X1", "00 00", 0},
      {'I', 1, "-129", "80"},
      {'I', 1, "3000000000", "FF FF FF 7F"},
      {'I', 0, "-9223372036854775808", "00 00 00 00 00 00 00 80"},
      {'I', -1, "-+1", "00 00", 1},
      {'I', 0, "x0f0EG", "0E 0F 00", 5},
      {'I', 1, "x12345", "23 01"},
      {'E', 0, "x3f80", "80 3F 00 00"},
      {'E', 0, " -1.5e0,", "00 00 C0 BF", 7},
      {'E', 0, "1e39", "FF FF 7F 7F"},
      {'E', 1, "-1e999", "FF FF FF FF FF FF EF FF"},
      {'E', 1, "-1e-310", "00 00 00 00 00 00 00 00"},
      {'E', -1, "abc", "00 00 00 00 00 00 00 00", 0},
      {'E', -1, "1", "00 00"},
      // The text of a float is cut after 63 characters.
      {'E', 0, zeros + "1", "00 00 80 3F"},
      {'E', 1, zeros + "12", "00 00 80 3F", 63},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.letter + (" " + c.text));
    const bytes want = stored(c.letter, c.stored);
    bytes buf(want.size(), 0xAA);
    const char* end = nullptr;
    const item_type* type = item_type_of(c.letter);
    EXPECT_EQ(type->scan(buf, &end, c.text), c.result);
    EXPECT_EQ(buf, want);
    EXPECT_EQ(end, c.text.data() + std::min(c.used, c.text.size()));
    EXPECT_EQ(type->scan(buf, nullptr, c.text), c.result);
  }
}

TEST(typeutils, prints_values) {
  const std::string wide(64, '1');
  const std::string wide_text = "x" + wide.substr(0, 62);
  const struct {
    char letter;
    int result;
    std::string_view stored;
    std::string_view text;
    std::size_t room = 100;  // the size of the text buffer
  } cases[] = {
      {'Z', 0, "0012C", "+123"},
      {'Z', 0, "0000{", "+0"},
      {'Z', 0, "}", "-0"},
      {'Z', 0, "0 1*", "+ 1\x1A"},
      {'Z', 1, "0012C", "+12", 4},
      {'P', 0, "01 23 4C", "+1234"},
      {'P', 0, "00 12 3D", "-123"},
      {'P', 0, "10 00 00", "10000"},
      {'P', 0, "0A FB", ":?"},
      {'P', 1, "12 3D", "-1", 3},
      {'K', 0, "00 00 00 00 00 00", "x00"},
      {'K', 1, "34 12 00", "x1", 3},
      {'K', 0, "34 12 00", "x1234", 6},
      {'K', 0, "FF FF FF FF FF FF FF FF", "18446744073709551615"},
      {'I', 0, "00 80", "-32768"},
      {'I', 0, "00 00 00 00 00 00 00 80", "-9223372036854775808"},
      {'I', 1, "39 30 00 00", "123", 4},
      {'I', 1, "39 30 00 00", "", 1},
      {'E', 0, "00 00 C0 FF", "-nan"},
      {'E', 0, "CD CC CC 3D", "0.1"},
      {'E', 1, "9A 99 99 99 99 99 B9 3F", "0.", 3},
      {'E', 0, "12 34 00", "x3412"},
      {'E', 0, "", "x"},
      {'E', 1, wide, wide_text},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(1, c.letter) + " " + std::string(c.stored));
    std::vector<char> buf(c.room, '#');
    std::size_t length = 0;
    const bytes v = stored(c.letter, c.stored);
    EXPECT_EQ(item_type_of(c.letter)->fmt(buf, v, &length), c.result);
    EXPECT_EQ(std::string_view(buf.data(), length), c.text);
    EXPECT_EQ(buf[length], '\0');
  }
}

// Each row lists values of one type in ascending order.
// Texts that are found on a shorter way are those of printf.
TEST(typeutils, prints_doubles_as_printf_does) {
  std::mt19937_64 random(15);
  const auto check = [](double value) {
    std::array<char, DOUBLE_TEXT_SIZE> text;
    std::array<char, 64> expected;
    const char* const end = idb__write_double(value, text.data());
    const int length =
        std::snprintf(expected.data(), expected.size(), "%1.15g", value);
    ASSERT_EQ(
        std::string_view(text.data(), end),
        std::string_view(expected.data(), static_cast<std::size_t>(length)));
  };
  // Where one way ends and another begins, digits run out, or ties are near.
  for (const double edge :
       {0.0, 1e-4, 1e11, 1e15, 1e22, 0.3, 2.5, 0.00012345, 99999999999.9999,
        999999999999999.9, 9007199254740993.0, 5e-324,
        std::numeric_limits<double>::max(),
        std::numeric_limits<double>::infinity()}) {
    for (const double sign : {1.0, -1.0}) {
      check(sign * edge);
      check(sign * std::nextafter(edge, 0.0));
      check(sign * std::nextafter(edge, 1e300));
    }
  }
  double power = 1e-6;
  for (int digits = 0; digits < 24; ++digits, power *= 10) {
    for (int i = 0; i < 2000; ++i) {
      const double any = power * static_cast<double>(random() >> 11U);
      check(any * 0x1p-53);
      const double whole =
          static_cast<double>(random() % 1'000'000'000'000'000);
      check(whole / (power * 1e6));
      check(std::bit_cast<double>(random()));
    }
  }
}

TEST(typeutils, writes_packed_digits_as_printing_does) {
  std::mt19937 random(16);
  for (std::size_t i = 0; i < 20000; ++i) {
    std::vector<std::uint8_t> value(1 + i % 12);
    for (std::size_t k = random() % value.size(); k < value.size(); ++k) {
      value[k] = static_cast<std::uint8_t>(random());
    }
    std::array<char, 64> printed;
    std::array<char, 24> written;
    std::size_t length = 0;
    ASSERT_EQ(idb__fmt_packed(printed, value, &length), 0);
    const char* const end = idb__write_packed(value, written.data());
    ASSERT_EQ(std::string_view(written.data(), end),
              std::string_view(printed.data(), length));
  }
}

TEST(typeutils, orders_values) {
  const std::vector<std::string_view> rows[] = {
      {"Z", "99R", "00K", "00J", "00{", "00A", "00B", "99I"},
      {"P", "10 0D", "00 2D", "00 1D", "00 0F", "00 1C", "00 2B", "10 0C"},
      {"K", "00 00", "FF 00", "00 01", "FF FF"},
      {"K", "00 00 00 00 00", "00 FF 00 00 00", "00 00 00 00 80"},
      {"I", "00 80", "FF FF", "00 00", "FF 7F"},
      {"I", "80", "FE", "FF", "00", "7F"},
      {"I", "00 00 80", "FE FF FF", "FF FF FF", "FF 00 00", "00 00 7F"},
      // Non-negative values: below the top 8 bytes a set sign bit in the upper
      // half of 8 bytes, or in 4 bytes, comes first.
      {"I", "0000000000000000000000000000000000000080",
       "0000008000000000000000000000000000000080",
       "0000000000000000000000800000000000000000",
       "0000008000000000000000000000000000000000",
       "0000000000000000000000000000000000000000",
       "0000000000000080000000000000000000000000"},
      {"E", "00 00 80 FF", "00 00 80 BF", "00 00 00 80", "00 00 80 3F"},
      {"E", "01 00 02", "01 01 00", "80 00 00"},
  };
  for (const auto& row : rows) {
    const char letter = row[0][0];
    for (std::size_t i = 1; i < row.size(); ++i) {
      for (std::size_t j = 1; j < row.size(); ++j) {
        SCOPED_TRACE(std::string(row[i]) + " against " + std::string(row[j]));
        const int order = item_type_of(letter)->cmp(stored(letter, row[i]),
                                                    stored(letter, row[j]));
        EXPECT_EQ(order < 0, i < j);
        EXPECT_EQ(order > 0, i > j);
      }
    }
  }
}

TEST(typeutils, compares_zeros_and_nans) {
  EXPECT_EQ(idb__cmp_zoned(stored('Z', "000}"), stored('Z', "000{")), 0);
  EXPECT_GT(idb__cmp_zoned(stored('Z', "00}"), stored('Z', "00J")), 0);
  EXPECT_EQ(idb__cmp_packed(from_hex("00 0C"), from_hex("00 0D")), 0);
  EXPECT_LT(idb__cmp_packed(from_hex("00 0D"), from_hex("00 1F")), 0);
  const bytes one = from_hex("00 00 80 3F");
  const bytes nan = from_hex("00 00 C0 7F");
  EXPECT_EQ(idb__cmp_ieee_float(from_hex("00000080"), from_hex("00000000")), 0);
  EXPECT_EQ(idb__cmp_ieee_float(one, nan), 1);
  EXPECT_EQ(idb__cmp_ieee_float(nan, nan), 1);
}

TEST(typeutils, knows_item_types) {
  for (const char letter : std::string("BUXEIKPZ")) {
    const item_type* type = item_type_of(letter);
    ASSERT_NE(type, nullptr) << letter;
    EXPECT_EQ(type->numeric, letter != 'B' && letter != 'U' && letter != 'X');
    EXPECT_EQ(type->fill, letter == 'U' || letter == 'X' ? ' ' : '\0');
  }
  EXPECT_EQ(item_type_of('z'), nullptr);
  EXPECT_EQ(item_type_of('\0'), nullptr);
}

}  // namespace
