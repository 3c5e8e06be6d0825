// Values in the database, held against those of the JSON events.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/support/hex.h"
#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/event_reader.h"
#include "tests/trail/sql_fixture.h"

namespace {

// All types, with sizes of every kind.
std::vector<log_item> all_items() {
  std::vector<log_item> items;
  for (const char type : std::string_view("IKEPZXUBQ")) {
    for (const int size : {1, 2, 3, 4, 8, 9, 10, 16, 18, 19}) {
      items.push_back({type + std::to_string(size), type, 1,
                       static_cast<std::uint16_t>(size)});
    }
  }
  items.push_back({"FEW", 'I', 3, 2});
  items.push_back({"MANY", 'E', 17, 4});
  return items;
}

std::size_t size_of(const std::vector<log_item>& items) {
  std::size_t size = 0;
  for (const log_item& item : items)
    size += std::size_t{item.count} * item.size;
  return size;
}

// Bytes among which every type finds values: small digits, signs, letters.
std::string random_image(std::mt19937& random, std::size_t size, int kind) {
  std::string image(size, '\0');
  for (char& byte : image) {
    const std::size_t drawn = random();
    const std::string_view zoned = "0123456789{AJ}";
    const std::string_view packed = "\x01\x23\x45\x0c\x1d\x99";
    byte = static_cast<char>(drawn & 0xFF);
    if (kind == 1) byte = zoned[drawn % zoned.size()];
    if (kind == 2) byte = packed[drawn % packed.size()];
    if (kind == 3) byte = (drawn & 1) != 0 ? '\xff' : '\x7f';
  }
  return image;
}

// How a column shows what an event has; `at` is the column's value.
void expect_same(const rapidjson::Value& value, const sql_statement& row,
                 int at, const std::string& what) {
  const int type = sqlite3_column_type(row.handle(), at);
  if (value.IsNull()) {
    EXPECT_EQ(type, SQLITE_NULL) << what;
  } else if (type == SQLITE_BLOB) {
    const auto* const bytes =
        static_cast<const std::uint8_t*>(sqlite3_column_blob(row.handle(), at));
    const auto size =
        static_cast<std::size_t>(sqlite3_column_bytes(row.handle(), at));
    EXPECT_EQ(value.GetString(),
              to_hex(std::vector<std::uint8_t>(bytes, bytes + size)))
        << what;
  } else if (value.IsString()) {
    EXPECT_EQ(value.GetString(), row.text(at)) << what;
  } else if (type == SQLITE_INTEGER) {
    EXPECT_EQ(value.GetInt64(), row.integer(at)) << what;
  } else {
    EXPECT_EQ(type, SQLITE_FLOAT) << what;
    EXPECT_EQ(value.GetDouble(), sqlite3_column_double(row.handle(), at))
        << what;
  }
}

// Compares an item's columns in the image that `at` is in.
void expect_item(const rapidjson::Value& value, sql_statement& row, int at,
                 const std::string& what) {
  if (!value.IsArray()) {
    expect_same(value, row, at, what);
  } else if (value.Size() > 16) {
    rapidjson::Document array;
    const std::string text(row.text(at));
    array.Parse<rapidjson::kParseFullPrecisionFlag>(text.c_str());
    EXPECT_TRUE(array == value) << what << text;
  } else {
    for (unsigned k = 0; k < value.Size(); ++k) {
      expect_same(value[k], row, at + static_cast<int>(2 * k), what);
    }
  }
}

void expect_image(const rapidjson::Value& image, sql_statement& row, int first,
                  const std::vector<log_item>& items) {
  int at = first;
  for (const log_item& item : items) {
    if (image.IsNull()) {
      EXPECT_EQ(sqlite3_column_type(row.handle(), at), SQLITE_NULL);
    } else {
      expect_item(image[item.name.c_str()], row, at, item.name);
    }
    at += item.count > 1 && item.count <= 16 ? 2 * item.count : 2;
  }
}

void expect_json(const rapidjson::Document& event, const char* member,
                 std::string_view text) {
  rapidjson::Document parsed;
  parsed.Parse(text.data(), text.size());
  ASSERT_EQ(event.HasMember(member), !text.empty()) << member;
  if (!text.empty()) {
    EXPECT_TRUE(event[member] == parsed) << text;
  }
}

TEST(SqlValue, IsThatOfTheEvent) {
  const test_directory directory;
  const std::vector<log_item> items = all_items();
  std::mt19937 random(20260302);
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "all", items).sign_on(5, {"user{B}"});
  const std::size_t size = size_of(items);
  std::string last(size, '\0');
  for (int i = 0; i < 60; ++i) {
    const std::string image = random_image(random, size, i % 4);
    log.update(5, 2, 1, last, image).put(5, 2, 2, image);
    last = image;
  }
  directory.write("log", log.remove(5, 2, 1, last).end().bytes());
  ASSERT_EQ(directory.run_trail({"sql", "-o", "db", "log"}).status, 0);
  const auto events = read_events(directory.run_trail({"json", "log"}).out);
  sql_database database;
  database.open(directory.path("db"));
  sql_statement rows = database.prepare(
      "SELECT changed, notes, \"SHOP.ALL\".* FROM change"
      " JOIN \"SHOP.ALL\" ON n = _n ORDER BY n");
  int changes = 0;
  for (const rapidjson::Document& event : events) {
    if (std::string_view(event["type"].GetString()) != "change") continue;
    ASSERT_TRUE(rows.step());
    ++changes;
    EXPECT_EQ(event["n"].GetInt64(), rows.integer(2));
    expect_json(event, "changed", rows.text(0));
    expect_json(event, "notes", rows.text(1));
    expect_image(event["after"], rows, 7, items);
    expect_image(event["before"], rows, 8, items);
  }
  EXPECT_EQ(changes, 121);
  EXPECT_FALSE(rows.step());
}

}  // namespace
