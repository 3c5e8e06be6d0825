// Tables of data sets, whatever their names and schemas are.

#include <gtest/gtest.h>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/sql_fixture.h"

namespace {

using lines = std::vector<std::string>;

std::string bytes_counting(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>(i % 100 + 1);
  }
  return bytes;
}

TEST(SqlTable, TakesAnyNames) {
  const test_directory directory;
  const std::string long_name(255, 'L');
  const std::vector<std::string> names = {"a\"b",
                                          "x\ny",
                                          "'; DROP TABLE change; --",
                                          "A",
                                          "a",
                                          "A_before",
                                          "_n",
                                          "_more",
                                          long_name,
                                          long_name.substr(1) + "M",
                                          std::string("N\0L", 3),
                                          "\xff\xe9[](?)",
                                          "",
                                          "rowid",
                                          "select"};
  std::vector<log_item> items;
  for (const std::string& name : names) items.push_back({name, 'I', 1, 1});
  items.push_back({"A", 'I', 2, 1});
  log_builder log;
  log.database(1, "sqlite_\"x'").data_set(2, 1, "t\"\n;--", items);
  log.sign_on(5, {"user{O'Neil\"; DROP TABLE run; --}", "host{a\0b}"});
  log.memo(5, 'b', "'); DELETE FROM change; --");
  log.put(5, 2, 1, bytes_counting(names.size() + 2));
  directory.write("log", log.end().bytes());
  ASSERT_EQ(directory.run_trail({"sql", "-o", "db", "log"}).status, 0);
  const std::string db = directory.path("db");
  EXPECT_EQ(answer_of(db, "SELECT user FROM session"),
            lines{"O'Neil\"; DROP TABLE run; --"});
  EXPECT_EQ(answer_of(db, "SELECT memo_begin FROM change"),
            lines{"'); DELETE FROM change; --"});

  // Every item's columns are there and have its value.
  sql_database database;
  database.open(db);
  sql_statement rows = database.prepare(
      "SELECT table_name, column_name, before_column FROM item"
      " JOIN data_set ON data_set.id = item.data_set ORDER BY position, "
      "element");
  int value = 0;
  while (rows.step()) {
    const std::string query = "SELECT " + quoted_identifier(rows.text(1)) +
                              ", " + quoted_identifier(rows.text(2)) +
                              " FROM " + quoted_identifier(rows.text(0));
    EXPECT_EQ(answer_of(db, query), lines{std::to_string(++value) + " NULL"});
  }
  EXPECT_EQ(value, static_cast<int>(names.size()) + 2);
}

TEST(SqlTable, KeepsWhatHasNoColumnsInOneObject) {
  const test_directory directory;
  std::vector<log_item> items;
  for (int i = 1; i <= 1000; ++i) {
    items.push_back({"I" + std::to_string(i), 'K', 1, 1});
  }
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "wide", items).sign_on(5, {"user{B}"});
  std::string image(1000, '\1');
  image.back() = '\7';
  log.update(5, 2, 1, std::string(1000, '\2'), image);
  directory.write("log", log.end().bytes());
  ASSERT_EQ(directory.run_trail({"sql", "-o", "db", "log"}).status, 0);
  const std::string db = directory.path("db");
  EXPECT_EQ(answer_of(db,
                      "SELECT I947, I947_before, _more ->> 'I948',"
                      " _more ->> 'I1000', _more_before ->> 'I1000'"
                      " FROM \"SHOP.WIDE\""),
            lines{"1 2 1 7 2"});
  EXPECT_EQ(answer_of(db,
                      "SELECT count(*) FROM item WHERE column_name"
                      " = '_more' AND before_column = '_more_before'"),
            lines{"53"});
}

TEST(SqlTable, IsThatOfTheSchema) {
  const std::vector<log_item> narrow = {{"A", 'K', 1, 1}};
  const std::vector<log_item> wide = {{"A", 'K', 1, 1}, {"B", 'K', 1, 1}};
  const test_directory directory;
  log_builder log;
  log.database(1, "shop").sign_on(5, {"user{B}"});
  log.data_set(2, 1, "s", narrow).put(5, 2, 1, "\1");
  log.data_set(2, 1, "s", wide).put(5, 2, 2, "\2\2");
  log.data_set(2, 1, "s", narrow).put(5, 2, 3, "\3");
  log.data_set(3, 1, "s", wide).put(5, 3, 4, "\4\4");
  log.data_set(4, 1, "s@2", narrow).put(5, 4, 5, "\5");
  directory.write("log", log.end().bytes());
  ASSERT_EQ(directory.run_trail({"sql", "-o", "db", "log"}).status, 0);
  const std::string db = directory.path("db");
  EXPECT_EQ(answer_of(db, "SELECT id, node, version, table_name FROM data_set"),
            (lines{"1 2 1 SHOP.S", "2 2 2 SHOP.S@2", "3 3 2 SHOP.S@2",
                   "4 4 1 SHOP.S@2_2"}));
  EXPECT_EQ(answer_of(db, "SELECT A FROM \"SHOP.S\""), (lines{"1", "3"}));
  EXPECT_EQ(answer_of(db, "SELECT A, B FROM \"SHOP.S@2\""),
            (lines{"2 2", "4 4"}));
  EXPECT_EQ(answer_of(db, "SELECT data_set FROM change"),
            (lines{"1", "2", "1", "3", "4"}));

  // A later run finds its tables again.
  ASSERT_EQ(directory.run_trail({"sql", "--append", "-o", "db", "log"}).status,
            0);
  EXPECT_EQ(answer_of(db, "SELECT count(*) FROM data_set"), lines{"4"});
  EXPECT_EQ(answer_of(db, "SELECT A FROM \"SHOP.S\""),
            (lines{"1", "3", "1", "3"}));
}

}  // namespace
