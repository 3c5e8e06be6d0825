// Scripts for other engines, held against what SQLite has.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "tests/support/hex.h"
#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/event_fixture.h"
#include "tests/trail/script_reader.h"
#include "tests/trail/sql_fixture.h"
#include "util/chronex_trail/script/clickhouse_real.h"

namespace {

using arguments = std::vector<std::string>;
using lines = std::vector<std::string>;

// An engine, and how its scripts are read.
struct engine_case {
  const char* name;
  script_contents (*read)(std::string_view);
};
constexpr engine_case ENGINES[] = {{"postgresql", read_postgresql},
                                   {"clickhouse", read_clickhouse}};

script_contents script_of(const test_directory& directory,
                          const engine_case& engine, arguments words) {
  words.insert(words.begin(), {"sql", "--engine", engine.name});
  const program_result result = directory.run_trail(words);
  EXPECT_EQ(result.status, 0) << result.err;
  return engine.read(result.out);
}

std::string hex_bytes(std::string_view bytes) {
  return "\\x" + to_hex(bytes_of(bytes));
}

bool has_times(const char* column) {
  const std::string_view name = column;
  return name == "ts" || name == "_ts" || name == "connected";
}

// Whether a script has a value of SQLite.
bool is_same(const script_value& value, const sql_statement& row, int at,
             bool is_postgresql) {
  // Asking for another type changes it.
  const int type = sqlite3_column_type(row.handle(), at);
  if (type == SQLITE_NULL || !value) return type == SQLITE_NULL && !value;
  if (type == SQLITE_FLOAT) {
    const char* const text = value->c_str() + (value->front() == '(' ? 1 : 0);
    return std::strtod(text, nullptr) ==
           sqlite3_column_double(row.handle(), at);
  }
  const std::string text(row.text(at));
  if (has_times(sqlite3_column_name(row.handle(), at))) {
    return is_postgresql
               ? *value == text + "+00"
               : answer_of(":memory:", "SELECT datetime(" + *value +
                                           ", 'unixepoch')")[0] == text;
  }
  return *value ==
         (type == SQLITE_BLOB && is_postgresql ? hex_bytes(text) : text);
}

// `name` is that of the script's table.
void expect_table(const script_contents& script, const std::string& name,
                  sql_database& database, const std::string& table,
                  const std::string& engine) {
  SCOPED_TRACE(engine + ": " + name);
  ASSERT_TRUE(script.tables.contains(name));
  const auto& rows = script.tables.at(name).rows;
  sql_statement all = database.prepare(
      "SELECT * FROM " + quoted_identifier(table) + " ORDER BY 1");
  for (const auto& row : rows) {
    ASSERT_TRUE(all.step());
    for (std::size_t i = 0; i < row.size(); ++i) {
      const int at = static_cast<int>(i);
      EXPECT_TRUE(is_same(row[i], all, at, engine == "postgresql"))
          << sqlite3_column_name(all.handle(), at) << ": "
          << row[i].value_or("NULL");
    }
  }
  EXPECT_FALSE(all.step());
}

std::vector<log_item> all_items() {
  std::vector<log_item> items;
  for (const char type : std::string_view("IKEPZXUBQ")) {
    for (const int size : {1, 2, 3, 4, 8, 9, 10, 19, 20}) {
      items.push_back({type + std::to_string(size), type, 1,
                       static_cast<std::uint16_t>(size)});
    }
  }
  items.push_back({"FEW", 'I', 3, 2});
  items.push_back({"MANY", 'E', 17, 4});
  items.push_back({"\"`\n\\';--\t", 'X', 1, 255});
  items.push_back({"\"`\n\\';--\t", 'X', 1, 3});
  return items;
}

std::string all_bytes() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

// Texts and names of all bytes, values of all types.
std::string hostile_log() {
  const std::vector<log_item> items = all_items();
  std::size_t size = 0;
  for (const log_item& item : items) {
    size += std::size_t{item.count} * item.size;
  }
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "t\"`\n;\\'", items);
  log.data_set(3, 1, "other", {{"A", 'P', 1, 20}, {"B", 'B', 1, 4}});
  for (const std::string& text :
       {std::string("\\."), std::string("'); DROP TABLE change;\n\\.\n--"),
        all_bytes(), std::string("\\N"), std::string("NULL")}) {
    log.sign_on(5, {"user{" + text + "}", text + "{" + text + "}"});
    log.memo(5, 'b', text).memo(5, 'm', text);
    std::string image;
    while (image.size() < size) image += text + all_bytes();
    log.put(5, 2, 1, image.substr(0, size));
    log.update(5, 2, 2, std::string(size, '\x0c'), std::string(size, '\x1d'));
    log.remove(5, 3, 3, std::string(19, '\x99') + "\x9d\\x\n'");
    log.sign_off(5);
  }
  return log.end().bytes();
}

