// The commands sql, query and list as their users run them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/event_reader.h"
#include "tests/trail/sql_fixture.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/files/split_directory.h"
#include "util/chronex_trail/sql/database_file.h"

namespace {

using arguments = std::vector<std::string>;
using lines = std::vector<std::string>;

log_builder sample(std::uint32_t generation = 7, std::uint32_t first = 1) {
  log_builder log({.generation = generation});
  log.number(first).database(1, "shop").data_set(
      2, 1, "orders", {{"A", 'I', 1, 4}, {"T", 'X', 1, 4}, {"B", 'B', 1, 2}});
  log.sign_on(5, {"user{BOB}"}).sign_on(6, {"user{ALICE}"});
  log.put(5, 2, 1, u32_bytes(42) + "caf\xE9" + "\x01\xff");
  log.put(6, 2, 2, u32_bytes(43) + "a,\"b" + "ab");
  return log.sign_off(6);
}

// A log that ends in the middle of an action.
std::string cut_audit_file(const test_directory& directory) {
  directory.run({"-o", "audit", "log"});
  const std::string audit = directory.read_raw("audit");
  return audit.substr(0, audit.size() - 3);
}

TEST(SqlProgram, NumbersAllEventsOfADatabase) {
  const test_directory directory;
  directory.write("a", sample(7).end().bytes());
  directory.write("b", sample(9).end().bytes());
  ASSERT_EQ(directory.run_trail({"sql", "a", "-o", "db"}).status, 0);
  const std::string db = directory.path("db");
  EXPECT_EQ(answer_of(db, "SELECT n, session FROM change"),
            (lines{"4 1", "6 2"}));
  EXPECT_EQ(answer_of(db,
                      "SELECT id, session_id, user, first_n, last_n,"
                      " signed_off_n FROM session"),
            (lines{"1 5 BOB 4 4 NULL", "2 6 ALICE 6 6 7"}));
  ASSERT_EQ(directory.run_trail({"sql", "b", "--append", "-o", "db"}).status,
            0);
  EXPECT_EQ(answer_of(db, "SELECT n, session, input, generation FROM change"),
            (lines{"4 1 1 7", "6 2 1 7", "11 3 2 9", "13 4 2 9"}));
  EXPECT_EQ(answer_of(db, "SELECT id, name, size FROM input"),
            (lines{"1 a " + std::to_string(directory.read_raw("a").size()),
                   "2 b " + std::to_string(directory.read_raw("b").size())}));
  EXPECT_EQ(answer_of(db, "SELECT options, changes, gaps, status FROM run"),
            (lines{R"(["sql","a","-o","db"] 2 0 0)",
                   R"(["sql","b","--append","-o","db"] 2 0 0)"}));
  // Both files in one run: the gap between them is a row.
  ASSERT_EQ(
      directory.run_trail({"sql", "b", "a", "-o", "db", "--force"}).status, 0);
  EXPECT_EQ(answer_of(db,
                      "SELECT type, kind, input, found, expected, missing"
                      " FROM notice"),
            lines{"gap generation 2 9 8 1"});
}

TEST(SqlProgram, GivesAFileItsNameOnlyWhenItIsComplete) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  directory.write("cut", cut_audit_file(directory));
  directory.write("old", "old");
  struct {
    arguments words;
    int status;
    std::string message;
  } const refused[] = {
      {{"sql", "log"}, 2, "No database specified"},
      {{"sql", "log", "-o", "x", "--force", "--append"}, 2, "exclude"},
      {{"sql", "log", "-o", "old"}, 1, "is there already"},
      {{"sql", "log", "-o", "log", "--force"}, 1, "log"},
      {{"sql", "log", "-o", "/dev/full", "--force"}, 1, "regular file"},
      {{"sql", "log", "-o", "old", "--append"}, 1, "not a database"},
      {{"sql", "log", "-o", "no/dir"}, 1, "No such file"},
      {{"sql", "log", "-e", "(", "-o", "none"}, 1, ""},
  };
  for (const auto& test : refused) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, test.status) << result.err;
    EXPECT_NE(result.err.find(test.message), std::string::npos) << result.err;
    EXPECT_EQ(directory.read_raw("old"), "old");
    EXPECT_NE(
        access(directory.path(test.words.back() + ".partial").c_str(), F_OK),
        0);
  }
  EXPECT_EQ(directory.read_raw("log"), sample().end().bytes());

  const program_result cut =
      directory.run_trail({"sql", "cut", "--force", "-o", "old"});
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(directory.read_raw("old"), "old");
  EXPECT_NE(cut.err.find("old.partial\n"), std::string::npos) << cut.err;
  EXPECT_EQ(answer_of(directory.path("old.partial"),
                      "SELECT changes, status FROM run"),
            lines{"2 1"});
}

