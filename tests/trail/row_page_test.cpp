// Rows that a stage hands over must be what statements with parameters insert.

#include "util/chronex_trail/sql/row_page.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "util/chronex_trail/sql/row_batch.h"
#include "util/chronex_trail/sql/row_stage.h"

namespace {

constexpr const char* KINDS[] = {"INTEGER", "REAL", "TEXT", "BLOB"};

std::string columns_text(int columns) {
  std::string text = "a0 INTEGER PRIMARY KEY";
  for (int i = 1; i < columns; ++i) {
    text += ", a" + std::to_string(i) + ' ' + KINDS[i % 4];
  }
  return text;
}

// Makes the same rows again for every table.
class row_maker {
 public:
  explicit row_maker(std::size_t longest) : longest_(longest) {}

  void add(row_writer& row, std::int64_t key, int columns) {
    row.begin(key);
    for (int column = 2; column <= columns; ++column) {
      if (random_() % 3 != 0) bind(row, column);
    }
    row.end();
  }

 private:
  void bind(row_writer& row, int column) {
    switch ((column - 1) % 4) {
      case 0:
        return row.bind(column, number());
      case 1:
        return row.bind_real(column, real());
      case 2:
        return row.bind_text(column, text());
      default:
        const std::string bytes = text();
        row.bind_bytes(column,
                       {reinterpret_cast<const std::uint8_t*>(bytes.data()),
                        bytes.size()});
    }
  }

  // Both sides of every length that a number can have.
  std::int64_t number() {
    const auto edge =
        static_cast<std::int64_t>(std::uint64_t{1} << random_() % 64);
    if (edge < 0) return edge;
    const std::int64_t numbers[] = {edge, -edge - 1, edge - 1, 0,
                                    1,    -1,        edge / 3};
    return numbers[random_() % 7];
  }
  double real() {
    const double reals[] = {0.0,
                            -0.0,
                            0.1,
                            -3,
                            1e300,
                            140737488355327,
                            140737488355328,
                            -140737488355328,
                            std::numeric_limits<double>::denorm_min(),
                            static_cast<double>(number())};
    return reals[random_() % 10];
  }
  std::string text() {
    std::string made(random_() % 4 == 0 ? random_() % longest_ : random_() % 60,
                     'x');
    for (char& each : made) each = static_cast<char>(random_() % 128);
    return made;
  }

  std::size_t longest_;
  std::mt19937 random_{7};
};

struct table_case {
  int columns;
  // Bytes of the longest text.
  std::size_t longest;
  int rows;
};

class RowPage : public testing::TestWithParam<table_case> {};

void fill(row_writer& writer, const table_case& test) {
  row_maker maker(test.longest);
  for (int i = 1; i <= test.rows; ++i) {
    maker.add(writer, std::int64_t{i} * i * i * 1000, test.columns);
  }
  writer.flush();
}

}  // namespace

TEST_P(RowPage, HoldsWhatStatementsInsert) {
  const table_case& test = GetParam();
  const std::string columns = columns_text(test.columns);
  sql_database database;
  database.open("");
  {
    row_stage stage(database);
    const row_stage::table staged = stage.make(columns);
    ASSERT_NE(staged.root, 0U);
    EXPECT_EQ(stage.find(columns).root, staged.root);
    database.run("CREATE TABLE paged(" + columns + ")");
    database.run("CREATE TABLE bound(" + columns + ")");
    database.run("BEGIN");
    row_page paged(database, stage, staged, "paged", test.columns);
    fill(paged, test);
    row_batch bound(database, "bound", test.columns, 0);
    fill(bound, test);
    database.run("COMMIT");
  }
  std::string types = "*";
  for (int i = 0; i < test.columns && i < 90; ++i) {
    types += ", typeof(a" + std::to_string(i) + ")";
  }
  EXPECT_EQ(database.number("SELECT count(*) FROM paged"), test.rows);
  EXPECT_EQ(
      database.number("SELECT count(*) FROM (SELECT " + types +
                      " FROM paged INTERSECT SELECT " + types + " FROM bound)"),
      test.rows);
  sql_statement check = database.prepare("PRAGMA integrity_check");
  ASSERT_TRUE(check.step());
  EXPECT_EQ(check.text(0), "ok");
}

INSTANTIATE_TEST_SUITE_P(
    Tables, RowPage,
    testing::Values(table_case{2, 60, 30000}, table_case{37, 60, 2000},
                    // Headers and types of more than one byte.
                    table_case{130, 300, 500}, table_case{1905, 60, 30},
                    // Rows that no page holds, among others.
                    table_case{9, 40000, 300}));