TEST(SqlScript, HasWhatSqliteHas) {
  const test_directory directory;
  directory.write("log", hostile_log());
  ASSERT_EQ(directory.run_trail({"sql", "-o", "db", "log"}).status, 0);
  sql_database database;
  database.open(directory.path("db"));
  for (const engine_case& engine : ENGINES) {
    const script_contents script = script_of(directory, engine, {"log"});
    for (const char* table : {"input", "session", "data_set", "change", "memo",
                              "SHOP.T\"`\n;\\'", "SHOP.OTHER"}) {
      expect_table(script, table, database, table, engine.name);
    }
    EXPECT_EQ(script.tables.at("run").rows.size(), 1U);
    EXPECT_EQ(script.tables.at("run").rows[0][4], "15");
    EXPECT_FALSE(script.tables.contains("notice"));
  }
}

TEST(SqlScript, HasTypesOfItsEngine) {
  const test_directory directory;
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "s",
                                   {{"I8", 'I', 1, 8},
                                    {"K8", 'K', 1, 8},
                                    {"P9", 'P', 1, 9},
                                    {"P10", 'P', 1, 10},
                                    {"P20", 'P', 1, 20},
                                    {"E4", 'E', 1, 4},
                                    {"B", 'B', 1, 2},
                                    {"X", 'X', 1, 2}});
  log.sign_on(5, {"user{B}"}).put(5, 2, 1, std::string(63, '\x0c'));
  directory.write("log", log.end().bytes());
  const lines types[] = {
      {"bigint", "numeric", "bigint", "numeric", "numeric", "double precision",
       "bytea", "text"},
      {"Nullable(Int64)", "Nullable(UInt64)", "Nullable(Int64)",
       "Nullable(Decimal(38, 0))", "Nullable(String)", "Nullable(Float64)",
       "Nullable(String)", "Nullable(String)"}};
  for (const engine_case& engine : ENGINES) {
    const lines& expected = types[&engine - ENGINES];
    const script_contents script = script_of(directory, engine, {"log"});
    const auto& items = script.tables.at("item").rows;
    ASSERT_EQ(items.size(), expected.size());
    std::string columns;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(items[i][10], expected[i]) << *items[i][2];
      columns += ' ' + expected[i] + ',';
    }
    bool is_made = false;
    for (const std::string& statement : script.statements) {
      is_made = is_made || (statement.starts_with("CREATE TABLE ") &&
                            statement.find(expected[0]) != statement.npos &&
                            statement.find(expected[5]) != statement.npos &&
                            statement.find("SHOP.S") != statement.npos);
    }
    EXPECT_TRUE(is_made) << engine.name;
  }
}

// Names are cut to what an engine takes, and rows to what fits one.
TEST(SqlScript, KeepsToTheLimitsOfItsEngine) {
  const test_directory directory;
  std::vector<log_item> items;
  for (int i = 1; i <= 1000; ++i) {
    items.push_back({std::string(28, 'L') + std::to_string(i), 'I', 1, 8});
  }
  items[2].name = std::string(200, 'L');
  items[0].name = "ctid";
  items[1].name = "_part";
  log_builder log;
  log.database(1, "shop").data_set(2, 1, std::string(60, 'n'), items);
  log.data_set(3, 1, std::string(60, 'n') + "2", {{"A", 'I', 1, 4}});
  log.sign_on(5, {"user{B}"}).put(5, 2, 1, std::string(8000, '\1'));
  log.put(5, 3, 1, "abcd");
  directory.write("log", log.end().bytes());
  const std::size_t columns[] = {5 + 2 * 481 + 2, 5 + 2 * 947 + 2};
  for (const engine_case& engine : ENGINES) {
    const script_contents script = script_of(directory, engine, {"log"});
    const std::string name = "SHOP." + std::string(58, 'N');
    ASSERT_TRUE(script.tables.contains(name));
    EXPECT_TRUE(script.tables.contains(name.substr(0, 61) + "_2"));
    const script_table& table = script.tables.at(name);
    EXPECT_EQ(table.columns.size(), columns[&engine - ENGINES]);
    for (const std::string& column : table.columns) {
      EXPECT_LE(column.size(), 63U);
    }
    EXPECT_EQ(table.columns[5] == "ctid_2", &engine == ENGINES);
    EXPECT_EQ(table.columns[7] == "_part_2", &engine != ENGINES);
    EXPECT_NE(table.rows[0][table.columns.size() - 2]->find("1000\":\"72340"),
              std::string::npos);
  }
}

