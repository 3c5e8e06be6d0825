// Item values as JSON, for all types, widths and signs.

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <string>

#include "tests/support/hex.h"
#include "tests/trail/event_fixture.h"
#include "util/chronex_trail/json/line_writer.h"
#include "util/chronex_trail/json/record_text.h"
#include "util/chronex_trail/json/value_text.h"

namespace {

constexpr int ROMAN8 = 0;
constexpr int LATIN1 = 1;
constexpr int UNKNOWN_SET = 9;

struct value_case {
  char type;
  std::uint16_t size;
  std::string bytes;
  std::string json;
  std::string problem = "";
  int charset = LATIN1;
  std::uint16_t count = 1;
};

// An image, and behind a blank its notes.
std::string image_json(const node_entry& node,
                       const std::vector<std::uint8_t>& bytes, int charset) {
  string_sink sink;
  line_writer out(sink);
  std::string notes;
  set_pieces pieces(nullptr);
  record_text(out, notes)
      .put(pieces.of(node, charset, {}), {.name = "before"},
           {.name = "after", .bytes = bytes});
  out.flush();
  constexpr std::string_view NO_BEFORE = R"(,"before":null,"after":)";
  EXPECT_TRUE(sink.text.starts_with(NO_BEFORE));
  return sink.text.substr(NO_BEFORE.size()) + " " + notes;
}

// The image of a record with one item, V.
std::string image_json(const value_case& test) {
  test_tables tables;
  const node_entry& node = tables.make_data_set(
      2, "VALUES", {{"V", test.type, test.count, test.size, 0}});
  const std::vector<std::uint8_t> bytes = from_hex(test.bytes);
  EXPECT_EQ(bytes.size(), static_cast<std::size_t>(node.set->rec_sz));
  return image_json(node, bytes, test.charset);
}

std::string note(const value_case& test) {
  if (test.problem.empty()) return "";
  return R"(,{"image":"after","item":"V","why":")" + test.problem +
         R"(","raw":")" + to_hex(from_hex(test.bytes)) + "\"}";
}

void check(std::span<const value_case> cases) {
  for (const value_case& test : cases) {
    EXPECT_EQ(image_json(test), R"({"V":)" + test.json + "} " + note(test))
        << test.type << test.size << " " << test.bytes;
  }
}

TEST(JsonValue, OfIntegers) {
  const value_case cases[] = {
      {'I', 1, "80", "-128"},
      {'I', 2, "0080", "-32768"},
      {'I', 4, "ffffff7f", "2147483647"},
      {'I', 4, "00000080", "-2147483648"},
      {'I', 8, "0000000000000080", R"("-9223372036854775808")"},
      {'I', 8, "0500000000000000", R"("5")"},
      // Digits are made eight at a time.
      {'I', 4, "00000000", "0"},
      {'I', 4, "ffe0f505", "99999999"},
      {'I', 4, "001f0afa", "-100000000"},
      {'K', 8, "0000c16ff2862300", R"("10000000000000000")"},
      {'K', 1, "ff", "255"},
      {'K', 2, "0080", "32768"},
      {'K', 4, "ffffffff", "4294967295"},
      {'K', 8, "ffffffffffffffff", R"("18446744073709551615")"},
      // Other sizes as the report begins them.
      {'I', 3, "feffff", R"("xfffffe")"},
      {'K', 3, "341200", R"("x1234")"},
      {'K', 6, "000000000000", R"("x00")"},
      {'K', 16, "01000000000000000000000000000000", R"("x01")"},
  };
  check(cases);
}

TEST(JsonValue, OfDecimals) {
  const value_case cases[] = {
      {'P', 3, "01234c", R"("1234")"},
      {'P', 3, "01234d", R"("-1234")"},
      {'P', 3, "12345f", R"("12345")"},
      {'P', 2, "000a", R"("0")"},
      {'P', 2, "001e", R"("1")"},
      {'P', 1, "0d", R"("0")"},
      {'P', 1, "7d", R"("-7")"},
      {'P', 3, "00000d", R"("0")"},
      {'P', 3, "100c0c", "null", "bad_digits"},
      {'P', 2, "a01c", "null", "bad_digits"},
      {'P', 2, "00ac", "null", "bad_digits"},
      {'P', 2, "1239", "null", "bad_digits"},
      {'P', 2, "0000", "null", "bad_digits"},
      // Widths at which they are read in another way.
      {'P', 4, "1020304d", R"("-1020304")"},
      {'P', 8, "123456789012345d", R"("-123456789012345")"},
      {'P', 8, "00000000a000000c", "null", "bad_digits"},
      {'P', 9, "00000000012345678c", R"("12345678")"},
      {'P', 9, "01234567890123456d", R"("-1234567890123456")"},
      {'P', 9, "0123456789012a456d", "null", "bad_digits"},
      {'Z', 5, "3030313233", R"("123")"},
      {'Z', 4, "30303043", R"("3")"},
      {'Z', 4, "3030317d", R"("-10")"},
      {'Z', 4, "3939397b", R"("9990")"},
      {'Z', 2, "304a", R"("-1")"},
      {'Z', 2, "3052", R"("-9")"},
      {'Z', 2, "307d", R"("0")"},
      {'Z', 1, "30", R"("0")"},
      {'Z', 2, "2031", "null", "bad_digits"},
      {'Z', 8, "303132333435364a", R"("-1234561")"},
      {'Z', 10, "30303030303030303030", R"("0")"},
      {'Z', 10, "3030303030303030304c", R"("-3")"},
      {'Z', 10, "30393837363534333231", R"("987654321")"},
      {'Z', 10, "30203030303030303031", "null", "bad_digits"},
      {'Z', 16, "3132333435363738393031323334354f", R"("-1234567890123456")"},
      {'Z', 17, "3031323334353637383930313233343536", R"("1234567890123456")"},
      {'Z', 18, "393132333435363738393031323334353637",
       R"("912345678901234567")"},
      {'Z', 18, "39313233343536373839303132333435363a", "null", "bad_digits"},
      {'Z', 2, "4a31", "null", "bad_digits"},
      {'Z', 2, "3053", "null", "bad_digits"},
      {'Z', 2, "3020", "null", "bad_digits"},
  };
  check(cases);
}