// With unlocked keys a file must not be readable for a moment by anyone else.
TEST(PrivateFiles, AreClosedToOthers) {
  const test_directory directory;
  run_messages messages;
  const auto mode_of = [&directory](std::string_view name) {
    struct stat status {};
    EXPECT_EQ(stat(directory.path(name).c_str(), &status), 0) << name;
    return status.st_mode & 0777U;
  };
  database_file database(messages);
  ASSERT_EQ(
      database.open(directory.path("db"), existing_database::refused, true), 0);
  EXPECT_EQ(mode_of("db.partial"), 0600U);
  EXPECT_EQ(database.close(true), 0);
  EXPECT_EQ(mode_of("db"), 0600U);
  for (const std::string name : {"page.html", "json.gz"}) {
    result_file file(messages);
    ASSERT_EQ(file.open(directory.path(name), true), 0);
    EXPECT_EQ(mode_of(name + ".partial"), 0600U);
    EXPECT_EQ(file.close(true), 0);
    EXPECT_EQ(mode_of(name), 0600U);
  }
  split_directory split(messages);
  ASSERT_EQ(split.open(directory.path("split"), true), 0);
  split.select("day/a.gz");
  EXPECT_EQ(split.write("{}\n"), 0);
  EXPECT_EQ(split.close(true), 0);
  EXPECT_EQ(mode_of("split/day/a.gz"), 0600U);
  EXPECT_EQ(mode_of("split/day"), 0700U);
}

TEST(SqlProgram, AnswersQueries) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  directory.write("cut", cut_audit_file(directory));
  const std::string table = "\"SHOP.ORDERS\"";
  struct {
    arguments words;
    int status;
    std::string out;
  } const cases[] = {
      {{"query", "SELECT T, B, A AS a, NULL, '' FROM " + table, "log"},
       0,
       "T,B,a,NULL,''\r\n"
       "caf\xC3\xA9,01ff,42,,\"\"\r\n"
       "\"a,\"\"b\",6162,43,,\"\"\r\n"},
      {{"query", "--json", "-eA=42",
        "SELECT A, B AS A, 2.0 AS A_2, NULL, -1e999 FROM " + table, "log"},
       0,
       R"({"A":42,"A_3":"01ff","A_2":2.0,"NULL":null,"-1e999":null})"
       "\n"},
      {{"query", "SELECT count(*) FROM change", "cut"}, 1, "count(*)\r\n2\r\n"},
      {{"query", "--list-tables", "log"},
       0,
       "name\r\ninput\r\nsession\r\ndata_set\r\nitem\r\nchange\r\nmemo\r\n"
       "notice\r\nrun\r\nSHOP.ORDERS\r\n"},
      {{"query", "DELETE FROM change", "log"}, 1, ""},
      {{"query", "ATTACH 'x' AS x", "log"}, 1, ""},
      {{"query", "SELECT 1; SELECT 2", "log"}, 1, ""},
      {{"query", "SELECT nothing", "log"}, 1, ""},
      {{"query", "", "log"}, 1, ""},
      {{"query", "SELECT 1"}, 2, ""},
  };
  for (const auto& test : cases) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, test.status) << result.err;
    EXPECT_EQ(result.out, test.out) << result.err;
    EXPECT_EQ(result.err.empty(), test.status == 0) << result.err;
  }
  const program_result schema =
      directory.run_trail({"query", "--schema", "log"});
  EXPECT_NE(schema.out.find("CREATE TABLE \"SHOP.ORDERS\"("),
            std::string::npos);
}

TEST(SqlProgram, ListsWhatIsThere) {
  const test_directory directory;
  log_builder log = sample();
  log.data_set(3, 1, "idle", {{"A", 'I', 1, 4}});
  directory.write("log", log.end().bytes());
  const program_result json = directory.run_trail({"list", "--json", "log"});
  rapidjson::Document list;
  list.Parse(json.out.c_str());
  ASSERT_FALSE(list.HasParseError()) << json.out;
  EXPECT_EQ(list["total"][0]["changes"].GetInt(), 2);
  ASSERT_EQ(list["data_sets"].Size(), 2U);
  EXPECT_STREQ(list["data_sets"][0]["data_set"].GetString(), "SHOP.IDLE");
  EXPECT_EQ(list["data_sets"][0]["changes"].GetInt(), 0);
  EXPECT_STREQ(list["data_sets"][1]["data_set"].GetString(), "SHOP.ORDERS");
  EXPECT_EQ(list["data_sets"][1]["highest"].GetInt(), 2);
  EXPECT_EQ(list["items"].Size(), 4U);
  EXPECT_STREQ(list["users"][1]["user"].GetString(), "BOB");
  EXPECT_TRUE(list["hosts"][0]["host"].IsNull());
  const program_result table = directory.run_trail({"list", "log"});
  EXPECT_EQ(table.status, 0);
  EXPECT_NE(table.out.find("SHOP.ORDERS  T     X            1     4\n"),
            std::string::npos)
      << table.out;
}

}  // namespace