// Rows of a table stand together however they come, and a cut is seen.
TEST(SqlScript, IsWholeOnlyAtItsEnd) {
  const test_directory directory;
  log_builder log;
  log.database(1, "shop").sign_on(5, {"user{B}"});
  for (int set = 2; set < 6; ++set) {
    log.data_set(set, 1, "s" + std::to_string(set), {{"T", 'X', 1, 600}});
  }
  for (std::uint32_t i = 0; i < 16000; ++i) {
    log.put(5, 2 + static_cast<int>(i % 4), i, std::string(600, 'x'));
  }
  directory.write("log", log.end().bytes());
  for (const engine_case& engine : ENGINES) {
    const script_contents script = script_of(directory, engine, {"log"});
    EXPECT_EQ(script.tables.at("SHOP.S3").rows.size(), 4000U);
    EXPECT_GT(script.tables.at("SHOP.S3").blocks, 1);
    EXPECT_LT(script.tables.at("SHOP.S3").blocks, 5);
  }
  const std::string psql =
      directory.run_trail({"sql", "--engine", "postgresql", "log"}).out;
  EXPECT_TRUE(psql.ends_with("COMMIT;\n"));
  EXPECT_EQ(psql.find("COMMIT;"), psql.size() - 8);
  const std::string clickhouse =
      directory.run_trail({"sql", "--engine", "clickhouse", "log"}).out;
  EXPECT_EQ(clickhouse.rfind("\nINSERT INTO "),
            clickhouse.find("\nINSERT INTO `run`"));
}

TEST(SqlScript, HasNumbersOfItsSegment) {
  const test_directory directory;
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "s", {{"A", 'I', 1, 4}});
  log.sign_on(5, {"user{B}"}).put(5, 2, 1, "abcd").sign_off(5);
  directory.write("log", log.end().bytes());
  for (const engine_case& engine : ENGINES) {
    const script_contents script =
        script_of(directory, engine, {"--segment", "3", "log"});
    const auto& change = script.tables.at("change").rows[0];
    EXPECT_EQ(change[0], "3000000000004");
    EXPECT_EQ(change[3], "3000000000001");
    const auto& session = script.tables.at("session").rows[0];
    EXPECT_EQ(session[0], change[5]);
    EXPECT_EQ(session[7], change[0]);
    EXPECT_EQ(session[9], "3000000000005");
    for (const std::string& statement : script.statements) {
      EXPECT_EQ(statement.starts_with("CREATE TABLE"),
                statement.starts_with("CREATE TABLE IF NOT EXISTS"));
    }
  }
  const script_contents cluster =
      script_of(directory, ENGINES[1], {"--cluster", "c'1", "log"});
  EXPECT_NE(cluster.statements.back().find(
                "ENGINE = Distributed('c\\'1', currentDatabase(), "
                "'SHOP.S@local', `_recno`)"),
            std::string::npos)
      << cluster.statements.back();
}

TEST(SqlScript, IsWrittenLikeAnyResult) {
  const test_directory directory;
  log_builder log;
  directory.write("log", log.database(1, "shop").end().bytes());
  directory.write("old", "old");
  struct {
    arguments words;
    int status;
    std::string message;
  } const cases[] = {
      {{"sql", "--engine", "oracle", "log"}, 2, "Unknown engine"},
      {{"sql", "--engine=clickhouse", "--cluster=", "log"}, 2, "--cluster"},
      {{"sql", "--engine=postgresql", "--append", "log"}, 2, "--segment"},
      {{"sql", "--engine=postgresql", "--cluster=c", "log"}, 2, "clickhouse"},
      {{"sql", "--engine=postgresql", "--segment=0", "log"}, 2, "1000000"},
      {{"sql", "--engine=postgresql", "--segment=1x", "log"}, 2, "1000000"},
      {{"sql", "--segment=1", "-o", "db", "log"}, 2, "for scripts"},
      {{"sql", "--engine=postgresql", "-o", "old", "log"}, 1, "is there"},
      {{"sql", "--engine=postgresql", "-o", "/dev/full", "log"}, 1, "Failed"},
  };
  for (const auto& test : cases) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, test.status) << result.err;
    EXPECT_NE(result.err.find(test.message), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(directory.read_raw("old"), "old");
  const arguments forced = {"sql", "--engine=postgresql", "--force", "-o"};
  for (const char* name : {"old", "script.gz"}) {
    arguments words = forced;
    words.insert(words.end(), {name, "log"});
    ASSERT_EQ(directory.run_trail(words).status, 0);
    EXPECT_TRUE(directory.read(name).ends_with("COMMIT;\n"));
    EXPECT_NE(
        access(directory.path(std::string(name) + ".partial").c_str(), F_OK),
        0);
  }
}

TEST(ClickhouseReal, LeavesNothingToItsFastReader) {
  using limits = std::numeric_limits<double>;
  struct {
    double number;
    const char* text;
  } const cases[] = {
      {0, "0"},
      {-0.0, "-0"},
      {100000, "100000"},
      {-9007199254740992, "-9007199254740992"},
      {1e20, "(1e+20)"},
      {149.95, "149.95"},
      {-0.000001, "(-1e-06)"},
      {1234567.123456, "1234567.123456"},
      {1.0 / 3, "(0.3333333333333333)"},
      {-1234.5678901, "(-1234.5678901)"},
      {limits::max(), "(1.7976931348623157e+308)"},
      {limits::min(), "(2.2250738585072014e-308)"},
      {-limits::denorm_min(),
       "reinterpretAsFloat64(unhex('0100000000000080'))"},
  };
  for (const auto& test : cases) {
    std::string text;
    append_clickhouse_real(text, test.number);
    EXPECT_EQ(text, test.text);
  }
}

}  // namespace