template <typename real>
std::string real_json(real value) {
  std::vector<std::uint8_t> bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  text_scratch scratch;
  std::string out(value_text_room(bytes.size()), ' ');
  const value_text text = put_value(
      value_form::real, bytes, character_table_of(LATIN1), scratch, out.data());
  return out.substr(0, static_cast<std::size_t>(text.end - out.data()));
}

template <typename real>
std::string shortest_text(real value) {
  std::array<char, 32> text{};
  return {text.data(),
          std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

// Short decimals have a way of their own, which must not show.
TEST(JsonValue, OfRealsIsTheShortestText) {
  for (double digits = 1; digits < 1e17; digits = digits * 1.3 + 7) {
    for (const double scale : {1., 10., 100., 1000., 10000., 4., 3.}) {
      const double middle = std::floor(digits) / scale;
      const auto narrow = static_cast<float>(middle);
      for (const double value :
           {middle, std::nextafter(middle, 0), -std::nextafter(middle, 1e18)}) {
        EXPECT_EQ(real_json(value), shortest_text(value));
      }
      for (const float value : {narrow, -std::nextafter(narrow, 0.F)}) {
        EXPECT_EQ(real_json(value), shortest_text(value));
      }
    }
  }
}

TEST(JsonValue, OfFloats) {
  const value_case cases[] = {
      {'E', 4, "cdcccc3d", "0.1"},
      {'E', 8, "9a9999999999b93f", "0.1"},
      {'E', 8, "000000a09999b93f", "0.10000000149011612"},
      {'E', 4, "00000000", "0"},
      {'E', 4, "00000080", "-0.0"},
      {'E', 8, "0000000000000080", "-0.0"},
      {'E', 8, "ffffffffffffef7f", "1.7976931348623157e+308"},
      {'E', 8, "0100000000000000", "5e-324"},
      {'E', 4, "0000c07f", "null", "nan"},
      {'E', 8, "000000000000f8ff", "null", "nan"},
      {'E', 4, "0000807f", "null", "infinite"},
      {'E', 8, "000000000000f0ff", "null", "infinite"},
      {'E', 2, "0100", R"("x01")"},
      {'E', 40, std::string(80, '9'), "\"x" + std::string(80, '9') + '"'},
  };
  check(cases);
}

TEST(JsonValue, OfTexts) {
  const value_case cases[] = {
      {'X', 4, "41422020", R"("AB")"},
      {'U', 4, "41200020", R"("A")"},
      {'X', 3, "202020", R"("")"},
      {'X', 3, "204120", R"(" A")"},
      {'X', 4, "09225c7f",
       R"("\t\"\\)"
       "\x7f\""},
      {'X', 9, "4142434445460a1f22", R"("ABCDEF\n\u001f\"")"},
      // Eight bytes are looked at at a time.
      {'X', 8, "4142434445464748", R"("ABCDEFGH")"},
      {'X', 9, "414243444546474849", R"("ABCDEFGHI")"},
      {'X', 17, "4142434445464748490020002000200000", R"("ABCDEFGHI")"},
      {'X', 17, "0020202020202020200020002000200000", R"("")"},
      {'X', 9, "41424344454647485c", R"("ABCDEFGH\\")"},
      {'X', 2, "e94d", "\"\xC3\xA9M\""},
      {'X', 2, "c54d", "\"\xC3\xA9M\"", "", ROMAN8},
      {'X', 3, "41ff42",
       "\"A\xEF\xBF\xBD"
       "B\"",
       "undecodable", ROMAN8},
      {'X', 3, "41e942",
       "\"A\xEF\xBF\xBD"
       "B\"",
       "undecodable", UNKNOWN_SET},
      {'X', 4, "00410042",
       "\"\xEF\xBF\xBD"
       "A\xEF\xBF\xBD"
       "B\"",
       "undecodable"},
      // Nothing is cut, nor taken for text, where there is no text.
      {'B', 3, "00ff20", R"("00ff20")"},
      {'Q', 2, "4142", R"("4142")"},
  };
  check(cases);
}

TEST(JsonValue, OfSeveralElementsIsAnArray) {
  EXPECT_EQ(image_json({'I', 2, "0100 0200", "", "", LATIN1, 2}),
            R"({"V":[1,2]} )");
  EXPECT_EQ(image_json({'Z', 1, "31 40 58", "", "", LATIN1, 3}),
            R"({"V":["1","0",null]} )"
            R"(,{"image":"after","item":"V","element":3,)"
            R"("why":"bad_digits","raw":"58"})");
}

// Keys are copied in steps.
TEST(JsonValue, StandsBehindItsWholeKey) {
  test_tables tables;
  std::string json;
  std::vector<test_item> items;
  for (std::size_t length = 20; length < 70; length += 3) {
    items.push_back({std::string(length, 'K'), 'I', 1, 1, 0});
    json += (json.empty() ? "{\"" : ",\"") + items.back().name + "\":7";
  }
  node_entry& node = tables.make_data_set(2, "KEYS", items);
  const std::vector<std::uint8_t> bytes(items.size(), 7);
  EXPECT_EQ(image_json(node, bytes, LATIN1), json + "} ");
}

}  // namespace
